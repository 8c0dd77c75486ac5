// SPDX-License-Identifier: Apache-2.0
// What all operations have in common: with an error set on entry they change nothing, and
// otherwise last_error is that of the latest one.
#include <cerrno>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

struct Operation {
    std::string name;
    std::function<u64(u32 *err)> call;
};

// An operation that returns null, 0 or nothing on failure.
template <typename Call>
Operation operation(const char *name, Call call) {
    return {name, [call](u32 *err) {
                if constexpr (std::is_void_v<decltype(call(err))>) {
                    call(err);
                    return u64{0};
                } else {
                    return word(call(err));
                }
            }};
}

class Prologue : public ObjectModeTest {
 protected:
    st_every *every = make.every(3);
    st_every *other = make.every(4);
    st_day *day = st_day_create(handle, tx);
    lamp_state *lamp = lamp_state_create(handle, tx);
    std::vector<char> buffer = std::vector<char>(8192, '#');
    u8 byte = 9;

    const u8 lamp_bytes[5] = {0, 1, 0, 0, 0};
    const std::vector<u8> bytes = form(st_every_marshal, other);

    std::vector<Operation> field_operations() {
        return {
            operation("get", [&](u32 *e) { return st_every_a8_get(handle, tx, every, e); }),
            operation("get_string",
                      [&](u32 *e) { return st_every_label_get(handle, tx, every, e); }),
            operation("get_nested", [&](u32 *e) { return st_every_tag_get(handle, tx, every, e); }),
            operation("get_value",
                      [&](u32 *e) { return st_every_a32_get_value(handle, tx, every, e); }),
            operation("get_enum",
                      [&](u32 *e) { return st_every_lamp_get_value(handle, tx, every, e); }),
            operation("set_value",
                      [&](u32 *e) { return st_every_a8_set_value(handle, tx, every, 99, e); }),
            operation(
                "set",
                [&](u32 *e) { return st_every_label_set(handle, tx, every, Text("new"), e); }),
        };
    }
    std::vector<Operation> array_operations() {
        return {
            operation("array_get",
                      [&](u32 *e) { return st_day_minute_get(handle, tx, day, 1, e); }),
            operation("array_get_value",
                      [&](u32 *e) { return st_day_minute_get_value(handle, tx, day, 1, e); }),
            operation("array_get_mem",
                      [&](u32 *e) {
                          return st_day_minute_get_mem(handle, tx, day, buffer.data(), 3, e);
                      }),
            operation("array_set_mem",
                      [&](u32 *e) { return st_day_minute_set_mem(handle, tx, day, &byte, 1, e); }),
            operation("array_set",
                      [&](u32 *e) { return st_day_minute_set(handle, tx, day, 0, &byte, e); }),
            operation("array_set_value",
                      [&](u32 *e) { return st_day_minute_set_value(handle, tx, day, 0, 9, e); }),
        };
    }
    std::vector<Operation> form_operations() {
        return {
            operation("marshal",
                      [&](u32 *e) {
                          return st_every_marshal(handle, tx, buffer.data(), every, 8000, e);
                      }),
            operation("marshal_for_clone",
                      [&](u32 *e) {
                          return st_every_marshal_for_clone(handle, tx, buffer.data(), every, 8000,
                                                            e);
                      }),
            operation("print",
                      [&](u32 *e) {
                          return st_every_print(handle, tx, buffer.data(), 0, "x", every, 8000, e);
                      }),
            operation("to_xml",
                      [&](u32 *e) {
                          return st_every_to_xml(handle, tx, "x", buffer.data(), every, 8000, 0, e);
                      }),
            operation("unmarshal",
                      [&](u32 *e) {
                          return st_every_unmarshal(handle, tx, bytes.data(), every,
                                                    static_cast<u32>(bytes.size()), 0, e);
                      }),
            operation("from_xml",
                      [&](u32 *e) {
                          return st_every_from_xml(handle, tx, "//x", nullptr, every, e, nullptr,
                                                   0);
                      }),
        };
    }

    std::vector<Operation> whole_operations() {
        return {
            operation("set_all",
                      [&](u32 *e) {
                          return st_every_set_all(handle, tx, every, 1, 1, 1, 1, 1, 1, 1, 1, 1, e);
                      }),
            operation("initialize",
                      [&](u32 *e) {
                          return st_every_initialize(handle, tx, every,
                                                     &_st_every_type_info_internal, 1, 1, 0,
                                                     nullptr, e);
                      }),
            operation(
                "post_copyout_cleanup",
                [&](u32 *e) { return st_every_post_copyout_cleanup(handle, tx, every, other, e); }),
            operation(
                "backpropagate",
                [&](u32 *e) { return st_every_type_type_backpropagate(handle, tx, every, e); }),
        };
    }

    std::vector<Operation> enumeration_operations() {
        return {
            operation("enum_get_value",
                      [&](u32 *e) { return lamp_state_get_value(handle, tx, lamp, e); }),
            operation("enum_marshal",
                      [&](u32 *e) {
                          return lamp_state_marshal(handle, tx, buffer.data(), lamp, 8000, e);
                      }),
            operation("enum_print",
                      [&](u32 *e) {
                          return lamp_state_print(handle, tx, buffer.data(), 0, "x", lamp, 8000, e);
                      }),
            operation("enum_to_xml",
                      [&](u32 *e) {
                          return lamp_state_to_xml(handle, tx, "x", buffer.data(), lamp, 8000, 0,
                                                   e);
                      }),
            operation("enum_set_value",
                      [&](u32 *e) { return lamp_state_set_value(handle, tx, lamp, 2, e); }),
            operation("enum_set",
                      [&](u32 *e) {
                          return lamp_state_set(handle, tx, lamp, at<lamp_state>(other, 64), e);
                      }),
            operation("enum_unmarshal",
                      [&](u32 *e) {
                          return lamp_state_unmarshal(handle, tx, lamp_bytes, lamp, 5, 0, e);
                      }),
            operation("enum_from_xml",
                      [&](u32 *e) {
                          return lamp_state_from_xml(handle, tx, "//x", nullptr, lamp, e, nullptr,
                                                     0);
                      }),
            operation("enum_backpropagate",
                      [&](u32 *e) { return lamp_state_backpropagate(handle, tx, lamp, e); }),
        };
    }
    std::vector<Operation> operations() {
        std::vector<Operation> all;
        for (const auto &group : {field_operations(), array_operations(), form_operations(),
                                  whole_operations(), enumeration_operations()}) {
            all.insert(all.end(), group.begin(), group.end());
        }
        return all;
    }

