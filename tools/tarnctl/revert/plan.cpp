// SPDX-License-Identifier: Apache-2.0
#include "revert/plan.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "base/failure.h"
#include "exchange/frames.h"
#include "model/replica.h"
#include "revert/target.h"
#include "watch/author.h"
#include "watch/feed.h"

namespace tarnctl {
namespace {

std::string place_text(uint16_t tenant, uint8_t source) {
    return tenant == 0 && source == KEL_SOURCE_DEFAULT
               ? ""
               : fmt::format(" (tenant {}, source {})", tenant, source);
}

std::string name_of(const std::string &table, const RecordCopy &record) {
    return fmt::format("{} {}{}", table, record.key_text(),
                       place_text(record.tenant(), record.src()));
}

class Planner {
 public:
    Planner(const std::string &path, uint64_t transaction)
        : path_(path), plan_{transaction, {}, {}} {}

    Plan run() {
        begin();
        if (!advance())
            throw Failure(Exit::difference,
                          fmt::format("{}: its last transaction is {}", path_, feed_->sequence()));
        const kel_replica_transaction &reverted = feed_->transaction();
        for (uint64_t i = 0; i < reverted.change_count; ++i) add_undo(reverted.changes[i]);
        if (is_tracked_) add_states_before();
        std::erase_if(plan_.undos, [](const Undo &undo) {
            return undo.before && undo.after && undo.fields.empty() && undo.flags.empty();
        });
        for (std::size_t i = 0; i < plan_.undos.size(); ++i) {
            index_[plan_.undos[i].name()] = i;
            tables_.insert(plan_.undos[i].table);
        }
        while (advance()) look_at_later();
        return std::move(plan_);
    }

 private:
    // A store before the transaction.
    void begin() {
        feed_.reset();  // A process can't have two replicas of a store.
        feed_.emplace(open_replica(path_, plan_.transaction - 1), path_, FeedOptions{});
    }

    bool advance() {
        const tarn::replica::step step = feed_->advance();
        if (step == tarn::replica::step::gap)
            throw Failure(
                Exit::difference,
                fmt::format("{}: later transactions were removed while they were read", path_));
        return step == tarn::replica::step::applied;
    }

    void add_undo(const kel_replica_change &change) {
        const Store &store = feed_->store();
        const std::optional<Instance> instance = instance_of(store, change.table);
        if (!instance)
            throw Failure(Exit::store,
                          fmt::format("{}: transaction {} changed a table of a type that this "
                                      "program doesn't have",
                                      store.path(), plan_.transaction));
        const auto record_of = [&](const kel_record *record) {
            return Record{instance->table, store.handle(), const_cast<kel_record *>(record)};
        };
        Undo undo{instance->full_name(), {}, {}, {}, {}, {}, false};
        if (change.before != nullptr) undo.before.emplace(record_of(change.before));
        if (change.after != nullptr) undo.after.emplace(record_of(change.after));
        if (undo.before && undo.after) undo.fields = changes_between(*undo.before, *undo.after);
        undo.is_raised = std::ranges::any_of(undo.fields, [](const FieldChange &each) {
            return each.old_present != each.new_present;
        });
        std::string buffer;
        if (!undo.after || undo.is_raised)
            undo.frame = frames::frame_of(record_of(change.before), undo.table, buffer);
        is_tracked_ |= change.before != nullptr && has_flags(record_of(change.before));
        if (undo.before && undo.after) after_.push_back(state_flags_of(record_of(change.after)));
        else after_.emplace_back();
        plan_.undos.push_back(std::move(undo));
    }

    static bool has_flags(const Record &record) {
        const Table &table = *record.table;
        return is_tracked(table.object(record.handle, KEL_TX_NONE, record.record)) ||
               (table.key_type != nullptr &&
                is_tracked(table.key_object(record.handle, KEL_TX_NONE, record.record)));
    }

    // The copies of records lack the flags of nested objects, so these are read in the store before
    // the transaction.
    void add_states_before() {
        begin();
        const Store scratch = Store::scratch();
        for (std::size_t i = 0; i < plan_.undos.size(); ++i) {
            Undo &undo = plan_.undos[i];
            if (!undo.before) continue;
            const Instance instance = *instance_named(feed_->store(), undo.table);
            const Record record = find_target(feed_->store(), instance, *undo.before, scratch);
            std::string buffer;
            if (undo.after) undo.flags = flags_between(state_flags_of(record), after_[i]);
            if (!undo.frame.empty()) undo.frame = frames::frame_of(record, undo.table, buffer);
        }
        advance();
    }

    // Records are compared only if one of them is of the plan.
    void look_at_later() {
        bool is_touched = false;
        feed_->each_record([&](const std::string &table, const Record &record, uint32_t) {
            if (is_touched || !tables_.contains(table)) return;
            is_touched = index_.contains(fmt::format("{} {}{}", table, record.key_text(),
                                                     place_text(record.tenant(), record.src())));
        });
        if (!is_touched) return;
        for (const Change &later : feed_->changes()) {
            const auto found = index_.find(name_of(later.table, later.record()));
            if (found != index_.end()) add_conflicts(plan_.undos[found->second], later);
        }
    }

    void add_conflicts(const Undo &undo, const Change &later) {
        if (later.is_gone()) return add_conflict(undo, "it was deleted");
        if (later.is_new()) return add_conflict(undo, "it was inserted again");
        for (const FieldChange &field : *later.fields) {
            const bool is_reverted =
                !undo.before || undo.is_raised ||
                std::any_of(undo.fields.begin(), undo.fields.end(),
                            [&](const FieldChange &each) { return each.field == field.field; });
            if (!is_reverted) continue;
            add_conflict(undo,
                         fmt::format("{}: {} -> {}", field.field, field.old_text, field.new_text));
        }
    }

    void add_conflict(const Undo &undo, const std::string &what) {
        plan_.conflicts.push_back(fmt::format("{}  {} in transaction {}{}", undo.name(), what,
                                              feed_->sequence(),
                                              author_text(feed_->transaction(), Screen{})));
    }

    std::string path_;
    std::optional<Feed> feed_;
    Plan plan_;
    std::vector<RecordFlags> after_;            // of the changed records
    bool is_tracked_ = false;                   // one of the records
    std::map<std::string, std::size_t> index_;  // of the undos, by name
    std::set<std::string> tables_;
};

}  // namespace

std::string Undo::name() const { return name_of(table, record()); }

Plan make_plan(const std::string &path, uint64_t transaction) {
    return Planner(path, transaction).run();
}

}  // namespace tarnctl
