// SPDX-License-Identifier: Apache-2.0
//
// A store that a thread follows: it applies each transaction as it is committed, opens the store
// again when another one has taken its place, and keeps the last changes.
#ifndef TOOLS_EXPORTER_FOLLOWED_STORE_H
#define TOOLS_EXPORTER_FOLLOWED_STORE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "exporter/event_log.h"
#include "watch/feed.h"

namespace exporter {

struct StoreSettings {
    std::string name;
    std::string path;
    uint64_t history;  // transactions that are kept
};

struct StoreStatus {
    bool is_open = false;
    std::string error;  // why it isn't open
    uint64_t transaction = 0;
    uint64_t missed = 0;  // transactions that were skipped
    uint64_t openings = 0;
};

class FollowedStore {
 public:
    explicit FollowedStore(StoreSettings settings);
    FollowedStore(const FollowedStore &) = delete;
    FollowedStore &operator=(const FollowedStore &) = delete;
    ~FollowedStore();

    const std::string &name() const { return settings_.name; }
    StoreStatus status() const;
    EventLog &events() { return events_; }

    // Calls `function` with the store as it is after the transaction; it doesn't change meanwhile.
    // Returns whether the store is open, and the thread has applied what was there when it was
    // opened: what is older would look like a counter that begins again.
    bool read(const std::function<void(const tarnctl::Store &, uint64_t transaction)> &function);

    // Lets the readers of the events end, and the thread stop soon.
    void stop();

 private:
    void run();
    void open();
    void follow();
    void close(const std::string &error);
    bool apply_some();
    void apply_next();
    void note_gap(uint64_t seen);
    void let_readers_in() const;
    void pause();

    const StoreSettings settings_;
    EventLog events_;
    std::string identity_;  // of the store that is open

    mutable std::mutex mutex_;  // guards what follows
    std::optional<tarnctl::Feed> feed_;
    StoreStatus status_;
    std::atomic<int> readers_ = 0;  // that wait for the mutex

    std::mutex stop_mutex_;
    std::condition_variable stopped_;
    std::atomic<bool> is_stopping_ = false;
    std::thread thread_;
};

}  // namespace exporter

#endif
