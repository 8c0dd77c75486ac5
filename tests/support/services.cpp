// SPDX-License-Identifier: Apache-2.0
#include "tests/support/services.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tarnbase/runtime.h"
#include "tests/support/service_at_work.h"
#include "tests/support/service_list.h"

namespace tarn::test {

namespace {

ServiceRecorder *current = nullptr;

constexpr Failure never;
constexpr Failure falls_back{Failure::Way::fall_back, 0, 0};
constexpr Failure answers(std::uint64_t value) { return {Failure::Way::answer, 0, value}; }
constexpr Failure reports(std::uint32_t code, std::uint64_t value = 0) {
    return {Failure::Way::report, code, value};
}

template <typename T>
T from_word(std::uint64_t value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(value);
    } else {
        return static_cast<T>(value);
    }
}

// Addresses of one loaded file.
struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;

    bool holds(const void *address) const {
        const auto place = reinterpret_cast<std::uintptr_t>(address);
        return place >= begin && place < end;
    }
};

struct Wanted {
    std::uintptr_t inside;
    Range found;
};

int note_range(dl_phdr_info *file, std::size_t, void *context) {
    auto *wanted = static_cast<Wanted *>(context);
    Range range{~std::uintptr_t{0}, 0};
    for (int i = 0; i < file->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = file->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD) continue;
        range.begin = std::min<std::uintptr_t>(range.begin, file->dlpi_addr + segment.p_vaddr);
        range.end = std::max<std::uintptr_t>(range.end,
                                             file->dlpi_addr + segment.p_vaddr + segment.p_memsz);
    }
    if (!range.holds(reinterpret_cast<const void *>(wanted->inside))) return 0;
    wanted->found = range;
    return 1;
}

Range file_of(const void *address) {
    Wanted wanted{reinterpret_cast<std::uintptr_t>(address), {}};
    dl_iterate_phdr(&note_range, &wanted);
    return wanted.found;
}

// The function of that name behind this program's.
void *next(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) std::abort();
    return found;
}

// How many services are at work on the library's behalf.
int depth = 0;

// Whether a call from this address is the runtime's own. One that a service makes
// as its last step comes from the function in front of that service.
bool is_of_the_runtime(const void *caller) {
    static const Range runtime = file_of(next("kel_store_err"));
    static const Range program = file_of(reinterpret_cast<const void *>(&is_of_the_runtime));
    return runtime.holds(caller) || (depth > 0 && program.holds(caller));
}

// Whether a service keeps links and counts in the blocks of others. One that sets or clears a
// flag of an object is no such service: tests of objects expect it among their stores.
bool stores(std::string_view service) {
    static const std::set<std::string_view> storing{
        "e_avl_delete",
        "e_avl_insert",
        "kel_oid_mapping_create",
        "kel_request_oid_mapping_destroy",
        "kel_type_info_ptr_get",
        "kel_update_variant_info",
        "keldb_enq_rec_move_write_cursor_internal",
        "keldb_update_tenant_counter",
        "kellib_lookup_and_update_oid_ref_count",
        "kellib_record_update_ra_all",
        "loam_delete_key",
        "loam_set_key",
        "tbi_rb_tree_LM_RB_INSERT",
        "tbi_rb_tree_LM_RB_REMOVE",
    };
    return storing.contains(service);
}

// The last argument of this type: `err`, wherever a service has it.
template <typename... Arguments>
std::uint32_t *error_word(Arguments... arguments) {
    std::uint32_t *found = nullptr;
    [[maybe_unused]] const auto consider = [&found](auto argument) {
        if constexpr (std::is_same_v<decltype(argument), std::uint32_t *>) found = argument;
    };
    (consider(arguments), ...);
    return found;
}

// The first argument that is a text, as it is now: the caller's copy may be gone later.
template <typename... Arguments>
std::string first_text([[maybe_unused]] std::string_view service, Arguments... arguments) {
    const char *found = nullptr;
    [[maybe_unused]] const auto consider = [&found](auto argument) {
        if constexpr (std::is_same_v<decltype(argument), const char *>) {
            if (found == nullptr) found = argument;
        }
    };
    (consider(arguments), ...);
    const bool has_an_end = service != "SuperFastHash";
    return found != nullptr && has_an_end ? found : "";
}

