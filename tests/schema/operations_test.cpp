// SPDX-License-Identifier: Apache-2.0
// How many operations each item exports, and how they are written.
#include "operations.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "context.h"
#include "support.h"
#include "tarnbase/vector.h"

using tarn::test::compile;
using tarn::test::item;
using tarn::test::schema_path;

namespace {

struct Count {
    std::size_t functions = 0;
    std::size_t weak = 0;
    std::size_t twins = 0;
};

template <typename Item>
Count count(const tarnc::Schema &schema, const Item &of, const char *catalogue) {
    Count result;
    for (const auto &each : tarnc::list_operations(catalogue, context_of(schema, of))) {
        (each.is_weak ? result.weak : result.functions) += each.names().size();
        result.twins += each.has_twin ? 1 : 0;
    }
    return result;
}

const tarnc::Schema &tests() {
    static const tarnc::Schema schema = compile(schema_path("test.tarn"));
    return schema;
}

TEST(Operations, TableKeyedByAFieldHas166And7Handlers) {
    for (const char *name : {"tbl_ldap_conn", "tbl_test_number", "tbl_test_label",
                             "tbl_test_address", "tbl_test_lamp", "tbl_test_grown"}) {
        const Count found = count(tests(), item(tests().tables, name), "table.ops");
        EXPECT_EQ(found.functions, 166U) << name;
        EXPECT_EQ(found.weak, 7U) << name;
        EXPECT_EQ(found.twins, 56U) << name;
    }
}

TEST(Operations, TableKeyedByAStructureHas170And7Handlers) {
    const Count found = count(tests(), item(tests().tables, "tbl_test_pair"), "table.ops");
    EXPECT_EQ(found.functions, 170U);
    EXPECT_EQ(found.weak, 7U);
    EXPECT_EQ(found.twins, 56U);
}

TEST(Operations, StructureHas38AndThoseOfItsFields) {
    for (const tarnc::Structure &structure : tests().structures) {
        std::size_t expected = 38;
        for (const tarnc::Field &field : structure.fields)
            expected += field.kind == tarnc::FieldKind::array ? 13
                        : field.has_plain_value()             ? 6
                                                              : 4;
        const Count found = count(tests(), structure, "structure.ops");
        EXPECT_EQ(found.functions, expected) << structure.name;
        EXPECT_EQ(found.twins, 0U) << structure.name;
    }
}

TEST(Operations, EnumerationHas32) {
    for (const tarnc::Enumeration &enumeration : tests().enumerations)
        EXPECT_EQ(count(tests(), enumeration, "enumeration.ops").functions, 32U)
            << enumeration.name;
}

TEST(Operations, SomeFormsAreMissingOnPurpose) {
    std::set<std::string> names;
    const auto &table = item(tests().tables, "tbl_ldap_conn");
    for (const auto &each : tarnc::list_operations("table.ops", context_of(tests(), table))) {
        for (const std::string &name : each.names()) names.insert(name);
    }
    for (const char *missing : {"tbl_ldap_conn_st_ldap_conn_sname_get_last_ignore_src",
                                "tbl_ldap_conn_st_ldap_conn_sname_get_prev_by_key_w_src",
                                "tbl_ldap_conn_pkey_get_first_not_pending_destroy",
                                "tbl_ldap_conn_get_next_by_key_w_src_unsafe",
                                "tbl_ldap_conn_st_ldap_conn_sname_get_next_unsafe",
                                "tbl_ldap_conn_create_record_w_src_unsafe"})
        EXPECT_EQ(names.count(missing), 0U) << missing;
}

TEST(Operations, EveryOperationIsDescribed) {
    for (const tarnc::Table &table : tests().tables) {
        for (const auto &each : tarnc::list_operations("table.ops", context_of(tests(), table))) {
            ASSERT_FALSE(each.meaning.empty()) << each.name;
            EXPECT_GT(each.meaning.front().size(), 10U) << each.name;
        }
    }
}

TEST(Operations, VectorHas48SlotsOfUnsafeForms) {
    tarnc::Diagnostics diagnostics;
    const tarnc::Files files = tarnc::emit(tests(), 1, diagnostics);
    ASSERT_TRUE(diagnostics.clean());
    const std::string &stamp = files.at("stamps/tbl_ldap_conn.cpp");
    const std::size_t begin = stamp.find("_table_vft[KEL_TABLE_VFT_SLOTS] = {\n");
    ASSERT_NE(begin, std::string::npos);
    std::istringstream lines(stamp.substr(begin, stamp.find("};", begin) - begin));
    std::vector<std::string> slots;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) slots.push_back(tarnc::trim(line));
    ASSERT_EQ(slots.size(), 48U);
    EXPECT_EQ(slots[KEL_SLOT_LUID], "[KEL_SLOT_LUID] = table_tbl_ldap_conn_luid,");
    EXPECT_EQ(slots[KEL_SLOT_NAME], "[KEL_SLOT_NAME] = table_tbl_ldap_conn_name,");
    EXPECT_EQ(slots[KEL_SLOT_INSERT],
              "[KEL_SLOT_INSERT] = "
              "reinterpret_cast<const void *>(&tbl_ldap_conn_insert_unsafe),");
    for (std::size_t slot = 2; slot < slots.size(); ++slot)
        EXPECT_NE(slots[slot].find("_unsafe),"), std::string::npos) << slots[slot];
}

TEST(Operations, UnusedArgumentsLoseTheirNamesInStamps) {
    tarnc::Operation operation;
    operation.result = "uint32_t ";
    operation.name = "f";
    operation.arguments = {"void *table", "uint32_t unused", "uint32_t *err"};
    operation.body = "return tarnbase::table::f(err);";
    EXPECT_EQ(tarnc::define_operations({operation}),
              "\nuint32_t f(void *, uint32_t, uint32_t *err) {\n    return "
              "tarnbase::table::f(err);\n}\n");
}

TEST(Operations, WideOperationIsDefinedWithAllArgumentsUnderTheExportedName) {
    tarnc::Operation operation;
    operation.result = "uint32_t ";
    operation.name = "f";
    operation.arguments = {"void *node"};
    operation.body = "return g(node, sixth);";
    operation.is_wide = true;
    const std::string text = tarnc::define_operations({operation});
    EXPECT_NE(text.find("__asm__(\"f\");"), std::string::npos) << text;
    EXPECT_NE(text.find("uint32_t f_wide(void *node, uintptr_t second,"), std::string::npos)
        << text;
    EXPECT_EQ(operation.names(), std::vector<std::string>{"f"});
}

TEST(Operations, TwinIsDeclaredWithOneComment) {
    tarnc::Operation operation;
    operation.meaning = {"Does it."};
    operation.result = "void ";
    operation.name = "f";
    operation.arguments = {"void"};
    operation.has_twin = true;
    EXPECT_EQ(tarnc::declare_operations({operation}),
              "\n/* Does it. */\nTARNBASE_API void f(void);\nTARNBASE_API void f_unsafe(void);\n");
}

}  // namespace
