// SPDX-License-Identifier: Apache-2.0
//
// Queries cn=Monitor in a thread of its own, so that nothing else waits for the network.
#ifndef FEEDERS_LDAP_MONITOR_THREAD_H
#define FEEDERS_LDAP_MONITOR_THREAD_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "input.h"
#include "monitor.h"

namespace tarn_ldap {

// What a query has found, or why it failed.
struct Observation {
    std::optional<Server> server;
    std::string failure;
};

class MonitorThread {
 public:
    explicit MonitorThread(const MonitorSettings &settings);
    MonitorThread(const MonitorThread &) = delete;
    MonitorThread &operator=(const MonitorThread &) = delete;
    ~MonitorThread();

    // Can be read after a query, until `take`.
    int descriptor() const { return news_.number(); }
    // The last one; none if there is no new one.
    std::optional<Observation> take();

 private:
    void run();
    Observation query();
    void publish(Observation observation);

    Monitor monitor_;
    const std::chrono::milliseconds interval_;
    Descriptor news_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool is_stopped_ = false;
    std::optional<Observation> last_;
    std::thread thread_;
};

}  // namespace tarn_ldap

#endif
