// SPDX-License-Identifier: Apache-2.0
//
// Notifications about counters that have risen: made by the thread that follows the store, sent by
// the one that speaks to the SNMP agent.
#ifndef TOOLS_AGENTX_EVENTS_H
#define TOOLS_AGENTX_EVENTS_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "agentx/oid.h"
#include "agentx/tree.h"
#include "model/record.h"

namespace agentx {

struct Notification {
    uint32_t number;    // of the module's own MIB
    Oid object;         // that has risen; empty if it isn't shown
    std::string table;  // "tbl_ldap_conn:ldap"
    std::string key;
    std::string field;
    uint64_t value;
    uint64_t rise;
};

// At most so many notifications in a minute. Those beyond that are counted.
class NotificationQueue {
 public:
    // `wake` is called after each one that was added.
    NotificationQueue(uint64_t most_a_minute, std::function<void()> wake)
        : most_(most_a_minute), wake_(std::move(wake)) {}

    void add(Notification notification);
    // All that were added since the last call.
    std::deque<Notification> take();

    uint64_t sent() const { return sent_; }
    uint64_t suppressed() const { return suppressed_; }

 private:
    const uint64_t most_;
    const std::function<void()> wake_;
    std::mutex mutex_;
    std::deque<Notification> waiting_;
    std::chrono::steady_clock::time_point minute_{};  // the one that is counted began here
    uint64_t in_minute_ = 0;
    std::atomic<uint64_t> sent_ = 0;
    std::atomic<uint64_t> suppressed_ = 0;
};

// Finds the counters that have risen.
class EventWatch {
 public:
    EventWatch();
    // A record that was inserted counts from 0.
    void change(const tarnctl::Instance &instance, const std::optional<tarnctl::Record> &before,
                const std::optional<tarnctl::Record> &after, const Tree &tree,
                NotificationQueue &queue) const;

 private:
    struct Counter {
        const MapEvent *event;
        tarnctl::Column column;
    };
    std::multimap<const tarnctl::Table *, Counter> counters_;
};

}  // namespace agentx

#endif
