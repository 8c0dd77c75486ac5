// SPDX-License-Identifier: Apache-2.0
// The key of each table, and the order of the fields of a key structure.
#include <dlfcn.h>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

struct KeyOf {
    const char *stem;  // the table is tbl_<stem>, its value type st_<stem>
    FieldKind kind;
    const char *key;  // a field, or a key structure
};

constexpr KeyOf keys[] = {
    {"dot1xAuthConfigEntry_op", FieldKind::u_int32, "if_index"},
    {"dot1xAuthStatsEntry_op", FieldKind::u_int32, "if_index"},
    {"dot1xPaePortEntry_op", FieldKind::u_int32, "if_index"},
    {"dot1xPaePortEntryInit_op", FieldKind::u_int32, "if_index"},
    {"dot1xPaePortEntryReauth_op", FieldKind::u_int32, "if_index"},
    {"lumiIfDot1xEntry_op", FieldKind::u_int32, "if_index"},
    {"lumiIfStatsEntry_op", FieldKind::u_int32, "if_index"},
    {"lumiIfStatusEntry_op", FieldKind::u_int32, "if_index"},
    {"lumEnvSecurityGroupNameEntry_op", FieldKind::u_int32, "security_group_name_sgt"},
    {"lumiIfcStatsEntry_new_op", FieldKind::u_int32, "state"},
    {"pexAuthMethodRegEntry_op", FieldKind::u_int32, "auth_method"},
    {"lum_credentials", FieldKind::u_int32, "singleton_id"},
    {"lumEnvironmentDataObjects_op", FieldKind::u_int32, "singleton_id"},
    {"lumiEventsStatsObjects_op", FieldKind::u_int32, "singleton_id"},
    {"lumiIfModeStatsObjects_op", FieldKind::u_int32, "singleton_id"},
    {"orvanAuthFrameworkSystem_op", FieldKind::u_int32, "singleton_id"},
    {"radius_stats", FieldKind::u_int32, "singleton_id"},
    {"aaa_command_handler", FieldKind::u_int32, "singleton_id"},
    {"aaa_local_stats", FieldKind::u_int32, "singleton_id"},
    {"aaa_memory_stats", FieldKind::u_int32, "singleton_id"},
    {"aaa_test_result", FieldKind::u_int32, "singleton_id"},
    {"lumKeystorePasswordRecordEntry_op", FieldKind::vstring, "name"},
    {"lumKeystorePacRecordEntry_op", FieldKind::vstring, "name"},
    {"lumvDownloadServerListEntry_op", FieldKind::vstring, "name"},
    {"lumPacInfoEntry_op", FieldKind::vstring, "zeb_auth_id"},
    {"lumiAuthorizationEntry_op", FieldKind::vstring, "peer_id"},
    {"pmap_sessn_info", FieldKind::vstring, "pmap_name"},
    {"aaa_client_stats", FieldKind::vstring, "ip_str"},
    {"aaa_dead_stats", FieldKind::vstring, "sname"},
    {"aaa_servers", FieldKind::vstring, "sname"},
    {"ldap_stats", FieldKind::vstring, "sname"},
    {"ldap_summary", FieldKind::vstring, "sname"},
    {"ldap_conn", FieldKind::vstring, "sname"},
    {"lumvProvisionedServerEntry_op", FieldKind::address, "addr"},
    {"lumiIfcStatsEntry_op", FieldKind::enumeration, "state"},
    {"pexSessionEntry_op", FieldKind::structure, "pexSessionEntry_key"},
    {"ravoClientInfoEntry_op", FieldKind::structure, "ravoClientInfoEntry_key"},
    {"lumKeystorePasswordRecordEntry_new_op", FieldKind::structure,
     "lumKeystorePasswordRecordEntry_new_key"},
    {"lumPacInfoEntry_new_op", FieldKind::structure, "lumPacInfoEntry_new_key"},
    {"lumEnvSecurityGroupNameEntry_new_op", FieldKind::structure,
     "lumEnvSecurityGroupNameEntry_new_key"},
    {"lumvDownloadServerEntry_op", FieldKind::structure, "lumv_list_name_and_addr"},
    {"lumvDownloadServerListEntry_new_op", FieldKind::structure,
     "lumvDownloadServerListEntry_new_key"},
    {"lumvProvisionedServerEntry_new_op", FieldKind::structure,
     "lumvProvisionedServerEntry_new_key"},
    {"service_type_info", FieldKind::structure, "service_type_info_key"},
    {"radius_server_group", FieldKind::structure, "st_radius_server_group_key"},
};

TEST(TableKeys, AreOfTheirKindAndNameTheIndex) {
    ASSERT_EQ(std::size(keys), all_tables().size());
    for (const KeyOf &each : keys) {
        const std::string name = std::string("tbl_") + each.stem;
        const std::string value_type = std::string("st_") + each.stem;
        const Table &type = table(name);
        EXPECT_EQ(type.key->kind, each.kind) << name;
        EXPECT_EQ(type.type->name, value_type);
        const bool composite = each.kind == FieldKind::structure;
        const std::string key =
            composite ? std::string(each.key) + "_" : value_type + "_" + each.key;
        for (const char *operation : {"_search", "_avl_compare", "_get_next"}) {
            EXPECT_NE(dlsym(RTLD_DEFAULT, (name + "_" + key + operation).c_str()), nullptr)
                << name << key << operation;
        }
        EXPECT_EQ(type.key_label,
                  composite ? std::string(each.key) + " " : value_type + " " + each.key);
    }
}

