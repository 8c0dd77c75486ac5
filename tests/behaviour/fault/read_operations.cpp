// SPDX-License-Identifier: Apache-2.0
// Searches and traversal. Each read reports its record, and the report can fail.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

// Keys 1 and 2 are in the table, `record` is key 1.
void with_two(Environment &env) {
    env.open();
    env.insert();
    env.loose = env.make(2);
    env.s().plain.insert(env.handle, env.tx, env.table, env.loose, &env.err);
}
void with_key_1(Environment &env) {
    with_two(env);
    env.key(1);
}
void with_key_0(Environment &env) {
    with_two(env);
    env.key(0);
}

// Key 1 has the sources 1, 7 and 255.
void with_sources(Environment &env) {
    env.open();
    env.insert();
    for (kel_record **each : {&env.loose, &env.made_record}) {
        *each = env.make(1, each == &env.loose ? 7 : KEL_SOURCE_SHADOW);
        env.s().plain.insert(env.handle, env.tx, env.table, *each, &env.err);
    }
}

#define TARN_READ(NAME, SET_UP, CALL)                                                 \
    {                                                                                 \
        NAME, On::tables, SET_UP, [](Environment &env) { env.returned_record(CALL); } \
    }
#define TARN_READ_CR(NAME, SET_UP, CALL)                 \
    {                                                    \
        NAME, On::tables, SET_UP, [](Environment &env) { \
            env.returned_record(CALL);                   \
            from_cr(env);                                \
        }                                                \
    }

const std::vector<Operation> searches = {
    TARN_READ("search", with_key_1,
              env.s().plain.search(env.handle, env.tx, env.table, env.key_value.value, &env.err)),
    TARN_READ("search_w_src", with_key_1,
              env.s().index.search_w_src(env.handle, env.tx, env.table, env.key_value.value, 1,
                                         &env.err)),
    TARN_READ(
        "search_nearest", with_key_0,
        env.s().index.search_nearest(env.handle, env.tx, env.table, env.key_value.value, &env.err)),
    TARN_READ("search_not_pending_destroy", with_key_0,
              env.s().index.search_not_pending(env.handle, env.tx, env.table, env.key_value.value,
                                               1, &env.err)),
    TARN_READ("search_sub_first", with_key_1,
              env.s().index.search_sub_first(env.handle, env.tx, env.table, env.key_value.value,
                                             &env.err)),
    TARN_READ("search of a key that isn't there", with_key_0,
              env.s().plain.search(env.handle, env.tx, env.table, env.key_value.value, &env.err)),
    TARN_READ(
        "search by an object", with_key_1,
        env.s().plain.search_object(env.handle, env.tx, env.table, env.key_holder, 0, &env.err)),
    TARN_READ("search by an object, nearest", with_key_0,
              env.s().plain.search_object_w_src(env.handle, env.tx, env.table, env.key_holder, 1, 1,
                                                &env.err)),
    TARN_READ_CR("search_cr", with_key_1,
                 env.s().index.search_cr(env.handle, env.table, env.key_value.value, 1, 0)),
    TARN_READ(
        "get_next_by_key", with_key_1,
        env.s().index.next_by_key(env.handle, env.tx, env.table, env.key_value.value, &env.err)),
};

#define TARN_STEP(NAME, SET_UP, READ, ...) \
    TARN_READ(NAME, SET_UP,                \
              env.s().by_key.READ(env.handle, env.tx, env.table, __VA_ARGS__ &env.err))

const std::vector<Operation> steps = {
    TARN_STEP("get_first", with_two, first, ),
    TARN_STEP("get_last", with_two, last, ),
    TARN_STEP("get_first_by_src", with_two, first_by_src, 1, ),
    TARN_STEP("get_last_by_src", with_two, last_by_src, 1, ),
    TARN_STEP("get_first_ignore_src", with_two, first_ignore_src, ),
    TARN_STEP("get_next", with_two, next, env.record, ),
    TARN_STEP("get_prev", with_two, prev, env.loose, ),
    TARN_STEP("get_next_by_src", with_two, next_by_src, env.record, 1, ),
    TARN_STEP("get_prev_by_src", with_two, prev_by_src, env.loose, 1, ),
    TARN_STEP("get_next_ignore_src", with_two, next_ignore_src, env.record, ),
    TARN_STEP("get_prev_ignore_src", with_two, prev_ignore_src, env.loose, ),
    TARN_STEP("get_sub_next", with_sources, sub_next, env.record, ),
    TARN_STEP("get_sub_prev", with_sources, sub_prev, env.loose, ),
    TARN_STEP("get_shadow", with_sources, shadow, env.record, ),
    TARN_READ_CR("get_cr", with_two,
                 env.s().index.get_cr(env.handle, env.table, 0, env.record, 1, 0)),
};

}  // namespace

std::vector<Operation> read_operations() { return joined({&searches, &steps}); }

}  // namespace tarn::test
