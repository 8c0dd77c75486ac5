// SPDX-License-Identifier: Apache-2.0
#include "watch/record_history.h"

#include <fmt/core.h>

#include <cerrno>
#include <utility>

#include "base/failure.h"

namespace tarnctl {

RecordHistory::RecordHistory(tarn::replica replica, const std::string &path,
                             const RecordName &record)
    : name_(record),
      replica_(std::move(replica)),
      store_(Store::of_replica(replica_, path)),
      key_(*record.table.table, record.key) {}

// The table, if the store has it at this moment.
std::optional<Instance> RecordHistory::held() const {
    std::optional<Instance> found;
    for (const Instance &each : instances_of(store_, *name_.table.table)) {
        if (!name_.table.means(each)) continue;
        if (found) return find_instance(store_, name_.table);  // fails: it is one of several
        found = each;
    }
    return found;
}

std::optional<RecordCopy> RecordHistory::copy_of(const Instance &instance,
                                                 const kel_record *record) const {
    if (record == nullptr) return std::nullopt;
    const Record found{instance.table, store_.handle(), const_cast<kel_record *>(record)};
    check_readable(store_, found);
    return RecordCopy(found);
}

std::optional<Change> RecordHistory::present() {
    const std::optional<Instance> instance = held();
    if (!instance) return std::nullopt;
    const tarn::tenant_scope tenant(name_.tenant);
    const Record found = find_record(store_, *instance, key_, name_.source);
    if (found.record == nullptr) return std::nullopt;
    Change row{instance->full_name(), {}, RecordCopy(found)};
    row.is_present = true;
    return row;
}

// Goes on to the next change of the record, or without a table to the next transaction.
tarn::replica::step RecordHistory::advance(const std::optional<Instance> &instance) {
    const kel_record place = key_.place(name_.tenant, name_.source);
    auto advanced =
        instance ? replica_.try_advance_record(instance->block, &place) : replica_.try_advance();
    if (advanced) return *advanced;
    if (advanced.error().number() == ENOENT) return tarn::replica::step::applied;
    throw Failure(Exit::store, advanced.error().what());
}

// The change of the record by the transaction that made its table, which all changes are of.
const kel_replica_change *RecordHistory::first_insertion(const Instance &instance) const {
    const kel_record place = key_.place(name_.tenant, name_.source);
    const kel_replica_transaction &last = transaction();
    for (uint64_t i = 0; i < last.change_count; ++i) {
        const kel_replica_change &each = last.changes[i];
        const bool is_it = each.table == instance.block && each.after != nullptr &&
                           instance.table->order(&place.index_node, &each.after->index_node) == 1;
        if (is_it) return &each;
    }
    return nullptr;
}

std::optional<Change> RecordHistory::next() {
    while (true) {
        std::optional<Instance> instance = held();
        const uint64_t seen = replica_.sequence();
        const tarn::replica::step step = advance(instance);
        if (step == tarn::replica::step::current) return std::nullopt;
        if (step == tarn::replica::step::gap)
            throw Failure(Exit::difference,
                          fmt::format("{}: transactions {} to {} were removed while they were read",
                                      store_.path(), seen + 1, replica_.sequence()));
        const kel_replica_change *found = nullptr;
        if (instance) {
            if (transaction().change_count != 0) found = transaction().changes;
        } else if ((instance = held())) {
            found = first_insertion(*instance);
        }
        if (found == nullptr) continue;
        Change change{instance->full_name(), copy_of(*instance, found->before),
                      copy_of(*instance, found->after)};
        if (change.before && change.after) {
            change.fields = changes_between(*change.before, *change.after);
            if (change.fields->empty()) continue;
        }
        return change;
    }
}

}  // namespace tarnctl