template <typename... Arguments>
std::uint64_t fail_by(const Failure &failure, Arguments... arguments) {
    if (failure.way == Failure::Way::fall_back) {
        return std::array<std::uint64_t, sizeof...(arguments)>{word(arguments)...}.at(2);
    }
    if (failure.way == Failure::Way::report) {
        *error_word(arguments...) = failure.code;
        const auto first = std::get<0>(std::tuple(arguments..., 0));
        if constexpr (std::is_same_v<decltype(first), kel_handle *const>) {
            first->last_error = failure.code;
        }
    }
    return failure.result;
}

template <typename Function>
struct Shape;
template <typename R, typename... Arguments>
struct Shape<R(Arguments...)> {
    using Result = R;
    template <std::size_t I>
    using Argument = std::tuple_element_t<I, std::tuple<Arguments...>>;
};

}  // namespace

// Sees the calls of services and hooks before they go on.
struct ServiceForwarder {
    static bool listening() { return current != nullptr && !current->paused_; }

    static std::size_t note(const char *name, std::vector<std::uint64_t> arguments,
                            std::string text = {}) {
        ServiceCall call;
        call.name = name;
        call.arguments = std::move(arguments);
        call.text = std::move(text);
        current->calls_.push_back(call);
        const std::size_t place = current->calls_.size() - 1;
        if (current->at_each) current->at_each(call);
        return place;
    }

    static ServiceCall &call(std::size_t place) { return current->calls_[place]; }

    // How this call is to fail; null: it isn't.
    static const Failure *due(const char *name) {
        const Failure *failure = nullptr;
        for (ServiceRecorder::Wish &wish : current->wishes_) {
            if (wish.left == 0 || wish.name != name) continue;
            if (wish.left != ServiceRecorder::every_call && --wish.left != 0) continue;
            current->came_true_ = true;
            failure = &wish.failure;
        }
        return failure;
    }

    // The service, or what takes its place.
    template <typename R, typename... Arguments>
    static R run(const char *name, R (*front)(Arguments...), R (*real)(Arguments...),
                 std::type_identity_t<Arguments>... arguments) {
        std::optional<ServiceAtWork> mark;
        if (stores(name)) mark.emplace();
        if (listening()) {
            const auto found = current->replacements_.find(word(front));
            if (found != current->replacements_.end()) {
                const auto function = std::any_cast<std::function<R(Arguments...)>>(found->second);
                if (function) return function(arguments...);
            }
        }
        return real(arguments...);
    }

    template <typename R, typename... Arguments>
    static R serve(const char *name, R (*front)(Arguments...), R (*real)(Arguments...),
                   const void *caller, std::type_identity_t<Arguments>... arguments) {
        if (is_of_the_runtime(caller)) return real(arguments...);
        if (!listening()) return run(name, front, real, arguments...);
        const std::size_t place = note(name, {word(arguments)...}, first_text(name, arguments...));
        if (const Failure *failure = due(name)) {
            call(place).failed = true;
            [[maybe_unused]] const std::uint64_t result = fail_by(*failure, arguments...);
            call(place).result = result;
            if constexpr (!std::is_void_v<R>) return from_word<R>(result);
            return R();
        }
        ++depth;
        if constexpr (std::is_void_v<R>) {
            run(name, front, real, arguments...);
            --depth;
        } else {
            const R result = run(name, front, real, arguments...);
            --depth;
            // The recorder may have gone, or forgotten the call, in between.
            if (current != nullptr && place < current->calls_.size()) {
                call(place).result = word(result);
            }
            return result;
        }
    }

