// SPDX-License-Identifier: Apache-2.0
#include "exporter/followed_store.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <utility>

#include "base/failure.h"
#include "base/time.h"
#include "base/utf8.h"
#include "model/replica.h"
#include "watch/author.h"

namespace exporter {
namespace {

using std::chrono::milliseconds;
using tarnctl::Failure;
using tarnctl::Json;

constexpr std::size_t most_history_bytes = 64 << 20;
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

void say(const std::string &store, const std::string &text) {
    std::cerr << fmt::format("tarn-exporter: {}: {}\n", tarnctl::one_line(store),
                             tarnctl::one_line(text));
}

// The store as it was before the last transactions, as many as are kept.
tarn::replica open_before(const std::string &path, uint64_t history) {
    const uint64_t newest = tarnctl::open_replica(path, tarn::replica::newest).sequence();
    try {
        return tarnctl::open_replica(path, newest - std::min(newest, history));
    } catch (const Failure &failure) {
        if (failure.code() != tarnctl::Exit::difference) throw;
    }
    return tarnctl::open_replica(path, tarn::replica::oldest);
}

Json json_of(const kel_replica_transaction &transaction) {
    Json json = Json::object();
    if (transaction.time != 0) json.set("time", tarnctl::utc_time(transaction.time));
    tarnctl::add_author(json, transaction);
    return json;
}

}  // namespace

FollowedStore::FollowedStore(StoreSettings settings)
    : settings_(std::move(settings)),
      events_(settings_.history, most_history_bytes),
      thread_([this] { run(); }) {}

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
    events_.close();
}

StoreStatus FollowedStore::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

bool FollowedStore::read(
    const std::function<void(const tarnctl::Store &, uint64_t transaction)> &function) {
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

void FollowedStore::open() {
    identity_ = identity_of(settings_.path);
    const std::lock_guard lock(mutex_);
    feed_.emplace(open_before(settings_.path, settings_.history), settings_.path,
                  tarnctl::FeedOptions{});
    if (identity_of(settings_.path) != identity_)
        throw Failure(tarnctl::Exit::store, "the store was replaced while it was opened");
    events_.begin({identity_, feed_->sequence()});
    status_.transaction = feed_->sequence();
    ++status_.openings;
}

void FollowedStore::follow() {
    while (!is_stopping_) {
        if (apply_some()) continue;
        {
            const std::lock_guard lock(mutex_);
            if (!status_.is_open) say(name(), fmt::format("follows {}", settings_.path));
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
    if (status_.error != error) say(name(), error);
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
        else apply_next();
        status_.transaction = feed_->sequence();
    }
    return true;
}

void FollowedStore::apply_next() {
    const std::vector<tarnctl::Change> changes = feed_->changes();
    std::string data;
    if (!changes.empty()) {
        Json json = json_of(feed_->transaction());
        Json list = Json::array();
        for (const tarnctl::Change &each : changes) list.add(tarnctl::json_of(each));
        json.set("changes", std::move(list));
        data = json.dump();
    }
    events_.add(feed_->sequence(), std::move(data));
}

void FollowedStore::note_gap(uint64_t seen) {
    const uint64_t missed = feed_->sequence() - seen;
    status_.missed += missed;
    say(name(), fmt::format("{} transactions were removed before they were read", missed));
    events_.begin({identity_, feed_->sequence()});
}

// A mutex is taken again by the thread that has just released it.
void FollowedStore::let_readers_in() const {
    if (readers_ > 0) std::this_thread::sleep_for(milliseconds(1));
}

void FollowedStore::pause() {
    std::unique_lock lock(stop_mutex_);
    stopped_.wait_for(lock, before_retry, [this] { return is_stopping_.load(); });
}

}  // namespace exporter
