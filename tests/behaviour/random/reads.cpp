// SPDX-License-Identifier: Apache-2.0
// Reads by key and by position. A position may be in the index, in another one or in
// none.
#include "tests/behaviour/random/driver.h"
#include "tests/behaviour/random/reports.h"

namespace tarn::test {

// The result of a read, and what it has reported to the replication engine.
void Driver::expect_found(kel_record *record, const Found &expected) {
    same(record, expected.row != nullptr ? expected.row->record : nullptr, "the record found");
    same(reports.count, expected.reports, "the reads reported");
    if (expected.reports != 0 && expected.row != nullptr &&
        expected.row->place.src != KEL_SOURCE_SHADOW) {
        same(reports.last, expected.row->record, "the record reported last");
    }
    reports = {};
    expect_error(0);
}

Driver::KeyRead Driver::any_key_read() {
    const u32 table = any_table();
    const Place place = any_place();
    history_.add("table", table);
    history_.add("key", place.key);
    history_.add("source", place.src);
    return {
        table, model_.tables[table].block, place, {place.tenant, place.key, KEL_SOURCE_DEFAULT}};
}

void Driver::search() {
    const KeyRead read = any_key_read();
    const auto &[table, block, place, usual] = read;
    const void *key = keys_[place.key]->value();
    const u32 nearest = random_.below(2);
    const u32 choice = random_.below(8);
    history_.add("form", choice);
    switch (choice) {
        case 0:
            return expect_found(form().search(handle_, tx_, block, key, &err_),
                                model_.search(table, usual, false, true, false));
        case 1:
            return expect_found(s.index.search_w_src(handle_, tx_, block, key, place.src, &err_),
                                model_.search(table, place, false, true, false));
        case 2:
            return expect_found(s.index.search_nearest(handle_, tx_, block, key, &err_),
                                model_.search(table, usual, true, true, false));
        case 3:
            return expect_found(
                s.index.search_not_pending(handle_, tx_, block, key, nearest, &err_),
                model_.search(table, usual, nearest != 0, true, true));
        case 4: {
            // The nearest record is reported even if its key differs.
            Found expected = model_.search(table, usual, true, true, false);
            if (expected.row != nullptr && expected.row->place.key != place.key) {
                expected.row = nullptr;
            }
            return expect_found(s.index.search_sub_first(handle_, tx_, block, key, &err_),
                                expected);
        }
        default:
            return search_in_a_mode(read);
    }
}

void Driver::search_in_a_mode(const KeyRead &read) {
    const auto &[table, block, place, usual] = read;
    const void *key = keys_[place.key]->value();
    const u32 nearest = random_.below(2);
    if (random_.below(3) == 0) {
        // A `_cr` form takes source 0 as the default one.
        return expect_found(
            s.index.search_cr(handle_, block, key, place.src, nearest * 3),
            model_.search(table, place.src == 0 ? usual : place, nearest != 0, true, false));
    }
    const bool forward = random_.coin();
    const bool skip = random_.coin();
    expect_found(s.index.search_internal(handle_, tx_, block, key, nearest, forward ? 1 : 0,
                                         place.src, skip ? 1 : 0, &err_),
                 model_.search(table, place, nearest != 0, forward, skip));
}

void Driver::search_by_object() {
    const auto [table, block, place, usual] = any_key_read();
    const void *object = keys_[place.key]->object();
    const u32 nearest = random_.below(2);
    history_.add("nearest", nearest);
    if (random_.coin()) {
        expect_found(form().search_object(handle_, tx_, block, object, nearest, &err_),
                     model_.search(table, usual, nearest != 0, true, false));
    } else {
        expect_found(
            form().search_object_w_src(handle_, tx_, block, object, nearest, place.src, &err_),
            model_.search(table, place, nearest != 0, true, false));
    }
}

void Driver::step_by_key() {
    const auto [table, block, place, usual] = any_key_read();
    const Key &key = *keys_[place.key];
    const u32 choice = random_.below(8);
    history_.add("form", choice);
    switch (choice) {
        case 0:
            return expect_found(s.index.next_by_key(handle_, tx_, block, key.value(), &err_),
                                model_.by_key(table, usual, true, false));
        case 1:
            return expect_found(s.index.prev_by_key(handle_, tx_, block, key.value(), &err_),
                                model_.by_key(table, usual, false, false));
        case 2:
            return expect_found(
                s.index.next_by_key_not_pending(handle_, tx_, block, key.value(), &err_),
                model_.by_key(table, usual, true, true));
        case 3:
            return expect_found(
                s.index.prev_by_key_not_pending(handle_, tx_, block, key.value(), &err_),
                model_.by_key(table, usual, false, true));
        case 4:
            return expect_found(
                s.index.next_by_key_w_src(handle_, tx_, block, key.value(), place.src, &err_),
                model_.by_key(table, place, true, false));
        case 5:
            return expect_found(
                s.index.next_by_object_w_src(handle_, tx_, block, key.object(), place.src, &err_),
                model_.by_key(table, place, true, false));
        case 6:
            return expect_found(form().next_by_object(handle_, tx_, block, key.object(), &err_),
                                model_.by_key(table, usual, true, false));
        default:
            return expect_found(form().prev_by_object(handle_, tx_, block, key.object(), &err_),
                                model_.by_key(table, usual, false, false));
    }
}

void Driver::take_end() {
    const u32 table = any_table();
    kel_table *block = model_.tables[table].block;
    const u8 src = any_source();
    const u32 choice = random_.below(9);
    const auto first = [&](const Filter &filter) {
        return found_of(model_.first(table, tenant_, filter));
    };
    const auto last = [&](const Filter &filter) {
        return found_of(model_.last(table, tenant_, filter));
    };
    history_.add("table", table);
    history_.add("source", src);
    history_.add("form", choice);
    switch (choice) {
        case 0:
            return expect_found(names().first(handle_, tx_, block, &err_), first({}));
        case 1:
            return expect_found(names().last(handle_, tx_, block, &err_), last({}));
        case 2:
            return expect_found(names().first_by_src(handle_, tx_, block, src, &err_),
                                first({src}));
        case 3:
            return expect_found(names().last_by_src(handle_, tx_, block, src, &err_), last({src}));
        case 4:
            return expect_found(names().first_ignore_src(handle_, tx_, block, &err_),
                                first({0, false, false}));
        case 5:
            return expect_found(s.index.first_not_pending(handle_, tx_, block, src, &err_),
                                first({src, true, true}));
        case 6:
            return expect_found(s.index.last_not_pending(handle_, tx_, block, src, &err_),
                                last({src, true, true}));
        default:
            return take_end_in_a_mode(table, src, choice == 7);
    }
}

// A `_cr` form takes source 0 as the default one.
void Driver::take_end_in_a_mode(u32 table, u8 src, bool first) {
    const u32 mode = random_.below(2);
    const Filter filter{src == 0 ? u8{KEL_SOURCE_DEFAULT} : src, mode == 0, false};
    expect_found(
        s.index.get_cr(handle_, model_.tables[table].block, first ? 0 : 1, nullptr, src, mode),
        found_of(first ? model_.first(table, tenant_, filter)
                       : model_.last(table, tenant_, filter)));
}

Found Driver::neighbour(const Step &step, const Filter &filter) {
    return found_of(step.forward ? model_.next(step.table, step.place, tenant_, filter)
                                 : model_.prev(step.table, step.place, tenant_, filter));
}

void Driver::take_step() {
    const u32 table = any_table();
    const u32 number = pick_any();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    const Step step{table,         model_.tables[table].block, row.place, row.record, any_source(),
                    random_.coin()};
    kel_table *const block = step.block;
    kel_record *const position = step.position;
    const u8 src = step.src;
    const bool forward = step.forward;
    const u32 choice = random_.below(6);
    history_.add("table", table);
    history_.add("row", number);
    history_.add("source", src);
    history_.add("form", choice * 2 + (forward ? 1 : 0));
    switch (choice) {
        case 0: {
            const auto take = forward ? names().next : names().prev;
            return expect_found(take(handle_, tx_, block, position, &err_), neighbour(step, {}));
        }
        case 1: {
            const auto take = forward ? names().next_by_src : names().prev_by_src;
            return expect_found(take(handle_, tx_, block, position, src, &err_),
                                neighbour(step, {src}));
        }
        case 2: {
            const auto take = forward ? names().next_ignore_src : names().prev_ignore_src;
            return expect_found(take(handle_, tx_, block, position, &err_),
                                neighbour(step, {0, false, false}));
        }
        case 3: {
            const auto take = forward ? s.index.next_not_pending : s.index.prev_not_pending;
            return expect_found(take(handle_, tx_, block, position, src, &err_),
                                neighbour(step, {src, true, true}));
        }
        default:
            return take_step_in_a_mode(step);
    }
}

void Driver::take_step_in_a_mode(const Step &step) {
    const u8 src = step.src;
    const u32 match = random_.below(2);
    if (random_.coin()) {
        const Filter filter{src == 0 ? u8{KEL_SOURCE_DEFAULT} : src, match != 0, false};
        return expect_found(s.index.get_cr(handle_, step.block, step.forward ? 3 : 2, step.position,
                                           src, 1 - match),
                            neighbour(step, filter));
    }
    const u32 skip = random_.below(2);
    const auto take = step.forward ? s.index.next_internal : s.index.prev_internal;
    expect_found(take(handle_, tx_, step.block, step.position, src, match, skip, &err_),
                 neighbour(step, {src, match != 0, skip != 0}));
}

// Records of the same key, of any tenant.
void Driver::take_neighbour() {
    const u32 table = any_table();
    kel_table *block = model_.tables[table].block;
    const u32 number = pick_any();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    const u32 choice = random_.below(3);
    history_.add("table", table);
    history_.add("row", number);
    history_.add("form", choice);
    switch (choice) {
        case 0:
            return expect_found(names().sub_next(handle_, tx_, block, row.record, &err_),
                                found_of(model_.sub_next(table, row.place)));
        case 1:
            return expect_found(names().sub_prev(handle_, tx_, block, row.record, &err_),
                                found_of(model_.sub_prev(table, row.place)));
        default:
            return expect_found(names().shadow(handle_, tx_, block, row.record, &err_),
                                model_.shadow(table, row));
    }
}

// From one key to another; neither has to be in the table.
void Driver::read_range() {
    const u32 table = any_table();
    kel_table *block = model_.tables[table].block;
    const u32 keys = run_.kind->keys;
    const u32 from = random_.below(keys);
    const u32 to = from + random_.below(keys - from);
    const Row *row =
        model_.search(table, {tenant_, from, KEL_SOURCE_DEFAULT}, true, true, false).row;
    kel_record *record = s.index.search_nearest(handle_, tx_, block, keys_[from]->value(), &err_);
    history_.add("table", table);
    history_.add("from", from);
    history_.add("to", to);
    while (row != nullptr && row->place.key <= to && !failed_) {
        if (!same(record, row->record, "a record of the range")) return;
        const void *holder = s.has_key_object() ? record->key_object : record->object;
        same(s.get_key(handle_, holder), row->place.key, "its key");
        row = model_.next(table, row->place, tenant_, {});
        record = names().next(handle_, tx_, block, record, &err_);
    }
    same(record, row != nullptr ? row->record : nullptr, "the record after the range");
    reports = {};
    expect_error(0);
}

void Driver::count() {
    const u32 table = any_table();
    kel_table *block = model_.tables[table].block;
    const u8 src = any_source();
    const u32 all = tenant_ == 0 ? static_cast<u32>(model_.tables[table].index.size())
                                 : model_.tenant_count(table, tenant_);
    const u32 by_src =
        tenant_ == 0 ? model_.count(table, src) : model_.tenant_count(table, tenant_, src);
    history_.add("table", table);
    history_.add("source", src);
    same(form().get_count(handle_, tx_, block), all, "the count");
    same(s.cr.get_count(handle_, block), all, "the count of the `_cr` form");
    same(form().get_count_by_src(handle_, tx_, block, src + 256U * random_.below(2)), by_src,
         "the count by source");
}

void Driver::look_at_one() {
    const u32 number = pick_any();
    if (number == no_row) return;
    history_.add("row", number);
    expect_row(model_.rows[number]);
    expect_content(model_.rows[number]);
}

}  // namespace tarn::test
