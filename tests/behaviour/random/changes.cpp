// SPDX-License-Identifier: Apache-2.0
// Inserting and removing records, and refusals.
#include <cerrno>

#include "tests/behaviour/random/driver.h"

namespace tarn::test {

void Driver::insert(u32 number, u32 table) {
    const Row &row = model_.rows[number];
    kel_table *block = model_.tables[table].block;
    const bool taken = model_.holds(table, row.place);
    const bool by_pkey = random_.one_in(4);
    history_.add("row", number);
    history_.add("table", table);
    if (by_pkey) {
        form().pkey_insert(handle_, tx_, block, row.record, &err_);
    } else if (random_.one_in(3)) {
        err_ = s.cr.insert(handle_, block, row.record);
    } else {
        form().insert(handle_, tx_, block, row.record, &err_);
    }
    expect_error(taken ? EEXIST : 0);
    if (!taken) model_.insert(number, table, by_pkey, tenant_);
    expect_row(row);
}

void Driver::insert_new() {
    if (model_.alive >= most_records) return;
    const u32 number = make(any_source());
    if (!failed_) insert(number, any_table());
}

void Driver::insert_again() {
    const u32 number = pick_outside();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    // The bit of an insertion by key is cleared in any case.
    if (random_.one_in(8)) {
        handle_->write_log_hook(handle_->arena, &row.record->flags, 1, tx_);
        row.record->flags |= KEL_RECORD_PKEY_INSERTED;
        row.by_pkey = true;
    }
    insert(number, any_table());
}

// A record that is in an index equals itself there.
void Driver::insert_twice() {
    const u32 number = pick_inside();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    insert(number, row.table);
}

// A record counts as not modified after its insertion.
void Driver::insert_unmodified() {
    const u32 number = pick_outside();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    u32 asked = 0;
    while (form().is_modified(handle_, tx_, row.record, &err_) != 0 && ++asked < 100) {
    }
    row.value = random_.below(run_.kind->values);
    s.set_value(handle_, tx_, row.record->object, row.value, &err_);
    insert(number, any_table());
    same(form().is_modified(handle_, tx_, row.record, &err_), row.table == outside ? 1U : 0U,
         "the result of whether a record was modified");
    same(form().is_modified(handle_, tx_, row.record, &err_), 0U, "the result the second time");
    expect_error(0);
}

// Whether only the replication engine may delete.
bool Driver::engine_must_remove(const Row &row) {
    return row.table != outside && model_.tables[row.table].marked;
}

// As the engine where only it may.
void Driver::remove(u32 number) {
    const Row &row = model_.rows[number];
    kel_table *block = model_.tables[row.table].block;
    history_.add("row", number);
    history_.add("table", row.table);
    handle_->replication_engine_active = engine_must_remove(row) ? 1 : 0;
    if (random_.one_in(3)) {
        err_ = s.cr.remove(handle_, block, row.record, 0);
    } else {
        form().remove(handle_, tx_, block, row.record, &err_);
    }
    handle_->replication_engine_active = 0;
    expect_error(0);
    model_.remove(number, tenant_);
    expect_row(row);
}

void Driver::remove_one() {
    const u32 number = pick_inside();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    if (engine_must_remove(row) && random_.coin()) {
        form().remove(handle_, tx_, model_.tables[row.table].block, row.record, &err_);
        expect_error(EINVAL);
        expect_row(row);
    } else if (random_.one_in(4)) {
        remove_and_destroy(number);
    } else {
        remove(number);
    }
}

void Driver::remove_and_destroy(u32 number) {
    Row &row = model_.rows[number];
    kel_record *record = row.record;
    kel_table *block = model_.tables[row.table].block;
    history_.add("row", number);
    history_.add("references", row.refs);
    handle_->replication_engine_active = engine_must_remove(row) ? 1 : 0;
    model_.remove(number, tenant_);
    note_release(row);
    const bool last = row.refs == 1;
    if (last) {
        model_.forget(number);
    } else {
        --row.refs;
    }
    same(s.cr.remove(handle_, block, record, 1), 0U, "the error of a removal with destruction");
    handle_->replication_engine_active = 0;
    if (!last) expect_row(model_.rows[number]);
}

// A removal from an index that the record is not in unlinks it nevertheless.
void Driver::remove_absent() {
    const u32 number = pick_any();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    const u32 table = row.table != outside ? 1 - row.table : any_table();
    history_.add("row", number);
    history_.add("table", table);
    handle_->replication_engine_active = model_.tables[table].marked ? 1 : 0;
    form().remove(handle_, tx_, model_.tables[table].block, row.record, &err_);
    handle_->replication_engine_active = 0;
    expect_error(ENOENT);
    model_.remove_absent(number);
    expect_row(row);
}

void Driver::request_destroy() {
    const u32 number = pick_inside();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    const TableModel &table = model_.tables[row.table];
    history_.add("row", number);
    form().request_destroy(handle_, tx_, table.block, nullptr, &err_);
    expect_error(EINVAL);
    form().request_destroy(handle_, tx_, table.block, row.record, &err_);
    expect_error(table.marked ? 0 : EINVAL);
    // Also makes pending records in a table that is not marked.
    if (!table.marked) keldb_request_record_destroy(handle_, tx_, row.record, &err_);
    expect_error(0);
    row.pending = true;
    expect_row(row);
}

// An operation that is entered with an error changes nothing and leaves the error.
void Driver::enter_with_error() {
    const u32 number = pick_any();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    kel_table *block = model_.tables[any_table()].block;
    const void *key = keys_[random_.below(run_.kind->keys)]->value();
    err_ = EIO;
    form().insert(handle_, tx_, block, row.record, &err_);
    form().remove(handle_, tx_, block, row.record, &err_);
    form().request_destroy(handle_, tx_, block, row.record, &err_);
    same(form().search(handle_, tx_, block, key, &err_), nullptr, "a search with an error");
    same(names().first(handle_, tx_, block, &err_), nullptr, "a first record with an error");
    same(names().next(handle_, tx_, block, row.record, &err_), nullptr, "a step with an error");
    same(names().sub_next(handle_, tx_, block, row.record, &err_), nullptr,
         "a step to a neighbour with an error");
    same(err_, u32{EIO}, "the error kept");
    err_ = 0;
    expect_row(row);
}

}  // namespace tarn::test
