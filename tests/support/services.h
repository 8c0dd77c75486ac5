/* SPDX-License-Identifier: Apache-2.0 */
// Records which services of the runtime the library calls, in one sequence with the calls
// of a handle's hooks. Any of them can fail at its n-th call, and a test can put a function
// of its own in the place of any service.
//
// A program that links tarnbase_test_services has its own function for every service
// (service_list.h). It records the call and passes it on to the runtime. Calls that the
// runtime makes itself are not recorded.
#ifndef TARNBASE_TESTS_SUPPORT_SERVICES_H
#define TARNBASE_TESTS_SUPPORT_SERVICES_H

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tarnbase/handle.h"

namespace tarn::test {

// An argument or result as one word.
template <typename T>
std::uint64_t word(T value) {
    if constexpr (std::is_null_pointer_v<T>) {
        return 0;
    } else if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(value);
    } else {
        return static_cast<std::uint64_t>(value);
    }
}

// A call's arguments, to compare with what was recorded.
template <typename... Arguments>
std::vector<std::uint64_t> words(Arguments... arguments) {
    return {word(arguments)...};
}

// A call of a service or, under its name in kel_handle, of a hook.
struct ServiceCall {
    std::string name;
    std::vector<std::uint64_t> arguments;  // each as one word; variable ones left out
    std::uint64_t result = 0;              // as one word; 0 of a service without one
    bool failed = false;                   // it was made to fail
    std::string text;                      // its first text argument, or what printf makes of it
    std::vector<std::uint8_t> before;      // write_log_hook, delta_log_hook: the bytes then

    template <typename T>
    T *pointer(std::size_t argument) const {
        return reinterpret_cast<T *>(arguments.at(argument));
    }
    // Of a service that takes a handle or an arena, then a transaction.
    std::uint32_t tx_id() const { return static_cast<std::uint32_t>(arguments.at(1)); }
    // The arguments from one place to before another.
    std::vector<std::uint64_t> arguments_in(std::size_t first, std::size_t end) const;
};

// What a service does when it is made to fail: nothing but this. fall_back returns the third
// argument.
struct Failure {
    enum class Way { never, result, report, fall_back };
    Way way = Way::never;
    std::uint32_t code = 0;    // report: in *err and in the handle
    std::uint64_t result = 0;  // result, report: what it returns
};

struct ServiceInfo {
    std::string name;
    Failure failure;
};

// Records while it lives; one at a time, on one thread.
class ServiceRecorder {
 public:
    explicit ServiceRecorder(kel_handle *handle);
    ~ServiceRecorder();
    ServiceRecorder(const ServiceRecorder &) = delete;
    ServiceRecorder &operator=(const ServiceRecorder &) = delete;

    const std::vector<ServiceCall> &calls() const { return calls_; }
    std::vector<ServiceCall> calls(const std::string &name) const;
    // The calls with this address among their arguments: those about one object or value.
    std::vector<ServiceCall> calls(const std::string &name, const void *about) const;
    std::size_t count(const std::string &name) const;
    // The names of the calls, in order and joined by blanks, of those named.
    std::string order(const std::vector<std::string> &names) const;
    // The same of all calls.
    std::string order() const;
    // Whether these bytes were announced before the call at this place of calls().
    bool announced(const void *address, std::uint64_t length, std::size_t before_call) const;
    void clear() { calls_.clear(); }

    // The n-th call of a service or hook from now, counted from 1, fails in the
    // way of its contract, once. The second form has another code or result.
    void fail(const std::string &name, std::size_t n);
    void fail(const std::string &name, std::size_t n, std::uint32_t code);
    // The same for every call from now.
    void always_fail(const std::string &name);
    void always_fail(const std::string &name, std::uint32_t code);
    // Every call from now returns this and does nothing else.
    void always_return(const std::string &name, std::uint64_t value);
    // From now the library's calls of the service go to `function`, which can call the service
    // itself to reach the runtime's. An empty function puts the service back.
    template <typename R, typename... Arguments>
    void replace(R (*service)(Arguments...),
                 std::type_identity_t<std::function<R(Arguments...)>> function) {
        replacements_[word(service)] = std::move(function);
    }
    // Cancels the failures to come. Returns whether a service failed since the last such call.
    bool stop_failing();

    // Called with each call once it is recorded, before it goes on.
    std::function<void(const ServiceCall &)> at_each;

    // Neither records nor fails while it is paused.
    void pause(bool paused) { paused_ = paused; }

 private:
    friend struct ServiceForwarder;
    struct Fault {
        std::string name;
        std::size_t left = 0;  // calls until it fails; every_call: each fails
        Failure failure;
    };
    static constexpr std::size_t every_call = ~std::size_t{0};
    kel_handle *handle_;
    kel_handle original_;
    std::vector<ServiceCall> calls_;
    std::vector<Fault> faults_;
    std::map<std::uint64_t, std::any> replacements_;  // by the service's address
    bool has_failed_ = false;
    bool paused_ = false;
};

// All services that the recorder sees, in the order of their list, and the hooks of a handle.
const std::vector<ServiceInfo> &recorded_services();
const std::vector<ServiceInfo> &recorded_hooks();

}  // namespace tarn::test

#endif