    std::vector<std::vector<u8>> everything() const {
        return {bytes_of(every, every_size + (tracking() ? every_states : 0)),
                bytes_of(day, st_day_sizeof(handle)),
                bytes_of(lamp, 16),
                {buffer.begin(), buffer.end()}};
    }
};
TARN_EACH_MODE(Prologue);

TEST_P(Prologue, WithAnErrorSetAnOperationReturnsItsFailureValueAndChangesNothing) {
    st_every_label_set(handle, tx, every, Text("old"), &err);
    kel_set_instance_modified(lamp, 0, 1, 1);
    for (const Operation &each : operations()) {
        SCOPED_TRACE(each.name);
        kel_store_err(handle, EAGAIN);
        const auto before = everything();
        HookRecorder hooks(handle);
        u32 error = EEXIST;
        EXPECT_EQ(each.call(&error), 0U);
        EXPECT_EQ(error, EEXIST);
        EXPECT_EQ(handle->last_error, EAGAIN);
        EXPECT_TRUE(hooks.events.empty());
        EXPECT_EQ(everything(), before);
    }
}

TEST_P(Prologue, TheLastErrorIsThatOfTheLatestOperation) {
    for (const Operation &each : operations()) {
        SCOPED_TRACE(each.name);
        kel_store_err(handle, EAGAIN);
        services.clear();
        u32 error = 0;
        each.call(&error);
        EXPECT_GE(services.count("kel_clear_last_error"), 1U);
        EXPECT_NE(handle->last_error, EAGAIN);
    }
}

TEST_P(Prologue, AnErrorSticksInAChainOfCrCallsUntilItIsCleared) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_clear_last_error(handle);
    st_ldap_conn *conn = st_ldap_conn_create_cr(handle);
    ASSERT_NE(conn, nullptr);
    EXPECT_EQ(handle->last_error, ENOMEM);
    hooks.fail_allocations(false);
    EXPECT_EQ(st_ldap_conn_clone_cr(handle, conn), nullptr);
    EXPECT_EQ(st_ldap_conn_len_cr(handle, conn), 0U);
    EXPECT_EQ(st_ldap_conn_print_cr(handle, conn, buffer.data(), 8000), 0xffffffffU);
    EXPECT_EQ(st_ldap_conn_toxml_cr(handle, conn, buffer.data(), 8000), 0xffffffffU);
    EXPECT_EQ(st_day_minute_set_mem_cr(handle, day, &byte, 1), ENOMEM);
    EXPECT_EQ(lamp_state_len_cr(handle), 0U);
    EXPECT_EQ(st_ldap_conn_create_cr(handle), conn);
    st_ldap_conn_destroy_cr(handle, conn);
    EXPECT_EQ(handle->last_error, ENOMEM);
    // A plain call whose own error is 0 ends the chain.
    st_every_a8_get_value(handle, tx, every, &err);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(lamp_state_len_cr(handle), 5U);
}

TEST_P(Prologue, AHandleWithoutPerStoreDescriptorsFetchesNone) {
    HookRecorder hooks(handle);
    make.every(1);
    lamp_state_create(handle, tx);
    const std::size_t fetches = hooks.count(Hook::type_alloc) + hooks.count(Hook::type_map_insert) +
                                hooks.count(Hook::type_map_lookup);
    if (GetParam() == Mode::store_types) {
        EXPECT_GT(fetches, 0U);
    } else {
        EXPECT_EQ(fetches, 0U);
    }
}

TEST(StoreDescriptors, TheStoresCountersAreUsed) {
    Session session(Mode::store_types);
    kel_handle *handle = session.handle();
    const u32 tx = KEL_TX_NONE;
    st_every *every = Maker{handle}.every(3);
    const kel_type_info *copy = head(every)->descriptor;
    EXPECT_NE(copy, &_st_every_type_info_internal);
    EXPECT_NE(copy->store_private, 0U);
    EXPECT_STREQ(copy->luid_text, _st_every_type_info_internal.luid_text);
    const kel_variant_usage constant = usage(&_st_every_type_info_internal);
    const kel_variant_usage own = usage(copy);
    st_every *counted = st_every_create(handle, tx);
    EXPECT_EQ(head(counted)->descriptor, copy);
    EXPECT_EQ(usage(copy).created, own.created + 1);
    st_every_destroy(handle, tx, counted);
    EXPECT_EQ(usage(copy).destroyed, own.destroyed + 1);
    EXPECT_EQ(usage(&_st_every_type_info_internal).created, constant.created);
    EXPECT_EQ(usage(&_st_every_type_info_internal).destroyed, constant.destroyed);
    for (const u32 offset : {64U, 80U, 160U, 208U, 224U}) {
        EXPECT_NE(head(at(every, offset))->descriptor->store_private, 0U) << offset;
    }
}

}  // namespace
}  // namespace tarn::test
