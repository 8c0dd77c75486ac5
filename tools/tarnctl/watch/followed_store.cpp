// SPDX-License-Identifier: Apache-2.0
#include "watch/followed_store.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <utility>

#include "base/failure.h"
#include "cli/utf8.h"
#include "model/replica.h"

namespace tarnctl {
namespace {

using std::chrono::milliseconds;

// A commit ends the wait at once; after so long the thread looks whether the store was replaced.
constexpr milliseconds longest_wait{500};
constexpr milliseconds before_retry{500};
// Readers get in after so many transactions.
constexpr int most_at_once = 64;

// Of the store's folder: one that is made anew under the same name has another identity. Empty if
// there is no such folder.
std::string identity_of(const std::string &path) {
    struct statx facts {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &facts) != 0) return "";
    return fmt::format("{:x}{:x}{:08x}", facts.stx_ino, facts.stx_btime.tv_sec,
                       facts.stx_btime.tv_nsec);
}

// The store as it was before the last transactions, as many as are kept.
tarn::replica open_before(const std::string &path, uint64_t history) {
    const uint64_t newest = open_replica(path, tarn::replica::newest).sequence();
    try {
        return open_replica(path, newest - std::min(newest, history));
    } catch (const Failure &failure) {
        if (failure.code() != Exit::difference) throw;
    }
    return open_replica(path, tarn::replica::oldest);
}

}  // namespace

FollowedStore::FollowedStore(FollowSettings settings, StoreFollower &follower)
    : settings_(std::move(settings)), follower_(follower), thread_([this] { run(); }) {}

FollowedStore::~FollowedStore() {
    stop();
    thread_.join();
}

void FollowedStore::stop() {
    {
        const std::lock_guard lock(stop_mutex_);
        is_stopping_ = true;
    }
    stopped_.notify_all();
}

StoreStatus FollowedStore::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

bool FollowedStore::read(const std::function<void(const Store &, uint64_t transaction)> &function) {
    ++readers_;
    const std::lock_guard lock(mutex_);
    --readers_;
    if (!status_.is_open) return false;
    function(feed_->store(), feed_->sequence());
    return true;
}

void FollowedStore::run() {
    while (!is_stopping_) {
        try {
            open();
            follow();
            close("the store was replaced or removed");
        } catch (const std::exception &failure) {
            close(failure.what());
        }
        pause();
    }
    const std::lock_guard lock(mutex_);
    feed_.reset();
}

// Opening takes as long as the store is large. Nobody reads a store that isn't open.
void FollowedStore::open() {
    identity_ = identity_of(settings_.path);
    FeedOptions options;
    options.unreadable = Unreadable::leave_out;
    feed_.emplace(open_before(settings_.path, settings_.history), settings_.path, options);
    if (identity_of(settings_.path) != identity_)
        throw Failure(Exit::store, "the store was replaced while it was opened");
    follower_.opened(*feed_, identity_);
    const std::lock_guard lock(mutex_);
    status_.transaction = feed_->sequence();
    ++status_.openings;
}

void FollowedStore::follow() {
    while (!is_stopping_) {
        if (apply_some()) continue;
        {
            const std::lock_guard lock(mutex_);
            if (!status_.is_open) say(fmt::format("follows {}", settings_.path));
            status_.is_open = true;
            status_.error.clear();
        }
        if (identity_of(settings_.path) != identity_) return;
        feed_->store().wait(longest_wait);
    }
}

void FollowedStore::close(const std::string &error) {
    if (is_stopping_) return;
    const std::lock_guard lock(mutex_);
    feed_.reset();
    if (status_.error != error) say(error);
    status_.is_open = false;
    status_.error = error;
}

// Returns whether there may be more.
bool FollowedStore::apply_some() {
    let_readers_in();
    const std::lock_guard lock(mutex_);
    for (int i = 0; i < most_at_once; ++i) {
        const uint64_t seen = feed_->sequence();
        const tarn::replica::step step = feed_->advance();
        if (step == tarn::replica::step::current) return false;
        if (step == tarn::replica::step::gap) note_gap(seen);
        else follower_.applied(*feed_);
        status_.transaction = feed_->sequence();
    }
    return true;
}

void FollowedStore::note_gap(uint64_t seen) {
    const uint64_t missed = feed_->sequence() - seen;
    status_.missed += missed;
    say(fmt::format("{} transactions were removed before they were read", missed));
    follower_.skipped(*feed_);
}

// A mutex is taken again by the thread that has just released it.
void FollowedStore::let_readers_in() const {
    if (readers_ > 0) std::this_thread::sleep_for(milliseconds(1));
}

void FollowedStore::say(const std::string &text) const {
    std::cerr << fmt::format("{}: {}: {}\n", settings_.program, cli::one_line(name()),
                             cli::one_line(text));
}

void FollowedStore::pause() {
    std::unique_lock lock(stop_mutex_);
    stopped_.wait_for(lock, before_retry, [this] { return is_stopping_.load(); });
}

}  // namespace tarnctl
