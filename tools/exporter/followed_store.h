// SPDX-License-Identifier: Apache-2.0
//
// A store that is followed, with its last changes.
#ifndef TOOLS_EXPORTER_FOLLOWED_STORE_H
#define TOOLS_EXPORTER_FOLLOWED_STORE_H

#include <cstdint>
#include <functional>
#include <string>

#include "exporter/event_log.h"
#include "watch/followed_store.h"

namespace exporter {

using tarnctl::StoreStatus;

struct StoreSettings {
    std::string name;
    std::string path;
    uint64_t history;  // transactions that are kept
};

class FollowedStore final : private tarnctl::StoreFollower {
 public:
    explicit FollowedStore(const StoreSettings &settings);

    const std::string &name() const { return followed_.name(); }
    const std::string &folder() const { return followed_.folder(); }
    StoreStatus status() const { return followed_.status(); }
    EventLog &events() { return events_; }

    // As tarnctl::FollowedStore::read.
    bool read(const std::function<void(const tarnctl::Store &, uint64_t transaction)> &function) {
        return followed_.read(function);
    }

    // Lets the readers of the events end, and the thread stop soon.
    void stop();

 private:
    void opened(tarnctl::Feed &feed, const std::string &identity) override;
    void applied(tarnctl::Feed &feed) override;
    void skipped(tarnctl::Feed &feed) override;

    EventLog events_;
    std::string identity_;             // of the store that is open
    tarnctl::FollowedStore followed_;  // its thread uses the others
};

}  // namespace exporter

#endif
