// SPDX-License-Identifier: Apache-2.0
// Searches and traversal. Each read reports its record, and the report can fail.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

// Keys 1 and 2 are in the table, `record` is key 1.
void with_two(World &w) {
    w.open();
    w.insert();
    w.loose = w.make(2);
    w.s().plain.insert(w.handle, w.tx, w.table, w.loose, &w.err);
}
void with_key_1(World &w) {
    with_two(w);
    w.key(1);
}
void with_key_0(World &w) {
    with_two(w);
    w.key(0);
}

void from_cr(World &w) { w.err = w.handle->last_error; }

// Key 1 has the sources 1, 7 and 255.
void with_sources(World &w) {
    w.open();
    w.insert();
    for (kel_record **each : {&w.loose, &w.made_record}) {
        *each = w.make(1, each == &w.loose ? 7 : KEL_SOURCE_SHADOW);
        w.s().plain.insert(w.handle, w.tx, w.table, *each, &w.err);
    }
}

#define TARN_READ(NAME, SET_UP, CALL)                                       \
    {                                                                       \
        NAME, On::tables, SET_UP, [](World &w) { w.returned_record(CALL); } \
    }
#define TARN_READ_CR(NAME, SET_UP, CALL)         \
    {                                            \
        NAME, On::tables, SET_UP, [](World &w) { \
            w.returned_record(CALL);             \
            from_cr(w);                          \
        }                                        \
    }

const std::vector<Operation> searches = {
    TARN_READ("search", with_key_1,
              w.s().plain.search(w.handle, w.tx, w.table, w.key_value.value, &w.err)),
    TARN_READ("search_w_src", with_key_1,
              w.s().index.search_w_src(w.handle, w.tx, w.table, w.key_value.value, 1, &w.err)),
    TARN_READ("search_nearest", with_key_0,
              w.s().index.search_nearest(w.handle, w.tx, w.table, w.key_value.value, &w.err)),
    TARN_READ(
        "search_not_pending_destroy", with_key_0,
        w.s().index.search_not_pending(w.handle, w.tx, w.table, w.key_value.value, 1, &w.err)),
    TARN_READ("search_sub_first", with_key_1,
              w.s().index.search_sub_first(w.handle, w.tx, w.table, w.key_value.value, &w.err)),
    TARN_READ("search of a key that isn't there", with_key_0,
              w.s().plain.search(w.handle, w.tx, w.table, w.key_value.value, &w.err)),
    TARN_READ("search by an object", with_key_1,
              w.s().plain.search_object(w.handle, w.tx, w.table, w.key_holder, 0, &w.err)),
    TARN_READ("search by an object, nearest", with_key_0,
              w.s().plain.search_object_w_src(w.handle, w.tx, w.table, w.key_holder, 1, 1, &w.err)),
    TARN_READ_CR("search_cr", with_key_1,
                 w.s().index.search_cr(w.handle, w.table, w.key_value.value, 1, 0)),
    TARN_READ("get_next_by_key", with_key_1,
              w.s().index.next_by_key(w.handle, w.tx, w.table, w.key_value.value, &w.err)),
};

#define TARN_STEP(NAME, SET_UP, READ, ...) \
    TARN_READ(NAME, SET_UP, w.s().by_key.READ(w.handle, w.tx, w.table, __VA_ARGS__ &w.err))

const std::vector<Operation> steps = {
    TARN_STEP("get_first", with_two, first, ),
    TARN_STEP("get_last", with_two, last, ),
    TARN_STEP("get_first_by_src", with_two, first_by_src, 1, ),
    TARN_STEP("get_last_by_src", with_two, last_by_src, 1, ),
    TARN_STEP("get_first_ignore_src", with_two, first_ignore_src, ),
    TARN_STEP("get_next", with_two, next, w.record, ),
    TARN_STEP("get_prev", with_two, prev, w.loose, ),
    TARN_STEP("get_next_by_src", with_two, next_by_src, w.record, 1, ),
    TARN_STEP("get_prev_by_src", with_two, prev_by_src, w.loose, 1, ),
    TARN_STEP("get_next_ignore_src", with_two, next_ignore_src, w.record, ),
    TARN_STEP("get_prev_ignore_src", with_two, prev_ignore_src, w.loose, ),
    TARN_STEP("get_sub_next", with_sources, sub_next, w.record, ),
    TARN_STEP("get_sub_prev", with_sources, sub_prev, w.loose, ),
    TARN_STEP("get_shadow", with_sources, shadow, w.record, ),
    TARN_READ_CR("get_cr", with_two, w.s().index.get_cr(w.handle, w.table, 0, w.record, 1, 0)),
};

}  // namespace

std::vector<Operation> read_operations() {
    std::vector<Operation> all = searches;
    all.insert(all.end(), steps.begin(), steps.end());
    return all;
}

}  // namespace tarn::test
