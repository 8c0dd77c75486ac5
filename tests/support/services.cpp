// SPDX-License-Identifier: Apache-2.0
#include "tests/support/services.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tests/support/handle_hooks.h"
#include "tests/support/service_forwarder.h"
#include "tests/support/service_list.h"

namespace tarn::test {

namespace {

constexpr Failure never;
constexpr Failure falls_back{Failure::Way::fall_back, 0, 0};
constexpr Failure returns(std::uint64_t value) { return {Failure::Way::result, 0, value}; }
constexpr Failure reports(std::uint32_t code, std::uint64_t value = 0) {
    return {Failure::Way::report, code, value};
}

}  // namespace

ServiceRecorder::ServiceRecorder(kel_handle *handle) : handle_(handle), original_(*handle) {
    if (ServiceForwarder::current != nullptr) std::abort();
    ServiceForwarder::current = this;
    set_hooks<ServiceForwarder>(*handle);
}

ServiceRecorder::~ServiceRecorder() {
    copy_hooks(original_, *handle_);
    ServiceForwarder::current = nullptr;
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
            faults_.push_back({name, n, service.failure});
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
    faults_.push_back({name, every_call, {Failure::Way::result, 0, value}});
}

void ServiceRecorder::fail(const std::string &name, std::size_t n, std::uint32_t code) {
    fail(name, n);
    Failure &failure = faults_.back().failure;
    if (failure.way == Failure::Way::report) failure.code = code;
    if (failure.way == Failure::Way::result) failure.result = code;
}

bool ServiceRecorder::stop_failing() {
    faults_.clear();
    return std::exchange(has_failed_, false);
}

const std::vector<ServiceInfo> &recorded_services() {
#define TARN_INFO(name, count, failure) {#name, failure},
    static const std::vector<ServiceInfo> list = {
        TARN_EACH_SERVICE(TARN_INFO){"ptrail_wrapper", never}, {"kel_snprintf", reports(EMSGSIZE)}};
#undef TARN_INFO
    return list;
}

const std::vector<ServiceInfo> &recorded_hooks() {
    static const std::vector<ServiceInfo> list = {
        {"type_alloc_hook", returns(0)},
        {"alloc_hook", returns(0)},
        {"free_hook", never},
        {"write_log_hook", never},
        {"delta_log_hook", never},
        {"type_map_insert_hook", returns(0)},
        {"type_map_lookup_hook", returns(0)},
    };
    return list;
}

}  // namespace tarn::test