    // The same for a hook, which both the library and the value types call.
    template <typename R, typename... Arguments>
    static R hook(const char *name, R (*kel_handle::*slot)(Arguments...),
                  std::type_identity_t<Arguments>... arguments) {
        const auto real = current->original_.*slot;
        if (!listening()) return real(arguments...);
        const std::size_t place = note(name, {word(arguments)...});
        if (due(name) != nullptr) {
            call(place).failed = true;
            return R();
        }
        if constexpr (std::is_void_v<R>) {
            real(arguments...);
        } else {
            const R result = real(arguments...);
            call(place).result = word(result);
            return result;
        }
    }

    static void note_bytes(const void *address, std::uint64_t length) {
        if (!listening()) return;
        const auto *bytes = static_cast<const std::uint8_t *>(address);
        current->calls_.back().before.assign(bytes, bytes + length);
    }

    static void *type_alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
        return hook("type_alloc_hook", &kel_handle::type_alloc_hook, arena, tx_id, size);
    }
    static void *alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
        return hook("alloc_hook", &kel_handle::alloc_hook, arena, tx_id, size);
    }
    static void free(void *arena, std::uint32_t tx_id, void *block) {
        hook("free_hook", &kel_handle::free_hook, arena, tx_id, block);
    }
    static void write_log(void *arena, void *address, std::uint64_t length, std::uint32_t tx_id) {
        if (ServiceAtWork::any()) {
            current->original_.write_log_hook(arena, address, length, tx_id);
            return;
        }
        hook("write_log_hook", &kel_handle::write_log_hook, arena, address, length, tx_id);
        note_bytes(address, length);  // logging changes nothing
    }
    static void delta_log(void *arena, std::uint64_t *address, std::int32_t delta,
                          std::uint32_t tx_id) {
        hook("delta_log_hook", &kel_handle::delta_log_hook, arena, address, delta, tx_id);
        note_bytes(address, sizeof *address);
    }
    static void type_map_insert(void *map, std::uint32_t tx_id, const char *luid_text,
                                kel_type_info_copy *copy) {
        const ServiceAtWork mark;
        hook("type_map_insert_hook", &kel_handle::type_map_insert_hook, map, tx_id, luid_text,
             copy);
    }
    static kel_type_info_copy *type_map_lookup(void *map, std::uint32_t tx_id,
                                               const char *luid_text) {
        return hook("type_map_lookup_hook", &kel_handle::type_map_lookup_hook, map, tx_id,
                    luid_text);
    }
};

ServiceRecorder::ServiceRecorder(kel_handle *handle) : handle_(handle), original_(*handle) {
    if (current != nullptr) std::abort();
    current = this;
    handle->type_alloc_hook = &ServiceForwarder::type_alloc;
    handle->alloc_hook = &ServiceForwarder::alloc;
    handle->free_hook = &ServiceForwarder::free;
    handle->write_log_hook = &ServiceForwarder::write_log;
    handle->delta_log_hook = &ServiceForwarder::delta_log;
    handle->type_map_insert_hook = &ServiceForwarder::type_map_insert;
    handle->type_map_lookup_hook = &ServiceForwarder::type_map_lookup;
}

ServiceRecorder::~ServiceRecorder() {
    handle_->type_alloc_hook = original_.type_alloc_hook;
    handle_->alloc_hook = original_.alloc_hook;
    handle_->free_hook = original_.free_hook;
    handle_->write_log_hook = original_.write_log_hook;
    handle_->delta_log_hook = original_.delta_log_hook;
    handle_->type_map_insert_hook = original_.type_map_insert_hook;
    handle_->type_map_lookup_hook = original_.type_map_lookup_hook;
    current = nullptr;
}

std::vector<std::uint64_t> ServiceCall::arguments_in(std::size_t first, std::size_t end) const {
    if (first > end || end > arguments.size()) std::abort();
    const auto begin = arguments.begin();
    return {begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(end)};
}

std::vector<ServiceCall> ServiceRecorder::calls(const std::string &name) const {
    std::vector<ServiceCall> found;
    for (const ServiceCall &call : calls_) {
        if (call.name == name) found.push_back(call);
    }
    return found;
}

