// SPDX-License-Identifier: Apache-2.0
#include "agentx/events.h"

#include <utility>

namespace agentx {
namespace {

using tarnctl::Record;

uint64_t number_in(const std::optional<Record> &record, const tarnctl::Column &column) {
    if (!record) return 0;
    const tarnctl::Value value = record->value(column);
    return value.present() ? value.number() : 0;
}

}  // namespace

void NotificationQueue::add(Notification notification) {
    {
        const std::lock_guard lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        if (now - minute_ >= std::chrono::minutes(1)) {
            minute_ = now;
            in_minute_ = 0;
        }
        if (in_minute_ >= most_) {
            ++suppressed_;
            return;
        }
        ++in_minute_;
        waiting_.push_back(std::move(notification));
        ++sent_;
    }
    wake_();
}

std::deque<Notification> NotificationQueue::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(waiting_, {});
}

EventWatch::EventWatch() {
    for (const MapEvent &each : map.events) {
        const tarnctl::Table *table = tarnctl::catalogue.table(each.table);
        counters_.emplace(table, Counter{&each, tarnctl::column_named(*table, each.path)});
    }
}

void EventWatch::change(const tarnctl::Instance &instance, const std::optional<Record> &before,
                        const std::optional<Record> &after, const Tree &tree,
                        NotificationQueue &queue) const {
    if (!after || after->is_shadow()) return;
    const auto [first, last] = counters_.equal_range(instance.table);
    for (auto each = first; each != last; ++each) {
        const auto &[event, column] = each->second;
        const uint64_t old = number_in(before, column);
        const uint64_t now = number_in(after, column);
        if (now <= old) continue;
        queue.add(
            {event->notification, tree.own_object(place_of(instance, *after), *after, event->path),
             instance.full_name(), after->key_text(), std::string(event->path), now, now - old});
    }
}

}  // namespace agentx
