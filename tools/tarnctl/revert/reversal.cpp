// SPDX-License-Identifier: Apache-2.0
#include "revert/reversal.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

#include "base/failure.h"
#include "edit/membership.h"
#include "exchange/importer.h"
#include "revert/target.h"
#include "tarnbase/tarn/journal.hpp"

namespace tarnctl {
namespace {

Value value_of(const Record &record, const FieldChange &field, uint32_t tx_id) {
    return record.value(column_named(*record.table, field.field), tx_id);
}

// Why the field can't be set back; "" if it can.
std::string conflict_of(const Record &record, const FieldChange &field) {
    if (field.leaf == nullptr) return "whether it awaits its destruction can't be set back";
    const Value value = value_of(record, field, KEL_TX_NONE);
    if (!value.present()) return fmt::format("{}: it doesn't have it any more", field.field);
    if (value.text() == field.new_text) return "";
    return fmt::format("{}: it is {}, not {}", field.field, value.text(), field.new_text);
}

// The flags that aren't as the transaction left them.
std::vector<std::string> conflicts_of(const Record &record, const std::vector<FlagChange> &flags) {
    std::vector<std::string> found;
    if (flags.empty()) return found;
    const RecordFlags present = state_flags_of(record);
    for (const FlagChange &each : flags) {
        const StateFlags &all = each.is_of_key ? present.key : present.object;
        const auto flag = std::find_if(all.begin(), all.end(),
                                       [&](const auto &one) { return one.first == each.path; });
        const uint8_t now = flag != all.end() ? flag->second : uint8_t{0};
        if (now != each.after)
            found.push_back(
                fmt::format("{}: it is {}, not {}", field_change(each).field, now, each.after));
    }
    return found;
}

// An enumeration may have a number that no enumerator has.
void set_back(Value value, const std::string &text) {
    const bool is_number = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    if (value.field().enumeration != nullptr && is_number)
        value.restore_number(static_cast<uint32_t>(std::stoul(text)));
    else value.set_text(text);
}

// Sets fields and state flags to what they were; the flags last, since setting a field sets its
// flag.
void set_back(const Record &record, const Undo &undo, uint32_t tx_id) {
    for (const FieldChange &field : undo.fields)
        set_back(value_of(record, field, tx_id), field.old_text);
    const Table &table = *record.table;
    for (const FlagChange &flag : undo.flags) {
        void *object =
            (flag.is_of_key ? table.key_object : table.object)(record.handle, tx_id, record.record);
        set_state_flag(record.handle, tx_id, object, flag.is_of_key ? *table.key_type : *table.type,
                       flag.path, flag.before);
    }
}

// What taking it back changes.
Change change_of(const Undo &undo) {
    Change change{undo.table, undo.after, undo.before};
    if (undo.flags.empty()) return change;
    change.fields = changes_between(*undo.after, *undo.before);
    for (const FlagChange &each : undo.flags)
        change.fields->push_back(
            field_change({each.is_of_key, each.path, each.after, each.before}));
    return change;
}

}  // namespace

std::vector<std::string> Reversal::conflicts() const {
    std::vector<std::string> found;
    for (const Undo &undo : plan_.undos) add_conflicts(undo, found);
    return found;
}

void Reversal::add_conflicts(const Undo &undo, std::vector<std::string> &found) const {
    const auto add = [&](const std::string &what) {
        if (!what.empty()) found.push_back(fmt::format("{}  {}", undo.name(), what));
    };
    const std::optional<Instance> instance = instance_named(store_, undo.table);
    if (!instance) return add("the store doesn't have the table");
    const Record present = find_target(store_, *instance, undo.record(), scratch_);
    if (!undo.after) return add(present.record != nullptr ? "there is such a record" : "");
    if (present.record == nullptr) return add("it isn't there");
    if (undo.before && !undo.is_raised) {
        for (const FieldChange &field : undo.fields) add(conflict_of(present, field));
        for (const std::string &each : conflicts_of(present, undo.flags)) add(each);
        return;
    }
    for (const FieldChange &field : changes_between(*undo.after, RecordCopy(present)))
        add(fmt::format("{}: it is {}, not {}", field.field, field.new_text, field.old_text));
}

void Reversal::run(const std::function<void(const Change &)> &listener) {
    tarn::transaction transaction = store_.begin();
    const auto labelled = tarn::try_label(
        store_.session(), transaction, fmt::format("revert of transaction {}", plan_.transaction));
    if (!labelled) throw Failure(Exit::store, labelled.error().what());
    for (const Undo &undo : plan_.undos) {
        take_back(undo, transaction.id());
        listener(change_of(undo));
    }
    transaction.commit();
}

void Reversal::take_back(const Undo &undo, uint32_t tx_id) {
    const Instance instance = *instance_named(store_, undo.table);
    if (!undo.after) return insert(instance, undo, tx_id);
    const Record record = find_target(store_, instance, undo.record(), scratch_);
    if (undo.before && !undo.is_raised) return set_back(record, undo, tx_id);
    remove_record(store_, instance, record, tx_id);
    if (undo.is_raised) insert(instance, undo, tx_id);
}

void Reversal::insert(const Instance &instance, const Undo &undo, uint32_t tx_id) {
    if (!is_attached_ && is_armed(instance)) {
        attach_replication(store_, instance);
        is_attached_ = true;
    }
    const TableReference table = parse_table(undo.table);
    Importer importer(store_, tx_id, {});
    importer.begin_table({table.table, table.name.value_or(""), table.id});
    RecordHead head;
    head.tenant = undo.before->tenant();
    head.source = undo.before->src();
    head.pending = undo.before->is_pending();
    importer.take([&] { return undo.name(); },
                  [&](Draft &draft, Sink::Place &) { draft.take_frame(head, undo.frame, false); });
}

}  // namespace tarnctl
