// SPDX-License-Identifier: Apache-2.0
// The accessors of each kind of field, of arrays, and of state flags.
#include "tarnbase/tarnbase.h"
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

void with_object(World &w) { w.object = w.make_object(0); }
void with_two(World &w) {
    w.object = w.make_object(0);
    w.source = w.make_object(1);
}

st_every *every(World &w) { return static_cast<st_every *>(w.object); }
st_grown *grown(World &w) { return static_cast<st_grown *>(w.object); }
st_every *other(World &w) { return static_cast<st_every *>(w.source); }

// Whether a field's `_get` returns null. It makes nothing.
void returned_access(World &w, const void *access) {
    w.result = access == nullptr ? "null" : "access";
}

// Reading an enumeration or a nested structure calls nothing that can fail.
constexpr Traits failing;
constexpr Traits unfailing{.infallible = true};

#define TARN_ACCESSORS(FIELD, READING)                                                         \
    {"get of " #FIELD, On::every, with_object,                                                 \
     [](World &w) {                                                                            \
         returned_access(w, st_every_##FIELD##_get(w.handle, w.tx, every(w), &w.err));         \
     },                                                                                        \
     READING},                                                                                 \
        {"set of " #FIELD, On::every, with_two,                                                \
         [](World &w) {                                                                        \
             u32 read_err = 0;                                                                 \
             const auto *source = st_every_##FIELD##_get(w.handle, w.tx, other(w), &read_err); \
             st_every_##FIELD##_set(w.handle, w.tx, every(w), source, &w.err);                 \
         }},                                                                                   \
        {"state_flag_get of " #FIELD,                                                          \
         On::every,                                                                            \
         with_object,                                                                          \
         [](World &w) {                                                                        \
             w.result = std::to_string(                                                        \
                 st_every_##FIELD##_state_flag_get(w.handle, w.tx, every(w), &w.err));         \
         },                                                                                    \
         {.infallible = true}},                                                                \
    {                                                                                          \
        "state_flag_set of " #FIELD, On::every, with_object, [](World &w) {                    \
            st_every_##FIELD##_state_flag_set(w.handle, w.tx, every(w), 9, &w.err);            \
            w.returned(st_every_get(w.handle, w.tx, every(w), &w.err));                        \
        }                                                                                      \
    }

#define TARN_VALUE_ACCESSORS(FIELD, VALUE, READING)                                              \
    TARN_ACCESSORS(FIELD, READING),                                                              \
        {"get_value of " #FIELD, On::every, with_object,                                         \
         [](World &w) {                                                                          \
             w.result =                                                                          \
                 std::to_string(st_every_##FIELD##_get_value(w.handle, w.tx, every(w), &w.err)); \
         },                                                                                      \
         READING},                                                                               \
    {                                                                                            \
        "set_value of " #FIELD, On::every, with_object, [](World &w) {                           \
            st_every_##FIELD##_set_value(w.handle, w.tx, every(w), VALUE, &w.err);               \
        }                                                                                        \
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

void set_all(World &w) {
    st_every_set_all(w.handle, w.tx, every(w), 1, 2, 3, 4, 5, 6, 1, 0, 3, &w.err);
}

void get_all(World &w) {
    u8 a8 = 99;
    u16 a16 = 99;
    u32 a32 = 99;
    u64 a64 = 99;
    std::int32_t s32 = 99;
    std::int64_t s64 = 99;
    u32 flag = 99;
    u32 lamp = 99;
    u32 door = 99;
    st_every_get_all(w.handle, w.tx, every(w), &a8, &a16, &a32, &a64, &s32, &s64, &flag, &lamp,
                     &door, &w.err);
    for (const auto value :
         {std::int64_t{a8}, std::int64_t{a16}, std::int64_t{a32}, static_cast<std::int64_t>(a64),
          std::int64_t{s32}, s64, std::int64_t{flag}, std::int64_t{lamp}, std::int64_t{door}}) {
        w.result += (w.result.empty() ? "" : " ") + std::to_string(value);
    }
}

const std::vector<Operation> wholes = {
    {"get_all", On::every, with_object, get_all},
    {"set_all", On::every, with_object, set_all, {.stepwise = true}},
    {"set_all_state_tracking_flag",
     On::every,
     with_object,
     [](World &w) { st_every_set_all_state_tracking_flag(w.handle, w.tx, every(w), 7); },
     {.unlogged = true, .infallible = true}},
};

const std::vector<Operation> arrays = {
    {"array get", On::grown, with_object,
     [](World &w) {
         returned_access(w, st_grown_minute_get(w.handle, w.tx, grown(w), 3, &w.err));
     }},
    {"array get_value", On::grown, with_object,
     [](World &w) {
         w.result = std::to_string(st_grown_minute_get_value(w.handle, w.tx, grown(w), 3, &w.err));
     }},
    {"array get_mem",
     On::grown,
     with_object,
     [](World &w) {
         st_grown_minute_get_mem(w.handle, w.tx, grown(w), w.buffer.data(), 1440, &w.err);
     },
     {.infallible = true}},
    {"array set", On::grown, with_object,
     [](World &w) {
         const u8 value = 77;
         st_grown_minute_set(w.handle, w.tx, grown(w), 3, &value, &w.err);
     }},
    {"array set_value", On::grown, with_object,
     [](World &w) { st_grown_minute_set_value(w.handle, w.tx, grown(w), 3, 77, &w.err); }},
    {"array set_mem", On::grown, with_object,
     [](World &w) {
         w.buffer.assign(w.buffer.size(), 'm');
         st_grown_minute_set_mem(w.handle, w.tx, grown(w), w.buffer.data(), 1440, &w.err);
     }},
    {"array set_mem_cr", On::grown, with_object,
     [](World &w) {
         w.buffer.assign(w.buffer.size(), 'm');
         w.result =
             std::to_string(st_grown_minute_set_mem_cr(w.handle, grown(w), w.buffer.data(), 1440));
         w.err = w.handle->last_error;
     }},
};

const std::vector<Operation> array_flags = {
    {"array state_flag_whole_get",
     On::grown,
     with_object,
     [](World &w) {
         w.result =
             std::to_string(st_grown_minute_state_flag_whole_get(w.handle, w.tx, grown(w), &w.err));
     },
     {.infallible = true}},
    {"array state_flag_get",
     On::grown,
     with_object,
     [](World &w) {
         w.result =
             std::to_string(st_grown_minute_state_flag_get(w.handle, w.tx, grown(w), 3, &w.err));
     },
     {.infallible = true}},
    {"array state_flag_whole_set", On::grown, with_object,
     [](World &w) { st_grown_minute_state_flag_whole_set(w.handle, w.tx, grown(w), 9, &w.err); }},
    {"array state_flag_set", On::grown, with_object,
     [](World &w) { st_grown_minute_state_flag_set(w.handle, w.tx, grown(w), 3, 9, &w.err); }},
    // The flags are copied without an announcement.
    {"array state_flag_set_arr",
     On::grown,
     with_object,
     [](World &w) {
         st_grown_minute_state_flag_set_arr(w.handle, w.tx, grown(w), w.buffer.data(), 1440,
                                            &w.err);
     },
     {.unlogged = true}},
};

}  // namespace

std::vector<Operation> field_operations() {
    std::vector<Operation> all;
    for (const auto *part : {&fields, &wholes, &arrays, &array_flags}) {
        all.insert(all.end(), part->begin(), part->end());
    }
    return all;
}

}  // namespace tarn::test
