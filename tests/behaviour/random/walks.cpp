// SPDX-License-Identifier: Apache-2.0
// Walks over a whole table, and the comparison of its records and counts with the model.
#include "tests/behaviour/random/driver.h"
#include "tests/behaviour/random/reports.h"

namespace tarn::test {

namespace {

// Collects the records of a walk and ends it after `limit` of them.
struct Walked {
    std::vector<kel_record *> records;
    std::size_t limit = ~std::size_t{0};
};

u32 note(kel_record *record, void *context) {
    auto *walked = static_cast<Walked *>(context);
    walked->records.push_back(record);
    return walked->records.size() == walked->limit ? 1 : 0;
}

// A walk's function calls this for each record.
using Visit = std::function<void(kel_record *)>;

u32 visit(kel_record *record, void *context) {
    (*static_cast<const Visit *>(context))(record);
    return 0;
}

}  // namespace

void Driver::walk_a_part() {
    const u32 table = any_table();
    const auto &index = model_.tables[table].index;
    if (index.empty()) return;
    Walked walked;
    walked.limit = 1 + random_.below(static_cast<u32>(index.size()));
    history_.add("table", table);
    history_.add("records", walked.limit);
    if (random_.coin()) {
        s.index.walk(model_.tables[table].block, note, &walked, &err_);
    } else {
        s.cr.walk(handle_, model_.tables[table].block, 0, note, &walked);
    }
    std::size_t i = 0;
    for (auto it = index.begin(); it != index.end() && i < walked.limit; ++it, ++i) {
        if (i >= walked.records.size()) return fail("a walk ends early");
        same(walked.records[i], model_.rows[it->second].record, "a record of a walk");
    }
    same(walked.records.size(), walked.limit, "the records walked");
    same(reports.count, 0U, "the reads reported by a walk");
    expect_error(0);
}

// A walk's function may remove and destroy the record that it is called with.
void Driver::walk_and_remove() {
    const u32 table = any_table();
    history_.add("table", table);
    std::vector<u32> expected;
    for (const auto &entry : model_.tables[table].index) expected.push_back(entry.second);
    std::size_t i = 0;
    const Visit take_some = [&](kel_record *record) {
        if (failed_ || i >= expected.size()) return fail("a walk goes too far");
        const u32 number = expected[i++];
        if (!same(record, model_.rows[number].record, "a record of a walk")) return;
        if (!random_.one_in(3)) return;
        remove(number);
        if (random_.coin()) destroy(number);
    };
    s.index.walk(model_.tables[table].block, visit, const_cast<Visit *>(&take_some), &err_);
    same(i, expected.size(), "the records walked");
    expect_error(0);
}

void Driver::check_whole() {
    history_.begin(step_, "compare everything");
    for (u32 table = 0; table < table_count && !failed_; ++table) {
        check_order(table);
        for (const u16 tenant : {u16{0}, u16{7}, u16{40000}, u16{3}}) check_run(table, tenant);
        check_counts(table);
    }
    for (const Row &row : model_.rows) {
        if (row.record == nullptr || failed_) continue;
        expect_row(row);
        expect_content(row);
    }
    check_usage();
    reports = {};
}

// All records in the order of the index.
void Driver::check_order(u32 table) {
    const TableModel &model = model_.tables[table];
    Walked walked;
    s.index.walk(model.block, note, &walked, &err_);
    if (!same(walked.records.size(), model.index.size(), "the records walked")) return;
    std::size_t i = 0;
    for (const auto &entry : model.index) {
        if (!same(walked.records[i++], model_.rows[entry.second].record, "a record of a walk")) {
            return;
        }
    }
}

// A tenant's records step by step, in both directions.
void Driver::check_run(u32 table, u16 tenant) {
    kel_table *block = model_.tables[table].block;
    const Filter any{0, false, false};
    choose_tenant(tenant);
    const Row *row = model_.first(table, tenant, any);
    kel_record *record = names().first_ignore_src(handle_, tx_, block, &err_);
    for (; row != nullptr && !failed_; row = model_.next(table, row->place, tenant, any)) {
        if (!same(record, row->record, "a record of the tenant, forward")) return;
        record = names().next_ignore_src(handle_, tx_, block, record, &err_);
    }
    same(record, nullptr, "the record after the tenant's last one");
    row = model_.last(table, tenant, any);
    record = s.index.get_cr(handle_, block, 1, nullptr, 0, 1);
    for (; row != nullptr && !failed_; row = model_.prev(table, row->place, tenant, any)) {
        if (!same(record, row->record, "a record of the tenant, backward")) return;
        record = names().prev_ignore_src(handle_, tx_, block, record, &err_);
    }
    same(record, nullptr, "the record before the tenant's first one");
    expect_error(0);
}

void Driver::check_counts(u32 table) {
    const kel_table *block = model_.tables[table].block;
    std::array<u32, 256> by_src{};
    for (const auto &entry : model_.tables[table].index) ++by_src[entry.first.src];
    same(block->record_count, model_.tables[table].index.size(), "the table's count");
    for (u32 src = 0; src < by_src.size(); ++src) {
        if (block->src_counts[src] == by_src[src]) continue;
        fail("the count of source " + std::to_string(src) + " is " +
             std::to_string(block->src_counts[src]));
    }
    for (const auto &[tenant, counts] : model_.tables[table].tenants) {
        choose_tenant(tenant);
        same(s.plain.get_count(handle_, tx_, model_.tables[table].block), counts.total,
             "a tenant's count");
        for (const auto &[src, records] : counts.by_source) {
            same(s.plain.get_count_by_src(handle_, tx_, model_.tables[table].block, src), records,
                 "a tenant's count by source");
        }
    }
}

// Records made and destroyed, as their descriptors count them.
void Driver::check_usage() {
    const auto expect = [&](const kel_type_info *descriptor, const kel_variant_usage &before,
                            u32 which) {
        const kel_variant_usage &now = descriptor->variant_info->variants[0];
        same(now.created - before.created, model_.created[which], "the records created");
        same(now.destroyed - before.destroyed, model_.destroyed[which], "the records destroyed");
    };
    expect(s.entry.record_descriptor, usage_before_, 0);
    for (const Row &row : model_.rows) {
        if (copy_ != nullptr) break;
        if (row.record == nullptr || !row.store_type) continue;
        copy_ = row.record->descriptor;
        copy_usage_before_ = copy_->variant_info->variants[0];
        copy_usage_before_.created -= model_.created[1];
        copy_usage_before_.destroyed -= model_.destroyed[1];
    }
    if (copy_ != nullptr) expect(copy_, copy_usage_before_, 1);
}

}  // namespace tarn::test
