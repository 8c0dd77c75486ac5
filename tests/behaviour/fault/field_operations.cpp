// SPDX-License-Identifier: Apache-2.0
// The accessors of each kind of field, of arrays, and of state flags.
#include "tarnbase/tarnbase.h"
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

st_every *every(Environment &env) { return static_cast<st_every *>(env.object); }
st_grown *grown(Environment &env) { return static_cast<st_grown *>(env.object); }
st_every *other(Environment &env) { return static_cast<st_every *>(env.source); }

// Whether a field's `_get` returns null. It makes nothing.
void returned_access(Environment &env, const void *access) {
    env.result = access == nullptr ? "null" : "access";
}

// Reading an enumeration or a nested structure calls nothing that can fail.
constexpr Traits failing;
constexpr Traits unfailing{.infallible = true};

#define TARN_ACCESSORS(FIELD, READING)                                                           \
    {"get of " #FIELD, On::every, with_object,                                                   \
     [](Environment &env) {                                                                      \
         returned_access(env, st_every_##FIELD##_get(env.handle, env.tx, every(env), &env.err)); \
     },                                                                                          \
     READING},                                                                                   \
        {"set of " #FIELD, On::every, with_two_objects,                                          \
         [](Environment &env) {                                                                  \
             u32 read_err = 0;                                                                   \
             const auto *source =                                                                \
                 st_every_##FIELD##_get(env.handle, env.tx, other(env), &read_err);              \
             st_every_##FIELD##_set(env.handle, env.tx, every(env), source, &env.err);           \
         }},                                                                                     \
        {"state_flag_get of " #FIELD,                                                            \
         On::every,                                                                              \
         with_object,                                                                            \
         [](Environment &env) {                                                                  \
             env.result = std::to_string(                                                        \
                 st_every_##FIELD##_state_flag_get(env.handle, env.tx, every(env), &env.err));   \
         },                                                                                      \
         {.infallible = true}},                                                                  \
    {                                                                                            \
        "state_flag_set of " #FIELD, On::every, with_object, [](Environment &env) {              \
            st_every_##FIELD##_state_flag_set(env.handle, env.tx, every(env), 9, &env.err);      \
            env.returned(st_every_get(env.handle, env.tx, every(env), &env.err));                \
        }                                                                                        \
    }

#define TARN_VALUE_ACCESSORS(FIELD, VALUE, READING)                                        \
    TARN_ACCESSORS(FIELD, READING),                                                        \
        {"get_value of " #FIELD, On::every, with_object,                                   \
         [](Environment &env) {                                                            \
             env.result = std::to_string(                                                  \
                 st_every_##FIELD##_get_value(env.handle, env.tx, every(env), &env.err));  \
         },                                                                                \
         READING},                                                                         \
    {                                                                                      \
        "set_value of " #FIELD, On::every, with_object, [](Environment &env) {             \
            st_every_##FIELD##_set_value(env.handle, env.tx, every(env), VALUE, &env.err); \
        }                                                                                  \
    }

const std::vector<Operation> fields = {
    TARN_VALUE_ACCESSORS(a8, 200, failing),
    TARN_VALUE_ACCESSORS(a16, 2000, failing),
    TARN_VALUE_ACCESSORS(a32, 99, failing),
    TARN_VALUE_ACCESSORS(a64, 98, failing),
    TARN_VALUE_ACCESSORS(s32, -97, failing),
    TARN_VALUE_ACCESSORS(s64, -96, failing),
    TARN_VALUE_ACCESSORS(flag, 1, failing),
    TARN_VALUE_ACCESSORS(lamp, 2, unfailing),
    TARN_VALUE_ACCESSORS(door, 3, unfailing),
    TARN_ACCESSORS(label, failing),
    TARN_ACCESSORS(addr, failing),
    TARN_ACCESSORS(tag, unfailing),
};

void set_all(Environment &env) {
    st_every_set_all(env.handle, env.tx, every(env), 1, 2, 3, 4, 5, 6, 1, 0, 3, &env.err);
}

void get_all(Environment &env) {
    u8 a8 = 99;
    u16 a16 = 99;
    u32 a32 = 99;
    u64 a64 = 99;
    std::int32_t s32 = 99;
    std::int64_t s64 = 99;
    u32 flag = 99;
    u32 lamp = 99;
    u32 door = 99;
    st_every_get_all(env.handle, env.tx, every(env), &a8, &a16, &a32, &a64, &s32, &s64, &flag,
                     &lamp, &door, &env.err);
    for (const auto value :
         {std::int64_t{a8}, std::int64_t{a16}, std::int64_t{a32}, static_cast<std::int64_t>(a64),
          std::int64_t{s32}, s64, std::int64_t{flag}, std::int64_t{lamp}, std::int64_t{door}}) {
        env.result += (env.result.empty() ? "" : " ") + std::to_string(value);
    }
}

const std::vector<Operation> wholes = {
    {"get_all", On::every, with_object, get_all},
    {"set_all", On::every, with_object, set_all, {.stepwise = true}},
    {"set_all_state_tracking_flag",
     On::every,
     with_object,
     [](Environment &env) {
         st_every_set_all_state_tracking_flag(env.handle, env.tx, every(env), 7);
     },
     {.unlogged = true, .infallible = true}},
};

const std::vector<Operation> arrays = {
    {"array get", On::grown, with_object,
     [](Environment &env) {
         returned_access(env, st_grown_minute_get(env.handle, env.tx, grown(env), 3, &env.err));
     }},
    {"array get_value", On::grown, with_object,
     [](Environment &env) {
         env.result =
             std::to_string(st_grown_minute_get_value(env.handle, env.tx, grown(env), 3, &env.err));
     }},
    {"array get_mem",
     On::grown,
     with_object,
     [](Environment &env) {
         st_grown_minute_get_mem(env.handle, env.tx, grown(env), env.buffer.data(), 1440, &env.err);
     },
     {.infallible = true}},
    {"array set", On::grown, with_object,
     [](Environment &env) {
         const u8 value = 77;
         st_grown_minute_set(env.handle, env.tx, grown(env), 3, &value, &env.err);
     }},
    {"array set_value", On::grown, with_object,
     [](Environment &env) {
         st_grown_minute_set_value(env.handle, env.tx, grown(env), 3, 77, &env.err);
     }},
    {"array set_mem", On::grown, with_object,
     [](Environment &env) {
         env.buffer.assign(env.buffer.size(), 'm');
         st_grown_minute_set_mem(env.handle, env.tx, grown(env), env.buffer.data(), 1440, &env.err);
     }},
    {"array set_mem_cr", On::grown, with_object,
     [](Environment &env) {
         env.buffer.assign(env.buffer.size(), 'm');
         env.result = std::to_string(
             st_grown_minute_set_mem_cr(env.handle, grown(env), env.buffer.data(), 1440));
         env.err = env.handle->last_error;
     }},
};

const std::vector<Operation> array_flags = {
    {"array state_flag_whole_get",
     On::grown,
     with_object,
     [](Environment &env) {
         env.result = std::to_string(
             st_grown_minute_state_flag_whole_get(env.handle, env.tx, grown(env), &env.err));
     },
     {.infallible = true}},
    {"array state_flag_get",
     On::grown,
     with_object,
     [](Environment &env) {
         env.result = std::to_string(
             st_grown_minute_state_flag_get(env.handle, env.tx, grown(env), 3, &env.err));
     },
     {.infallible = true}},
    {"array state_flag_whole_set", On::grown, with_object,
     [](Environment &env) {
         st_grown_minute_state_flag_whole_set(env.handle, env.tx, grown(env), 9, &env.err);
     }},
    {"array state_flag_set", On::grown, with_object,
     [](Environment &env) {
         st_grown_minute_state_flag_set(env.handle, env.tx, grown(env), 3, 9, &env.err);
     }},
    // The flags are copied without an announcement.
    {"array state_flag_set_arr",
     On::grown,
     with_object,
     [](Environment &env) {
         st_grown_minute_state_flag_set_arr(env.handle, env.tx, grown(env), env.buffer.data(), 1440,
                                            &env.err);
     },
     {.unlogged = true}},
};

}  // namespace

std::vector<Operation> field_operations() {
    return joined({&fields, &wholes, &arrays, &array_flags});
}

}  // namespace tarn::test
