// SPDX-License-Identifier: Apache-2.0
// Reading and writing one field.
#include <cerrno>
#include <functional>
#include <limits>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Accessors : public ObjectModeTest {};
TARN_EACH_MODE(Accessors);

TEST_P(Accessors, EveryFieldReturnsTheValueThatWasSet) {
    for (u32 seed = 0; seed < 6; ++seed) {
        st_every *every = make.every(seed);
        make.check(every, seed);
        make.fill(every, seed + 10);
        make.check(every, seed + 10);
    }
}

TEST_P(Accessors, IntegersKeepTheirWidthAndSign) {
    st_every *every = st_every_create(handle, tx);
    st_every_a8_set_value(handle, tx, every, 255, &err);
    st_every_a16_set_value(handle, tx, every, 65535, &err);
    st_every_a32_set_value(handle, tx, every, std::numeric_limits<u32>::max(), &err);
    st_every_a64_set_value(handle, tx, every, std::numeric_limits<u64>::max(), &err);
    st_every_s32_set_value(handle, tx, every, std::numeric_limits<std::int32_t>::min(), &err);
    st_every_s64_set_value(handle, tx, every, std::numeric_limits<std::int64_t>::min(), &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_a8_get_value(handle, tx, every, &err), 255);
    EXPECT_EQ(st_every_a16_get_value(handle, tx, every, &err), 65535);
    EXPECT_EQ(st_every_a32_get_value(handle, tx, every, &err), std::numeric_limits<u32>::max());
    EXPECT_EQ(st_every_a64_get_value(handle, tx, every, &err), std::numeric_limits<u64>::max());
    EXPECT_EQ(st_every_s32_get_value(handle, tx, every, &err),
              std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(st_every_s64_get_value(handle, tx, every, &err),
              std::numeric_limits<std::int64_t>::min());
}

TEST_P(Accessors, AFieldCanBeSetFromAFieldOfAnotherObject) {
    st_every *from = make.every(5);
    st_every *to = make.every(8);
    st_every_a8_set(handle, tx, to, st_every_a8_get(handle, tx, from, &err), &err);
    st_every_a16_set(handle, tx, to, st_every_a16_get(handle, tx, from, &err), &err);
    st_every_a32_set(handle, tx, to, st_every_a32_get(handle, tx, from, &err), &err);
    st_every_a64_set(handle, tx, to, st_every_a64_get(handle, tx, from, &err), &err);
    st_every_s32_set(handle, tx, to, st_every_s32_get(handle, tx, from, &err), &err);
    st_every_s64_set(handle, tx, to, st_every_s64_get(handle, tx, from, &err), &err);
    st_every_flag_set(handle, tx, to, st_every_flag_get(handle, tx, from, &err), &err);
    st_every_lamp_set(handle, tx, to, st_every_lamp_get(handle, tx, from, &err), &err);
    st_every_door_set(handle, tx, to, st_every_door_get(handle, tx, from, &err), &err);
    st_every_label_set(handle, tx, to, st_every_label_get(handle, tx, from, &err), &err);
    st_every_addr_set(handle, tx, to, st_every_addr_get(handle, tx, from, &err), &err);
    st_every_tag_set(handle, tx, to, st_every_tag_get(handle, tx, from, &err), &err);
    EXPECT_EQ(err, 0U);
    st_every_destroy(handle, tx, from);
    make.check(to, 5);
}

TEST_P(Accessors, TheWholeObjectsGetReturnsTheObjectUnchecked) {
    st_every *every = make.every(1);
    EXPECT_EQ(st_every_get(handle, tx, every, &err), every);
    EXPECT_EQ(st_every_get(handle, tx, nullptr, &err), nullptr);
    err = ENOMEM;
    EXPECT_EQ(st_every_get(handle, tx, every, &err), every);
}

TEST_P(Accessors, ANestedFieldsGetIsItsAddress) {
    st_every *every = make.every(1);
    EXPECT_EQ(static_cast<void *>(st_every_tag_get(handle, tx, every, &err)), at(every, 160));
    EXPECT_EQ(static_cast<void *>(st_every_label_get(handle, tx, every, &err)), at(every, 96));
    EXPECT_EQ(static_cast<void *>(st_every_addr_get(handle, tx, every, &err)), at(every, 128));
}

TEST_P(Accessors, TheValueOfANullObjectIs0WithoutAnError) {
    EXPECT_EQ(st_every_a8_get_value(handle, tx, nullptr, &err), 0);
    EXPECT_EQ(st_every_a16_get_value(handle, tx, nullptr, &err), 0);
    EXPECT_EQ(st_every_a32_get_value(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(st_every_a64_get_value(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(st_every_s32_get_value(handle, tx, nullptr, &err), 0);
    EXPECT_EQ(st_every_s64_get_value(handle, tx, nullptr, &err), 0);
    EXPECT_EQ(st_every_flag_get_value(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(st_every_lamp_get_value(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Accessors, AFieldOfANullObjectIsNullAndCannotBeSet) {
    EXPECT_EQ(st_every_label_get(handle, tx, nullptr, &err), nullptr);
    EXPECT_EQ(st_every_tag_get(handle, tx, nullptr, &err), nullptr);
    EXPECT_EQ(err, 0U);
    st_every_a32_set_value(handle, tx, nullptr, 1, &err);
    expect_error(ENOENT);
    st_every_label_set(handle, tx, nullptr, Text("x"), &err);
    expect_error(ENOENT);
    st_every_lamp_set_value(handle, tx, nullptr, 1, &err);
    expect_error(ENOENT);
}

TEST_P(Accessors, SettingAValueWithoutAccessFailsWithEnoentAndReadingReturns0) {
    st_every *every = make.every(1);
    const auto before = bytes_of(every, every_size);
    services.replace(u_int32_get, [](auto...) { return nullptr; });
    EXPECT_EQ(st_every_a32_get_value(handle, tx, every, &err), 0U);
    EXPECT_EQ(err, 0U);
    st_every_a32_set_value(handle, tx, every, 99, &err);
    expect_error(ENOENT);
    EXPECT_EQ(bytes_of(every, every_size), before);
}

TEST_P(Accessors, SettingAValueRunsTheReadPathToo) {
    st_every *every = make.every(1);
    services.clear();
    st_every_a32_set_value(handle, tx, every, 99, &err);
    EXPECT_EQ(
        services.order({"kel_clear_last_error", "kellib_adjust_variant", "kel_get_instance_variant",
                        "u_int32_get", "u_int32_set_value", "kel_set_instance_modified"}),
        "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant "
        "kel_clear_last_error kel_get_instance_variant u_int32_get u_int32_set_value "
        "kel_set_instance_modified");
}

TEST_P(Accessors, AWriteAnnouncesOnlyTheValueThenItsFlag) {
    st_every *every = make.every(1);
    lamp_state *lamp = lamp_state_create(handle, tx);
    const struct {
        const char *name;
        u32 offset, length, position;
        std::function<void()> write;
    } writes[] = {
        {"a8", 11, 1, 0, [&] { st_every_a8_set_value(handle, tx, every, 1, &err); }},
        {"a16", 12, 2, 1, [&] { st_every_a16_set_value(handle, tx, every, 1, &err); }},
        {"a32", 16, 4, 2, [&] { st_every_a32_set_value(handle, tx, every, 1, &err); }},
        {"a64", 24, 8, 3, [&] { st_every_a64_set_value(handle, tx, every, 1, &err); }},
        {"s32", 32, 4, 4, [&] { st_every_s32_set_value(handle, tx, every, 1, &err); }},
        {"s64", 40, 8, 5, [&] { st_every_s64_set_value(handle, tx, every, 1, &err); }},
        {"lamp", 64 + 12, 4, 7, [&] { st_every_lamp_set_value(handle, tx, every, 1, &err); }},
        {"whole lamp", 64, 16, 7, [&] { st_every_lamp_set(handle, tx, every, lamp, &err); }},
    };
    for (const auto &each : writes) {
        HookRecorder hooks(handle);
        each.write();
        Places expected = {{at(every, each.offset), each.length}};
        if (tracking()) expected.emplace_back(at(every, every_size + each.position), 1);
        EXPECT_EQ(places_of(hooks.of(Hook::write_log)), expected) << each.name;
    }
}

TEST_P(Accessors, AFailedStoreStillMarksTheField) {
    st_every *every = st_every_create(handle, tx);
    st_every_lamp_set_value(handle, tx, every, 3, &err);
    expect_error(EIDRM);
    EXPECT_EQ(st_every_lamp_get_value(handle, tx, every, &err), 0U);
    EXPECT_EQ(kel_get_instance_modified(every, 1, 0), 1U);
    if (tracking()) {
        EXPECT_EQ(*at(every, every_size + 7), 2);
    }
}

TEST_P(Accessors, ABooleanIs0Or1) {
    st_ldap_summary *summary = st_ldap_summary_create(handle, tx);
    EXPECT_EQ(st_ldap_summary_status_get_value(handle, tx, summary, &err), 0U);
    st_ldap_summary_status_set_value(handle, tx, summary, 1, &err);
    EXPECT_EQ(st_ldap_summary_status_get_value(handle, tx, summary, &err), 1U);
    st_ldap_summary_status_set_value(handle, tx, summary, 9, &err);
    EXPECT_EQ(st_ldap_summary_status_get_value(handle, tx, summary, &err), 1U);
}

TEST_P(Accessors, SettingAnEmbeddedEnumerationCopiesTheSourcesHeaderToo) {
    st_every *every = make.every(1);
    lamp_state *lamp = lamp_state_create(handle, tx);
    lamp_state_set_value(handle, tx, lamp, 2, &err);
    ASSERT_NE(head(at(every, 64))->flags & OBJ_NESTED, 0);
    st_every_lamp_set(handle, tx, every, lamp, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_lamp_get_value(handle, tx, every, &err), 2U);
    EXPECT_EQ(head(at(every, 64))->flags & OBJ_NESTED, 0);
}

TEST_P(Accessors, TextsAreReturnedByteForByte) {
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    for (const std::string &text :
         {std::string(), std::string("x"), std::string(12, 'i'), std::string(13, 'o'),
          std::string("a\0b", 3), std::string(5000, 'z'), std::string("\xff\x01<&>")}) {
        st_ldap_conn_sname_set(handle, tx, conn, Text(text), &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), text);
    }
}

}  // namespace
}  // namespace tarn::test
