// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "tarnbase/tarn.hpp"

namespace face_test {
namespace {

template <typename Enumeration>
void check() {
    std::set<std::string_view> names;
    for (const auto &each : tarn::values<Enumeration>()) {
        EXPECT_TRUE(names.insert(each.name).second) << each.name;
        EXPECT_EQ(tarn::name(each.value), each.name);
        EXPECT_EQ(tarn::from_name<Enumeration>(each.name), each.value);
    }
    EXPECT_FALSE(names.empty());
}

template <typename... Enumerations>
std::size_t check_all(tarn::type_list<Enumerations...>) {
    (check<Enumerations>(), ...);
    return sizeof...(Enumerations);
}

TEST(EveryEnumeration, HasANameForEachValueAndAValueForEachName) {
    EXPECT_EQ(check_all(tarn::every_enumeration()), 20U);
}

TEST(EveryEnumeration, CommonPrefixesAndKeywordsAreOmitted) {
    EXPECT_EQ(tarn::name(tarn::auth_state::force_auth), "KEL_DOT1X_AUTH_STATE_FORCE_AUTH");
    EXPECT_EQ(tarn::name(tarn::lumi_interface_critical_auth_status::default_),
              "KEL_INTERFACE_CRITICAL_AUTH_STATUS_DEFAULT");
    EXPECT_EQ(tarn::name(tarn::lumi_interface_peer_adv_capability::sap),
              "KEL_INTERFACE_PEER_ADV_CAPABILITY_SAP");
    EXPECT_EQ(tarn::name(tarn::server_state::alive), "SHOW_AAA_SERVER_ALIVE");
}

}  // namespace
}  // namespace face_test
