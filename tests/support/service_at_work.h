/* SPDX-License-Identifier: Apache-2.0 */
// Marks a call of a service that stores into blocks in use, in a program that has its own
// functions for the services. The stores announced during the call are the service's: the
// recorders leave them out and keep the library's own.
#ifndef TARNBASE_TESTS_SUPPORT_SERVICE_AT_WORK_H
#define TARNBASE_TESTS_SUPPORT_SERVICE_AT_WORK_H

namespace tarn::test {

class ServiceAtWork {
 public:
    ServiceAtWork() { ++depth; }
    ~ServiceAtWork() { --depth; }
    ServiceAtWork(const ServiceAtWork &) = delete;
    ServiceAtWork &operator=(const ServiceAtWork &) = delete;

    static bool any() { return depth != 0; }

 private:
    inline static int depth = 0;
};

// Such a service, marked at each call.
template <typename R, typename... Arguments>
class Storing {
 public:
    explicit Storing(R (*real)(Arguments...)) : real_(real) {}
    R operator()(Arguments... arguments) const {
        const ServiceAtWork mark;
        return real_(arguments...);
    }

 private:
    R (*real_)(Arguments...);
};

}  // namespace tarn::test

#endif
