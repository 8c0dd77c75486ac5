// SPDX-License-Identifier: Apache-2.0
#include "exchange/importer.h"

#include <fmt/core.h>

#include <cerrno>

#include "cli/utf8.h"

namespace tarnctl {
namespace {

// A record's key as the argument of the search functions.
const void *key_of(const Record &record, uint32_t tx_id, uint32_t &number) {
    const Table &table = *record.table;
    if (table.key_type != nullptr) return table.key_object(record.handle, tx_id, record.record);
    void *object = table.object(record.handle, tx_id, record.record);
    const Field &field = *table.key_field;
    uint32_t err = 0;
    if (field.call.get_value == nullptr)
        return field.call.get(record.handle, tx_id, object, 0, &err);
    number = static_cast<uint32_t>(field.call.get_value(record.handle, tx_id, object, 0, &err));
    return &number;
}

void mark_pending(kel_handle *handle, uint32_t tx_id, kel_record *record) {
    handle->write_log_hook(handle->arena, &record->flags, sizeof record->flags, tx_id);
    record->flags |= KEL_RECORD_PENDING_DESTROY;
}

}  // namespace

Importer::Importer(const Store &store, uint32_t tx_id, ImportOptions options)
    : store_(store),
      tx_id_(tx_id),
      options_(std::move(options)),
      found_(options_.tables.size(), false) {}

bool Importer::is_chosen(const TableHead &head) {
    bool chosen = options_.tables.empty();
    for (std::size_t i = 0; i < options_.tables.size(); ++i) {
        const TableReference &each = options_.tables[i];
        if (each.table != head.table || (each.name && (head.id || *each.name != head.name)) ||
            (each.id && each.id != head.id))
            continue;
        chosen = true;
        found_[i] = true;
    }
    return chosen;
}

void Importer::begin_table(const TableHead &head) {
    skips_table_ = !is_chosen(head);
    if (skips_table_) return;
    ++counts_.tables;
    current_name_ = cli::one_line(head.full_name());
    current_ = open(head);
}

Instance Importer::open(const TableHead &head) {
    for (const Instance &each : instances_of(store_, *head.table)) {
        const bool by_name = each.block->open_mode == KEL_OPEN_BY_NAME;
        if (by_name && each.name() == (head.id ? fmt::format("#{}", *head.id) : head.name) &&
            (!head.id || options_.ids_as_names))
            return each;
        if (!by_name && head.id == each.block->table_id) return each;
    }
    if (head.name.find('\0') != std::string::npos)
        throw Failure(Exit::data, fmt::format("{}: a table's name has no NUL", current_name_));
    const Table &table = *head.table;
    const std::string name = head.id ? fmt::format("#{}", *head.id) : head.name;
    uint32_t err = 0;
    kel_table *block = head.id && !options_.ids_as_names
                           ? table.open_by_id(store_.handle(), KEL_TX_NONE, *head.id, 0, &err)
                           : table.open(store_.handle(), KEL_TX_NONE, name.c_str(), 0, &err);
    if (err == E2BIG)
        throw Failure(Exit::data, fmt::format("{}: the name is too long", current_name_));
    need(block == nullptr && err == 0 ? ENOENT : err,
         fmt::format("making the table {}", current_name_));
    need_kind(store_, table, *block);
    made_.push_back({&table, block});
    ++counts_.made;
    return made_.back();
}

void Importer::take(const Place &place, const Build &build) {
    if (skips_table_) return;
    Place at = place;
    try {
        Draft draft(store_, tx_id_, *current_.table);
        build(draft, at);
        draft.check_complete();
        insert(draft);
    } catch (const Failure &failure) {
        if (failure.code() != Exit::data) throw;
        const Failure placed = wrong(at(), fmt::format("{}: {}", current_name_, failure.what()));
        if (!options_.skip) throw placed;
        options_.skip(placed.what());
        ++counts_.skipped;
    }
    if (options_.advance) options_.advance();
}

void Importer::insert(Draft &draft) {
    const tarn::tenant_scope tenant(draft.head().tenant);
    const Record record = draft.record();
    const auto attempt = [&] {
        uint32_t err = 0;
        current_.table->insert(store_.handle(), tx_id_, current_.block, record.record, &err);
        return err;
    };
    uint32_t err = attempt();
    if (err == EEXIST) {
        if (!remove_present(draft)) {
            ++counts_.kept;
            return;
        }
        ++counts_.replaced;
        err = attempt();
    }
    if (err != 0) need(err, fmt::format("inserting in {}", current_name_));
    draft.release();
    if (draft.head().pending) mark_pending(store_.handle(), tx_id_, record.record);
    ++counts_.inserted;
}

bool Importer::remove_present(const Draft &draft) {
    if (options_.on_conflict == OnConflict::keep) return false;
    const Record record = draft.record();
    if (options_.on_conflict == OnConflict::fail)
        throw Failure(Exit::data,
                      fmt::format("the store has a record `{}` of tenant {} and source {} already "
                                  "(see --on-conflict)",
                                  cli::one_line(record.key_text()), record.tenant(), record.src()));
    const Table &table = *current_.table;
    uint32_t number = 0;
    uint32_t err = 0;
    kel_record *present = table.search_w_src(store_.handle(), tx_id_, current_.block,
                                             key_of(record, tx_id_, number), record.src(), &err);
    need(present == nullptr && err == 0 ? ENOENT : err, "replacing a record");
    table.erase(store_.handle(), tx_id_, current_.block, present, &err);
    if (err == 0) table.destroy_record(store_.handle(), tx_id_, present, &err);
    need(err, "replacing a record");
    return true;
}

void Importer::free_made_tables() {
    for (auto each = made_.rbegin(); each != made_.rend(); ++each) {
        uint32_t err = 0;
        each->table->free(store_.handle(), KEL_TX_NONE, each->block, &err);
        need(err, fmt::format("removing the table {}", each->full_name()));
    }
    made_.clear();
}

void Importer::check_chosen(const std::string &document) const {
    for (std::size_t i = 0; i < found_.size(); ++i) {
        if (found_[i]) continue;
        const TableReference &missing = options_.tables[i];
        throw Failure(Exit::difference,
                      fmt::format("{} holds no table `{}`", document, missing.text()));
    }
}

}  // namespace tarnctl
