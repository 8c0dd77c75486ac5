// SPDX-License-Identifier: Apache-2.0
//
// A store that a thread follows: it applies each transaction as it is committed, and opens the
// store again when another one has taken its place.
#ifndef TARNCTL_WATCH_FOLLOWED_STORE_H
#define TARNCTL_WATCH_FOLLOWED_STORE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "watch/feed.h"

namespace tarnctl {

struct FollowSettings {
    std::string program;  // in what it writes to standard error
    std::string name;
    std::string path;
    uint64_t history;  // transactions before the newest one to begin with
};

struct StoreStatus {
    bool is_open = false;
    std::string error;  // why it isn't open
    uint64_t transaction = 0;
    uint64_t missed = 0;  // transactions that were skipped
    uint64_t openings = 0;
};

// What a program does with a store that it follows. Called by the thread; nobody reads meanwhile.
class StoreFollower {
 public:
    virtual ~StoreFollower() = default;
    // The store was opened, as it was before the transactions of the history. One that was made
    // anew has another identity.
    virtual void opened(Feed &feed, const std::string &identity) = 0;
    // The feed has applied a transaction.
    virtual void applied(Feed &feed) = 0;
    // The feed has skipped transactions that weren't in the log any more.
    virtual void skipped(Feed &feed) = 0;
};

class FollowedStore {
 public:
    // `follower` must outlive it.
    FollowedStore(FollowSettings settings, StoreFollower &follower);
    FollowedStore(const FollowedStore &) = delete;
    FollowedStore &operator=(const FollowedStore &) = delete;
    ~FollowedStore();

    const std::string &name() const { return settings_.name; }
    const std::string &folder() const { return settings_.path; }
    StoreStatus status() const;

    // Calls `function` with the store as it is after the transaction; it doesn't change meanwhile.
    // Returns whether the store is open, and the thread has applied what was there when it was
    // opened: what is older would look like a counter that begins again.
    bool read(const std::function<void(const Store &, uint64_t transaction)> &function);

    // Lets the thread stop soon.
    void stop();

 private:
    void run();
    void open();
    void follow();
    void close(const std::string &error);
    bool apply_some();
    void note_gap(uint64_t seen);
    void let_readers_in() const;
    void pause();
    void say(const std::string &text) const;

    const FollowSettings settings_;
    StoreFollower &follower_;
    std::string identity_;  // of the store that is open

    mutable std::mutex mutex_;  // guards what follows
    std::optional<Feed> feed_;  // of an open store: else the thread alone uses it
    StoreStatus status_;
    std::atomic<int> readers_ = 0;  // that wait for the mutex

    std::mutex stop_mutex_;
    std::condition_variable stopped_;
    std::atomic<bool> is_stopping_ = false;
    std::thread thread_;
};

}  // namespace tarnctl

#endif