std::vector<ServiceCall> ServiceRecorder::calls(const std::string &name, const void *about) const {
    std::vector<ServiceCall> found;
    for (const ServiceCall &call : calls_) {
        if (call.name == name &&
            std::count(call.arguments.begin(), call.arguments.end(), word(about)) != 0) {
            found.push_back(call);
        }
    }
    return found;
}

std::size_t ServiceRecorder::count(const std::string &name) const {
    return static_cast<std::size_t>(
        std::count_if(calls_.begin(), calls_.end(),
                      [&name](const ServiceCall &call) { return call.name == name; }));
}

std::string ServiceRecorder::order(const std::vector<std::string> &names) const {
    std::string text;
    for (const ServiceCall &call : calls_) {
        if (std::find(names.begin(), names.end(), call.name) == names.end()) continue;
        text += (text.empty() ? "" : " ") + call.name;
    }
    return text;
}

std::string ServiceRecorder::order() const {
    std::string text;
    for (const ServiceCall &call : calls_) text += (text.empty() ? "" : " ") + call.name;
    return text;
}

bool ServiceRecorder::announced(const void *address, std::uint64_t length,
                                std::size_t before_call) const {
    const auto matches = [address, length](const ServiceCall &call) {
        return call.name == "write_log_hook" && call.pointer<const void>(1) == address &&
               call.arguments[2] == length;
    };
    const auto end =
        calls_.begin() + static_cast<std::ptrdiff_t>(std::min(before_call, calls_.size()));
    return std::any_of(calls_.begin(), end, matches);
}

void ServiceRecorder::fail(const std::string &name, std::size_t n) {
    for (const auto *known : {&recorded_services(), &recorded_hooks()}) {
        for (const ServiceInfo &service : *known) {
            if (service.name != name) continue;
            if (service.failure.way == Failure::Way::never) break;
            wishes_.push_back({name, n, service.failure});
            return;
        }
    }
    std::fprintf(stderr, "%s can't fail\n", name.c_str());
    std::abort();
}

void ServiceRecorder::always_fail(const std::string &name) { fail(name, every_call); }

void ServiceRecorder::always_fail(const std::string &name, std::uint32_t code) {
    fail(name, every_call, code);
}

void ServiceRecorder::always_return(const std::string &name, std::uint64_t value) {
    wishes_.push_back({name, every_call, {Failure::Way::answer, 0, value}});
}

void ServiceRecorder::fail(const std::string &name, std::size_t n, std::uint32_t code) {
    fail(name, n);
    Failure &failure = wishes_.back().failure;
    if (failure.way == Failure::Way::report) failure.code = code;
    if (failure.way == Failure::Way::answer) failure.result = code;
}

bool ServiceRecorder::stop_failing() {
    wishes_.clear();
    return std::exchange(came_true_, false);
}

const std::vector<ServiceInfo> &recorded_services() {
#define TARN_INFO(name, count, failure) {#name, failure},
    static const std::vector<ServiceInfo> list = {
        TARN_EACH_SERVICE(TARN_INFO){"ptrail_wrapper", never}, {"kel_snprintf", reports(90)}};
#undef TARN_INFO
    return list;
}

const std::vector<ServiceInfo> &recorded_hooks() {
    static const std::vector<ServiceInfo> list = {
        {"type_alloc_hook", answers(0)},
        {"alloc_hook", answers(0)},
        {"free_hook", never},
        {"write_log_hook", never},
        {"delta_log_hook", never},
        {"type_map_insert_hook", answers(0)},
        {"type_map_lookup_hook", answers(0)},
    };
    return list;
}

}  // namespace tarn::test

using tarn::test::ServiceForwarder;
using tarn::test::Shape;

