// SPDX-License-Identifier: Apache-2.0
#include "revert/plan.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "base/failure.h"
#include "exchange/frames.h"
#include "model/replica.h"
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
        : feed_(open_replica(path, transaction - 1), path, {}), plan_{transaction, {}, {}} {}

    Plan run() {
        if (!advance())
            throw Failure(Exit::difference, fmt::format("{}: its last transaction is {}",
                                                        feed_.store().path(), feed_.sequence()));
        const kel_replica_transaction &reverted = feed_.transaction();
        for (uint64_t i = 0; i < reverted.change_count; ++i) add_undo(reverted.changes[i]);
        for (std::size_t i = 0; i < plan_.undos.size(); ++i) {
            index_[plan_.undos[i].name()] = i;
            tables_.insert(plan_.undos[i].table);
        }
        while (advance()) look_at_later();
        return std::move(plan_);
    }

 private:
    bool advance() {
        const tarn::replica::step step = feed_.advance();
        if (step == tarn::replica::step::gap)
            throw Failure(Exit::difference,
                          fmt::format("{}: later transactions were removed while they were read",
                                      feed_.store().path()));
        return step == tarn::replica::step::applied;
    }

    void add_undo(const kel_replica_change &change) {
        const Store &store = feed_.store();
        const std::optional<Instance> instance = instance_of(store, change.table);
        if (!instance)
            throw Failure(Exit::store,
                          fmt::format("{}: transaction {} changed a table of a type that this "
                                      "program doesn't have",
                                      store.path(), plan_.transaction));
        const auto record_of = [&](const kel_record *record) {
            return Record{instance->table, store.handle(), const_cast<kel_record *>(record)};
        };
        Undo undo{instance->full_name(), {}, {}, {}, {}};
        if (change.before != nullptr) undo.before.emplace(record_of(change.before));
        if (change.after != nullptr) undo.after.emplace(record_of(change.after));
        if (undo.before && undo.after) undo.fields = changes_between(*undo.before, *undo.after);
        std::string buffer;
        if (!undo.after)
            undo.frame = frames::frame_of(record_of(change.before), undo.table, buffer);
        if (!undo.after || !undo.before || !undo.fields.empty())
            plan_.undos.push_back(std::move(undo));
    }

    // Records are compared only if one of them is of the plan.
    void look_at_later() {
        bool is_touched = false;
        feed_.each_record([&](const std::string &table, const Record &record, uint32_t) {
            if (is_touched || !tables_.contains(table)) return;
            is_touched = index_.contains(fmt::format("{} {}{}", table, record.key_text(),
                                                     place_text(record.tenant(), record.src())));
        });
        if (!is_touched) return;
        for (const Change &later : feed_.changes()) {
            const auto found = index_.find(name_of(later.table, later.record()));
            if (found != index_.end()) add_conflicts(plan_.undos[found->second], later);
        }
    }

    void add_conflicts(const Undo &undo, const Change &later) {
        if (later.is_gone()) return add_conflict(undo, "it was deleted");
        if (later.is_new()) return add_conflict(undo, "it was inserted again");
        for (const FieldChange &field : *later.fields) {
            const bool is_reverted =
                !undo.before ||
                std::any_of(undo.fields.begin(), undo.fields.end(),
                            [&](const FieldChange &each) { return each.field == field.field; });
            if (!is_reverted) continue;
            add_conflict(undo,
                         fmt::format("{}: {} -> {}", field.field, field.old_text, field.new_text));
        }
    }

    void add_conflict(const Undo &undo, const std::string &what) {
        plan_.conflicts.push_back(fmt::format("{}  {} in transaction {}{}", undo.name(), what,
                                              feed_.sequence(),
                                              author_text(feed_.transaction(), Screen{})));
    }

    Feed feed_;
    Plan plan_;
    std::map<std::string, std::size_t> index_;  // of the undos, by name
    std::set<std::string> tables_;
};

}  // namespace

std::string Undo::name() const { return name_of(table, record()); }

Plan make_plan(const std::string &path, uint64_t transaction) {
    return Planner(path, transaction).run();
}

}  // namespace tarnctl