struct KeyStructure {
    const char *name;
    std::vector<std::pair<const char *, FieldKind>> fields;
};

const KeyStructure key_structures[] = {
    {"pexSessionEntry_key",
     {{"if_index", FieldKind::u_int32},
      {"session_id_in", FieldKind::vstring},
      {"searchtype", FieldKind::u_int8}}},
    {"ravoClientInfoEntry_key",
     {{"if_index", FieldKind::u_int32},
      {"session_id", FieldKind::vstring},
      {"searchtype", FieldKind::u_int8}}},
    {"lumKeystorePasswordRecordEntry_new_key",
     {{"name", FieldKind::vstring}, {"searchtype", FieldKind::u_int8}}},
    {"lumPacInfoEntry_new_key",
     {{"zeb_auth_id", FieldKind::vstring}, {"searchtype", FieldKind::u_int8}}},
    {"lumEnvSecurityGroupNameEntry_new_key",
     {{"security_group_name_sgt", FieldKind::u_int32}, {"searchtype", FieldKind::u_int8}}},
    {"lumv_list_name_and_addr",
     {{"list_name", FieldKind::vstring},
      {"addr", FieldKind::address},
      {"searchtype", FieldKind::u_int8}}},
    {"lumvDownloadServerListEntry_new_key",
     {{"name", FieldKind::vstring}, {"searchtype", FieldKind::u_int8}}},
    {"lumvProvisionedServerEntry_new_key",
     {{"addr", FieldKind::address}, {"searchtype", FieldKind::u_int8}}},
    {"service_type_info_key",
     {{"serv_type", FieldKind::u_int8}, {"serv_name", FieldKind::vstring}}},
    {"st_radius_server_group_key",
     {{"sg_name", FieldKind::vstring}, {"server_name", FieldKind::vstring}}},
};

class KeyStructures : public ::testing::TestWithParam<KeyStructure> {
 protected:
    ~KeyStructures() override {
        for (void *each : objects) typed.destroy(each);
    }
    // A key with all fields at their low value.
    void *low() {
        objects.push_back(typed.create());
        for (const Field &field : fields_of(typed.type())) put(objects.back(), field, false);
        return objects.back();
    }
    void put(void *object, const Field &field, bool high) {
        const std::string set = std::string(field.name) + "_set";
        u32 err = 0;
        if (field.kind == FieldKind::vstring) {
            const Text text(high ? "a longer text than the other one" : "text");
            typed(set, {object, text.get(), &err});
        } else if (field.kind == FieldKind::address) {
            const u8 bytes[4] = {high ? u8{200} : u8{10}, 0, 0, 1};
            ip_address address;
            ip_address_refer(&address, KEL_ADDRESS_IPV4, bytes);
            typed(set, {object, &address, &err});
        } else {
            // The greater one has the highest bit: the order is unsigned.
            const u32 top = field.kind == FieldKind::u_int8 ? 0x80U : 0x80000000U;
            typed(set + "_value", {object, high ? top : 1U, &err});
        }
        EXPECT_EQ(err, 0U);
    }
    std::int32_t compare(const void *a, const void *b) const {
        return call<std::int32_t>(typed.name("compare"), {a, b});
    }
    // The order by only this field.
    std::int32_t order_of(const Field &field, const void *a, const void *b) const {
        if (field.kind == FieldKind::vstring) {
            return kel_vstring_compare(reinterpret_cast<const kel_vstring *>(at(a, field.offset)),
                                       reinterpret_cast<const kel_vstring *>(at(b, field.offset)));
        }
        if (field.kind == FieldKind::address) {
            return ip_address_compare(reinterpret_cast<const ip_address *>(at(a, field.offset)),
                                      reinterpret_cast<const ip_address *>(at(b, field.offset)));
        }
        return 1;
    }

    Session session;
    kel_handle *const handle = session.handle();
    const Typed typed{structure(GetParam().name), handle};
    std::vector<void *> objects;
};
INSTANTIATE_TEST_SUITE_P(Every, KeyStructures, ::testing::ValuesIn(key_structures),
                         [](const ::testing::TestParamInfo<KeyStructure> &each) {
                             return std::string(each.param.name);
                         });

TEST_P(KeyStructures, HaveTheirFieldsInTheOrderOfComparison) {
    const auto fields = fields_of(typed.type());
    ASSERT_EQ(fields.size(), GetParam().fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_STREQ(fields[i].name, GetParam().fields[i].first);
        EXPECT_EQ(fields[i].kind, GetParam().fields[i].second) << fields[i].name;
    }
}

TEST_P(KeyStructures, AreOrderedByTheFirstFieldThatDiffers) {
    const auto fields = fields_of(typed.type());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        void *a = low();
        void *b = low();
        EXPECT_EQ(compare(a, b), 0);
        put(b, fields[i], true);
        const std::int32_t expected = order_of(fields[i], b, a);
        EXPECT_GT(expected, 0);
        EXPECT_EQ(compare(b, a), expected) << fields[i].name;
        EXPECT_EQ(compare(a, b), -expected) << fields[i].name;
        // The fields after it, greater in the other one, change nothing.
        for (std::size_t j = i + 1; j < fields.size(); ++j) put(a, fields[j], true);
        EXPECT_EQ(compare(b, a), expected) << fields[i].name;
    }
}

TEST_P(KeyStructures, PutNullFirst) {
    const void *object = low();
    EXPECT_EQ(compare(nullptr, nullptr), 0);
    EXPECT_EQ(compare(nullptr, object), -1);
    EXPECT_EQ(compare(object, nullptr), 1);
}

}  // namespace
}  // namespace tarn::test