// The functions in front of the services. Their types are those of the headers.
#define TARN_PARAMETER(name, i) Shape<decltype(name)>::Argument<i> a##i
#define TARN_PARAMETERS_0(name)
#define TARN_PARAMETERS_1(name) TARN_PARAMETER(name, 0)
#define TARN_PARAMETERS_2(name) TARN_PARAMETERS_1(name), TARN_PARAMETER(name, 1)
#define TARN_PARAMETERS_3(name) TARN_PARAMETERS_2(name), TARN_PARAMETER(name, 2)
#define TARN_PARAMETERS_4(name) TARN_PARAMETERS_3(name), TARN_PARAMETER(name, 3)
#define TARN_PARAMETERS_5(name) TARN_PARAMETERS_4(name), TARN_PARAMETER(name, 4)
#define TARN_PARAMETERS_6(name) TARN_PARAMETERS_5(name), TARN_PARAMETER(name, 5)
#define TARN_PARAMETERS_7(name) TARN_PARAMETERS_6(name), TARN_PARAMETER(name, 6)
#define TARN_PARAMETERS_8(name) TARN_PARAMETERS_7(name), TARN_PARAMETER(name, 7)
#define TARN_PARAMETERS_9(name) TARN_PARAMETERS_8(name), TARN_PARAMETER(name, 8)
#define TARN_ARGUMENTS_0
#define TARN_ARGUMENTS_1 , a0
#define TARN_ARGUMENTS_2 TARN_ARGUMENTS_1, a1
#define TARN_ARGUMENTS_3 TARN_ARGUMENTS_2, a2
#define TARN_ARGUMENTS_4 TARN_ARGUMENTS_3, a3
#define TARN_ARGUMENTS_5 TARN_ARGUMENTS_4, a4
#define TARN_ARGUMENTS_6 TARN_ARGUMENTS_5, a5
#define TARN_ARGUMENTS_7 TARN_ARGUMENTS_6, a6
#define TARN_ARGUMENTS_8 TARN_ARGUMENTS_7, a7
#define TARN_ARGUMENTS_9 TARN_ARGUMENTS_8, a8

#define TARN_FORWARD(name, count, failure)                                                     \
    Shape<decltype(name)>::Result name(TARN_PARAMETERS_##count(name)) {                        \
        static auto *const real = reinterpret_cast<decltype(name) *>(tarn::test::next(#name)); \
        return ServiceForwarder::serve(#name, &(name), real,                                   \
                                       __builtin_return_address(0) TARN_ARGUMENTS_##count);    \
    }

TARN_EACH_SERVICE(TARN_FORWARD)

// Text is made here, so that it can be kept, and goes on as one argument.
namespace {

std::string formatted(const char *format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

void ptrail_wrapper(uint16_t module_id, uint32_t level, uint32_t zero, const char *format, ...) {
    static auto *const real =
        reinterpret_cast<decltype(&ptrail_wrapper)>(tarn::test::next("ptrail_wrapper"));
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (ServiceForwarder::listening() &&
        !tarn::test::is_of_the_runtime(__builtin_return_address(0))) {
        ServiceForwarder::note("ptrail_wrapper", {module_id, level, zero}, text);
    }
    real(module_id, level, zero, "%s", text.c_str());
}

uint32_t kel_snprintf(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t remaining,
                      uint32_t *err, const char *format, ...) {
    static auto *const real =
        reinterpret_cast<decltype(&kel_snprintf)>(tarn::test::next("kel_snprintf"));
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (!ServiceForwarder::listening() ||
        tarn::test::is_of_the_runtime(__builtin_return_address(0))) {
        return real(handle, tx_id, buffer, remaining, err, "%s", text.c_str());
    }
    const std::size_t place =
        ServiceForwarder::note("kel_snprintf",
                               {tarn::test::word(handle), tx_id, tarn::test::word(buffer),
                                remaining, tarn::test::word(err)},
                               text);
    if (const auto *failure = ServiceForwarder::due("kel_snprintf")) {
        ServiceForwarder::call(place).failed = true;
        return static_cast<uint32_t>(tarn::test::fail_by(*failure, handle, err));
    }
    const uint32_t written = real(handle, tx_id, buffer, remaining, err, "%s", text.c_str());
    ServiceForwarder::call(place).result = written;
    return written;
}
