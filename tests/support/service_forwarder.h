/* SPDX-License-Identifier: Apache-2.0 */
// The path of a call from this program's function of a service to the runtime's, by way of
// the recorder. Only the sources of services.h include this.
#ifndef TARNBASE_TESTS_SUPPORT_SERVICE_FORWARDER_H
#define TARNBASE_TESTS_SUPPORT_SERVICE_FORWARDER_H

#include <any>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/service_at_work.h"
#include "tests/support/services.h"

namespace tarn::test {

template <typename T>
T from_word(std::uint64_t value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(value);
    } else {
        return static_cast<T>(value);
    }
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

// Gets the calls of services and hooks before they go on.
struct ServiceForwarder {
    static bool listening() { return current != nullptr && !current->paused_; }

    static std::size_t note(const char *name, std::vector<std::uint64_t> arguments,
                            std::string text = {}) {
        const std::size_t place = current->calls_.size();
        current->calls_.push_back({name, std::move(arguments), 0, false, std::move(text), {}});
        if (current->at_each) current->at_each(ServiceCall(current->calls_.back()));
        return place;
    }

    static ServiceCall &call(std::size_t place) { return current->calls_[place]; }

    // How this call is to fail, or null.
    static const Failure *due(const char *name) {
        const Failure *failure = nullptr;
        for (ServiceRecorder::Fault &fault : current->faults_) {
            if (fault.left == 0 || fault.name != name) continue;
            if (fault.left != ServiceRecorder::every_call && --fault.left != 0) continue;
            current->has_failed_ = true;
            failure = &fault.failure;
        }
        return failure;
    }

    // The service, or what takes its place.
    template <typename R, typename... Arguments>
    static R run(const char *name, R (*front)(Arguments...), R (*real)(Arguments...),
                 std::type_identity_t<Arguments>... arguments) {
        std::optional<ServiceAtWork> mark;
        if (listening()) {
            if (stores(name)) mark.emplace();
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
            // The recorder may have ended, or been cleared, in between.
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

    // The next function of that name after this program's.
    static void *next(const char *name);
    // Whether a call from this address is the runtime's own.
    static bool is_of_the_runtime(const void *caller);
    // Whether a service keeps links and counts in the blocks of others. One that sets or clears
    // a flag of an object is no such service: tests of objects expect it among their stores.
    static bool stores(std::string_view service);

    // The functions in a handle's slots while a recorder lives.
    static void *type_alloc(void *arena, std::uint32_t tx_id, std::uint64_t size);
    static void *alloc(void *arena, std::uint32_t tx_id, std::uint64_t size);
    static void free(void *arena, std::uint32_t tx_id, void *block);
    static void write_log(void *arena, void *address, std::uint64_t length, std::uint32_t tx_id);
    static void delta_log(void *arena, std::uint64_t *address, std::int32_t delta,
                          std::uint32_t tx_id);
    static void type_map_insert(void *map, std::uint32_t tx_id, const char *luid_text,
                                kel_type_info_copy *copy);
    static kel_type_info_copy *type_map_lookup(void *map, std::uint32_t tx_id,
                                               const char *luid_text);

    static void note_bytes(const void *address, std::uint64_t length);

    inline static ServiceRecorder *current = nullptr;
    // How many services are at work for the library.
    inline static int depth = 0;
};

}  // namespace tarn::test

#endif
