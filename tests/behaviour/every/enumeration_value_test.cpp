// SPDX-License-Identifier: Apache-2.0
// The enumerators by name and number, and the two enumerations that count from 1.
#include "tests/behaviour/every/enumerators.h"

#include <cstring>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/every/items.h"
#include "tests/support/fixture.h"
#include "tests/support/trace.h"

namespace tarn::test {
namespace {

using u8 = std::uint8_t;
using u32 = std::uint32_t;

TEST(Enumerators, HaveTheirNamesAndUserValues) {
    ASSERT_EQ(all_enumerations().size(), std::size(enumerator_lists));
    for (std::size_t i = 0; i < std::size(enumerator_lists); ++i) {
        const EnumeratorList &list = enumerator_lists[i];
        const Enumeration &type = *all_enumerations()[i];
        EXPECT_STREQ(type.name, list.enumeration);
        ASSERT_EQ(type.count, list.enumerators.size()) << type.name;
        for (u32 n = 0; n < type.count; ++n) {
            EXPECT_EQ(type.enumerators[n].name, list.enumerators[n].first);
            EXPECT_EQ(type.enumerators[n].user_value, list.enumerators[n].second)
                << type.enumerators[n].name;
        }
    }
}

TEST(Enumerators, OfTwoEnumerationsCountFrom1AndOfTheOthersFrom0) {
    for (const Enumeration *type : all_enumerations()) {
        const std::string name = type->name;
        const bool from_one = name == "auth_state" || name == "auth_bend_state";
        EXPECT_EQ(type->first_user_value, from_one ? 1U : 0U) << name;
        for (u32 n = 0; n < type->count; ++n) {
            EXPECT_EQ(type->enumerators[n].user_value, n + type->first_user_value) << name;
        }
    }
}

// An object contains the value that a program sets.
TEST(Enumerators, AreInTheHeadersWithTheirUserValues) {
    EXPECT_EQ(KEL_DOT1X_AUTH_STATE_INITIALIZE, 1);
    EXPECT_EQ(KEL_DOT1X_AUTH_STATE_AUTHZ_FAIL, 14);
    EXPECT_EQ(KEL_DOT1X_AUTH_BEND_STATE_IGNORE, 8);
    EXPECT_EQ(KEL_MAB_STATE_INITIALIZE, 0);
    EXPECT_EQ(KEL_AUTHORIZATION_STATE_FAILTURE, 5);
    EXPECT_EQ(SHOW_AAA_SERVER_UNKNOWN, 2);
}

TEST(Enumerators, OfThePeersCapabilityAreUsedByNoField) {
    const Enumeration *const unused = &enumeration("lumi_interface_peer_adv_capability");
    bool found = false;
    for (const Structure *type : all_structures()) {
        for (const Field &field : fields_of(*type)) {
            EXPECT_NE(field.enumeration, unused) << type->name << "." << field.name;
            if (std::strcmp(field.name, "peer_adv_capability") != 0) continue;
            found = true;
            EXPECT_STREQ(type->name, "st_lumiIfStatusEntry_op");
            EXPECT_EQ(field.kind, FieldKind::u_int8);
        }
    }
    EXPECT_TRUE(found);
}

class AuthState : public PlainTest {
 protected:
    auth_state *made(u32 value) {
        auth_state *object = auth_state_create(handle, tx);
        auth_state_set_value(handle, tx, object, value, &err);
        EXPECT_EQ(err, 0U);
        return object;
    }
    u32 read(u8 wire_value) {
        auth_state *object = auth_state_create(handle, tx);
        const u8 wire[5] = {0, wire_value, 0, 0, 0};
        EXPECT_EQ(auth_state_unmarshal(handle, tx, wire, object, 5, 0, &err), 5U);
        const u32 value = auth_state_get_value(handle, tx, object, &err);
        auth_state_destroy(handle, tx, object);
        return value;
    }
};

TEST_F(AuthState, IsDecrementedToItsInternalValueWithinItsRange) {
    EXPECT_EQ(auth_state_map_to_internal_value(0), 0U);
    EXPECT_EQ(auth_state_map_to_internal_value(1), 0U);
    EXPECT_EQ(auth_state_map_to_internal_value(14), 13U);
    EXPECT_EQ(auth_state_map_to_internal_value(15), 15U);
    EXPECT_EQ(auth_bend_state_map_to_internal_value(8), 7U);
    EXPECT_EQ(auth_bend_state_map_to_internal_value(9), 9U);
}

TEST_F(AuthState, IsNotMappedBackByTheMapToTheUserValue) {
    for (const u32 value : {0U, 1U, 13U, 14U, 15U, 0xffffffffU}) {
        EXPECT_EQ(auth_state_map_to_user_value(value), value);
        EXPECT_EQ(auth_bend_state_map_to_user_value(value), value);
    }
}

TEST_F(AuthState, AcceptsAZeroThatIsPrintedAsOutOfRange) {
    auth_state *object = made(0);
    EXPECT_EQ(auth_state_get_value(handle, tx, object, &err), 0U);
    char buffer[64];
    const u32 length =
        auth_state_print(handle, tx, buffer, 0, "state", object, sizeof buffer, &err);
    EXPECT_EQ(std::string(buffer, length), "state@auth_state:Enum value out of range");
    EXPECT_EQ(err, 0U);
    auth_state_destroy(handle, tx, object);
}

TEST_F(AuthState, IsWrittenAsItsInternalValue) {
    auth_state *object = made(1);
    u8 wire[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(auth_state_marshal(handle, tx, wire, object, 5, &err), 5U);
    for (const u8 byte : wire) EXPECT_EQ(byte, 0);
    EXPECT_EQ(read(0), 1U);
    EXPECT_EQ(read(13), 14U);
    EXPECT_EQ(read(14), 14U);
    EXPECT_EQ(read(15), 15U);
    EXPECT_EQ(err, 0U);
    auth_state_destroy(handle, tx, object);
}

TEST_F(AuthState, HeldIsANamedElementInXml) {
    auth_state *object = made(KEL_DOT1X_AUTH_STATE_HELD);
    char buffer[256];
    const u32 length = auth_state_to_xml(handle, tx, "s", buffer, object, sizeof buffer, 0, &err);
    EXPECT_NE(std::string(buffer, length).find("<KEL_DOT1X_AUTH_STATE_HELD/>"), std::string::npos);
    auth_state_destroy(handle, tx, object);
}

}  // namespace
}  // namespace tarn::test
