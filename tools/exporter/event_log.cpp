// SPDX-License-Identifier: Apache-2.0
#include "exporter/event_log.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace exporter {
namespace {

// What a reader gets at a time, more or less.
constexpr std::size_t most_events_at_once = 256;
constexpr std::size_t most_bytes_at_once = 1 << 20;

}  // namespace

std::string EventPosition::text() const { return identity + "-" + std::to_string(transaction); }

std::optional<EventPosition> EventPosition::parse(std::string_view text) {
    const std::size_t dash = text.rfind('-');
    if (dash == std::string_view::npos || dash == 0) return std::nullopt;
    EventPosition position{std::string(text.substr(0, dash)), 0};
    const char *end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + dash + 1, end, position.transaction);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return position;
}

void EventLog::begin(EventPosition position) {
    const std::lock_guard lock(mutex_);
    events_.clear();
    bytes_ = 0;
    known_from_ = position.transaction;
    newest_ = std::move(position);
    changed_.notify_all();
}

void EventLog::add(uint64_t transaction, std::string_view kind, std::string data) {
    const std::lock_guard lock(mutex_);
    newest_->transaction = transaction;
    if (!data.empty()) {
        bytes_ += data.size();
        events_.push_back(
            {transaction, kind, std::make_shared<const std::string>(std::move(data))});
        while (events_.size() > most_events_ || bytes_ > most_bytes_) drop_oldest();
    }
    changed_.notify_all();
}

void EventLog::drop_oldest() {
    known_from_ = events_.front().transaction;
    bytes_ -= events_.front().data->size();
    events_.pop_front();
}

void EventLog::close() {
    const std::lock_guard lock(mutex_);
    is_closed_ = true;
    changed_.notify_all();
}

std::optional<EventPosition> EventLog::newest() const {
    const std::lock_guard lock(mutex_);
    return newest_;
}

bool EventLog::is_known(const EventPosition &position) const {
    return position.identity == newest_->identity && position.transaction >= known_from_ &&
           position.transaction <= newest_->transaction;
}

EventBatch EventLog::next(EventPosition &position, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    const auto has_more = [&] {
        if (is_closed_) return true;
        return newest_ && (!is_known(position) || position.transaction < newest_->transaction);
    };
    if (!changed_.wait_for(lock, limit, has_more)) return {EventBatch::Kind::nothing, {}};
    if (is_closed_) return {EventBatch::Kind::end, {}};
    if (!is_known(position)) {
        position = *newest_;
        return {EventBatch::Kind::gap, {}};
    }
    EventBatch batch{EventBatch::Kind::events, {}};
    const auto first =
        std::upper_bound(events_.begin(), events_.end(), position.transaction,
                         [](uint64_t seen, const Event &each) { return seen < each.transaction; });
    auto each = first;
    for (std::size_t bytes = 0; each != events_.end(); ++each) {
        if (batch.events.size() == most_events_at_once || bytes >= most_bytes_at_once) break;
        bytes += each->data->size();
        batch.events.push_back(*each);
    }
    const bool are_all = each == events_.end();
    position.transaction = are_all ? newest_->transaction : batch.events.back().transaction;
    return batch;
}

}  // namespace exporter
