// SPDX-License-Identifier: Apache-2.0
#include "revert/reversal.h"

#include <fmt/core.h>

#include <utility>

#include "base/failure.h"
#include "edit/membership.h"
#include "exchange/importer.h"
#include "tarnbase/tarn/journal.hpp"

namespace tarnctl {
namespace {

std::vector<std::string> key_of(const RecordCopy &record) {
    std::vector<std::string> key;
    for (std::size_t i = 0; i < record.columns().size() && record.columns()[i].is_key; ++i)
        key.push_back(record.text(i));
    return key;
}

std::optional<Instance> held(const Store &store, const std::string &name) {
    for (const Instance &each : instances(store)) {
        if (each.full_name() == name) return each;
    }
    return std::nullopt;
}

Value value_of(const Record &record, const FieldChange &field, uint32_t tx_id) {
    return record.value(column_named(*record.table, field.field), tx_id);
}

// Why the field can't be set back; "" if it can.
std::string conflict_of(const Record &record, const FieldChange &field) {
    if (field.leaf == nullptr) return "whether it awaits its destruction can't be set back";
    if (!field.old_present || !field.new_present)
        return fmt::format("{}: the variant of its object can't be set back", field.field);
    const Value value = value_of(record, field, KEL_TX_NONE);
    if (!value.present()) return fmt::format("{}: it doesn't have it any more", field.field);
    if (value.text() == field.new_text) return "";
    return fmt::format("{}: it is {}, not {}", field.field, value.text(), field.new_text);
}

// An enumeration may have a number that no enumerator has.
void set_back(Value value, const std::string &text) {
    const bool is_number = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    if (value.field().enumeration != nullptr && is_number)
        value.restore_number(static_cast<uint32_t>(std::stoul(text)));
    else value.set_text(text);
}

}  // namespace

Record Reversal::find(const Instance &instance, const Undo &undo) const {
    const RecordCopy &record = undo.record();
    const tarn::tenant_scope tenant(record.tenant());
    const Key key(*instance.table, key_of(record), scratch_);
    return find_record(store_, instance, key, record.src());
}

std::vector<std::string> Reversal::conflicts() const {
    std::vector<std::string> found;
    for (const Undo &undo : plan_.undos) add_conflicts(undo, found);
    return found;
}

void Reversal::add_conflicts(const Undo &undo, std::vector<std::string> &found) const {
    const auto add = [&](const std::string &what) {
        if (!what.empty()) found.push_back(fmt::format("{}  {}", undo.name(), what));
    };
    const std::optional<Instance> instance = held(store_, undo.table);
    if (!instance) return add("the store doesn't have the table");
    const Record present = find(*instance, undo);
    if (!undo.after) return add(present.record != nullptr ? "there is such a record" : "");
    if (present.record == nullptr) return add("it isn't there");
    if (undo.before) {
        for (const FieldChange &field : undo.fields) add(conflict_of(present, field));
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
        listener({undo.table, undo.after, undo.before});
    }
    transaction.commit();
}

void Reversal::take_back(const Undo &undo, uint32_t tx_id) {
    const Instance instance = *held(store_, undo.table);
    if (!undo.after) return insert(instance, undo, tx_id);
    const Record record = find(instance, undo);
    if (!undo.before) return remove_record(store_, instance, record, tx_id);
    for (const FieldChange &field : undo.fields)
        set_back(value_of(record, field, tx_id), field.old_text);
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
    importer.take(undo.name(),
                  [&](Draft &draft, std::string &) { draft.take_frame(head, undo.frame, false); });
}

}  // namespace tarnctl
