// SPDX-License-Identifier: Apache-2.0
#include "exporter/followed_store.h"

#include <utility>

#include "base/time.h"
#include "watch/author.h"

namespace exporter {
namespace {

using tarnctl::Json;

constexpr std::size_t most_history_bytes = 64 << 20;
// Of a transaction that is one event: as JSON, a record may have some kilobytes.
constexpr uint64_t most_changes = 10'000;

Json json_of(const kel_replica_transaction &transaction) {
    Json json = Json::object();
    if (transaction.time != 0) json.set("time", tarnctl::utc_time(transaction.time));
    tarnctl::add_author(json, transaction);
    return json;
}

}  // namespace

FollowedStore::FollowedStore(const StoreSettings &settings)
    : events_(settings.history, most_history_bytes),
      followed_({"tarn-exporter", settings.name, settings.path, settings.history}, *this) {}

void FollowedStore::stop() {
    followed_.stop();
    events_.close();
}

void FollowedStore::opened(tarnctl::Feed &feed, const std::string &identity) {
    identity_ = identity;
    events_.begin({identity_, feed.sequence()});
}

void FollowedStore::applied(tarnctl::Feed &feed) {
    const uint64_t count = feed.transaction().change_count;
    if (count > most_changes) {
        const Json json{{"store", name()},
                        {"transaction", feed.sequence()},
                        {"replaced", false},
                        {"first", feed.sequence()},
                        {"changes", count}};
        events_.add(feed.sequence(), "gap", json.dump());
        return;
    }
    const std::vector<tarnctl::Change> changes = feed.changes();
    std::string data;
    if (!changes.empty()) {
        Json json = json_of(feed.transaction());
        Json list = Json::array();
        for (const tarnctl::Change &each : changes) list.add(tarnctl::json_of(each));
        json.set("changes", list);
        data = json.dump();
    }
    events_.add(feed.sequence(), "changes", std::move(data));
}

void FollowedStore::skipped(tarnctl::Feed &feed) { events_.begin({identity_, feed.sequence()}); }

}  // namespace exporter
