// SPDX-License-Identifier: Apache-2.0
// Table blocks, opened in all ways and freed when they are empty.
#include "tests/behaviour/random/driver.h"

namespace tarn::test {

namespace {

constexpr const char *names_of_tables[] = {"first", "second"};
constexpr const char *paths_of_tables[] = {"random/first", "random/second"};

// Far above every automatic id.
constexpr u64 first_given_id = u64{1} << 40;

}  // namespace

void Driver::open(u32 table) {
    switch (random_.below(3)) {
        case 0:
            open_by_name(table);
            break;
        case 1:
            open_by_id(table);
            break;
        default:
            open_by_auto_id(table);
            break;
    }
    model_.tables[table].marked = false;
    history_.add("table", table);
    expect_root_of_ids();
}

// Two mappings must not have the same reference.
u64 Driver::new_ior() { return first_given_id + world_.given_iors++; }

// Each form returns the block that another one has made.
void Driver::open_by_name(u32 table) {
    const char *name = (random_.coin() ? names_of_tables : paths_of_tables)[table];
    kel_table *&block = model_.tables[table].block;
    same(form().open(handle_, tx_, name, 1, &err_), nullptr, "a table that is only opened");
    switch (random_.below(3)) {
        case 0:
            block = form().open(handle_, tx_, name, 0, &err_);
            break;
        case 1:
            block = form().open_by_ior_with_name(handle_, tx_, name, new_ior(), 0, &err_);
            break;
        default:
            block = s.cr.open(handle_, 0, KEL_OPEN_BY_NAME, name, 0);
            break;
    }
    expect_new_block(table, KEL_OPEN_BY_NAME, 0);
    same(form().open(handle_, tx_, name, random_.below(2), &err_), block, "the table opened again");
    expect_error(0);
}

void Driver::open_by_id(u32 table) {
    const u64 id = first_given_id + world_.given_ids++;
    kel_table *&block = model_.tables[table].block;
    same(form().open_by_id(handle_, tx_, id, 1, &err_), nullptr, "a table that is only opened");
    switch (random_.below(3)) {
        case 0:
            block = form().open_by_id(handle_, tx_, id, 0, &err_);
            break;
        case 1:
            block = form().open_by_ior_with_id(handle_, tx_, id, new_ior(), 0, &err_);
            break;
        default:
            block = s.cr.open(handle_, 0, KEL_OPEN_BY_ID, nullptr, id);
            break;
    }
    if (world_.next_id) ++*world_.next_id;
    expect_new_block(table, KEL_OPEN_BY_ID, id);
    same(form().open_by_id(handle_, tx_, id, random_.below(2), &err_), block,
         "the table opened again");
    expect_error(0);
}

void Driver::open_by_auto_id(u32 table) {
    kel_table *&block = model_.tables[table].block;
    same(form().open_auto_id(handle_, tx_, 1, &err_), nullptr, "a table that is only opened");
    switch (random_.below(3)) {
        case 0:
            block = form().open_auto_id(handle_, tx_, 0, &err_);
            break;
        case 1:
            block = form().dynamic_open_auto_id(handle_, tx_, 0, &err_);
            break;
        default:
            block = s.cr.open(handle_, 0, KEL_OPEN_AUTO_ID, nullptr, 0);
            break;
    }
    if (block != nullptr && !world_.next_id) world_.next_id = block->table_id;
    const u64 id = world_.next_id.value_or(0);
    if (world_.next_id) ++*world_.next_id;
    expect_new_block(table, KEL_OPEN_AUTO_ID, id);
    same(form().open_by_id(handle_, tx_, id, 1, &err_), block, "the table opened again");
    expect_error(0);
}

void Driver::expect_new_block(u32 table, u32 open_mode, u64 id) {
    const kel_table *block = model_.tables[table].block;
    expect_error(0);
    if (block == nullptr) return fail("a table can't be opened");
    same(block->open_mode, open_mode, "the open mode");
    same(block->table_id, id, "the table's id");
    same(block->record_count, 0U, "a new table's count");
    same(block->index_root, nullptr, "a new table's index");
}

void Driver::free(u32 table) {
    const kel_table *block = model_.tables[table].block;
    same(block->index_root, nullptr, "an empty table's index");
    const u32 tables = world_.session.describe().tables;
    form().close(handle_, tx_, model_.tables[table].block, &err_);
    form().free(handle_, tx_, model_.tables[table].block, &err_);
    expect_error(0);
    same(world_.session.describe().tables, tables - 1, "the store's tables");
    model_.tables[table] = {};
    expect_root_of_ids();
}

// The store's count of the tables opened by id.
void Driver::expect_root_of_ids() {
    const std::string key = std::string("__kel_TBI__") + s.luid_text;
    const auto *root =
        static_cast<const kel_table_id_root *>(loam_get_key(handle_->arena, key.c_str()));
    if (root == nullptr) return;
    u32 by_id = 0;
    for (const TableModel &table : model_.tables) {
        if (table.block != nullptr && table.block->open_mode != KEL_OPEN_BY_NAME) ++by_id;
    }
    same(root->id_table_count, by_id, "the tables opened by id");
    if (world_.next_id) same(root->next_id, *world_.next_id, "the next automatic id");
}

void Driver::reopen(u32 table) {
    history_.begin(step_, "open again");
    for (u32 row = 0; row < model_.rows.size() && !failed_; ++row) {
        if (model_.rows[row].table == table && model_.rows[row].record != nullptr) remove(row);
    }
    if (failed_) return;
    check_counts(table);
    free(table);
    open(table);
}

void Driver::mark_for_replication() {
    const u32 table = any_table();
    TableModel &model = model_.tables[table];
    model.marked = !model.marked && random_.coin();
    history_.add("table", table);
    history_.add("marked", model.marked);
    kel_table_set_replication(handle_, tx_, model.block, model.marked ? 1 : 0, 0);
    same(model.block->replication_marked, model.marked ? 1U : 0U, "the mark");
}

}  // namespace tarn::test
