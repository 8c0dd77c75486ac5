// SPDX-License-Identifier: Apache-2.0
//
// The rows of a store's tables, and then what each transaction changes in them.
#ifndef TARNCTL_WATCH_FEED_H
#define TARNCTL_WATCH_FEED_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "edit/change.h"
#include "model/instance.h"
#include "model/store.h"
#include "query/filter.h"
#include "tarnbase/tarn/replica.hpp"

namespace tarnctl {

// What of a store is followed.
struct FeedOptions {
    std::vector<TableReference> tables;        // none: all
    std::vector<std::string> conditions;       // see query/filter.h
    std::vector<std::string> columns;          // see listing/columns.h; none: all
    Unreadable unreadable = Unreadable::fail;  // of rows and changes
};

class Feed {
 public:
    // `path` is the name of the replica's store.
    Feed(tarn::replica replica, const std::string &path, FeedOptions options);

    const Store &store() const { return store_; }
    uint64_t sequence() const { return replica_.sequence(); }

    // Records of the tables that are followed, whatever the conditions are.
    uint64_t records();
    // Calls `function` with each record that is followed, until it returns false.
    void each_row(const std::function<bool(const Change &)> &function);

    // Applies the next transaction. Failure `store`.
    tarn::replica::step advance();
    // Applies transactions up to the next one whose number and author are wanted. Failure `store`.
    // Requires: `wanted` throws nothing.
    using Wanted = std::function<bool(const kel_replica_transaction &)>;
    tarn::replica::step advance_to(const Wanted &wanted);
    const kel_replica_transaction &transaction() const { return replica_.transaction(); }
    // What that changed, ordered by table. A change is followed if the record is one that passes
    // the conditions, before it or after it, and a column that is followed has changed.
    std::vector<Change> changes();
    // Calls `function` with each record of a followed table that it changed, before it and after
    // it, whatever the conditions and the columns are. Those that aren't readable are left out.
    using ChangeFunction =
        std::function<void(const Instance &instance, const std::optional<Record> &before,
                           const std::optional<Record> &after)>;
    void each_change(const ChangeFunction &function);
    // Calls `function` with each record of a followed table that it changed, as it was before if it
    // was deleted, whatever the conditions and the columns are: much faster than `changes`.
    using RecordFunction =
        std::function<void(const std::string &table, const Record &record, uint32_t what)>;
    void each_record(const RecordFunction &function);

 private:
    // A table of the store as it was when it was seen first.
    struct Followed {
        std::string key;
        uint64_t id;
        const kel_type_info *descriptor;
        std::optional<Instance> instance;  // none: it isn't followed
        std::string name;
        std::shared_ptr<const Filter> filter;
        std::vector<std::string> columns;  // none: all

        bool is_of(const kel_table &block) const;
    };

    const Followed &followed(kel_table *block);
    Followed make_followed(kel_table *block) const;
    bool passes(const Followed &table, const std::optional<Record> &record) const;
    std::optional<Record> record_of(const Followed &table, const kel_record *record,
                                    Unreadable unreadable) const;
    std::optional<Change> change_of(const kel_replica_change &change);

    FeedOptions options_;
    tarn::replica replica_;
    Store store_;
    std::unordered_map<const kel_table *, Followed> known_;
};

}  // namespace tarnctl

#endif
