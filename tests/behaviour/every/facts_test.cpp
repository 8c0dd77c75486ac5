// SPDX-License-Identifier: Apache-2.0
// Counts the items of the schema.
#include <map>

#include "tarnbase/module.h"
#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/items.h"
#include "tests/behaviour/every/state_lengths.h"

namespace tarn::test {
namespace {

std::string kind_of(const Field &field) {
    return is_number(field.kind) ? "integer" : facts_of(field.kind).name;
}

std::string kind_of(const Table &each) {
    if (each.key_type != nullptr) return "composite";
    return std::string(each.key->name) == "singleton_id" ? "singleton" : kind_of(*each.key);
}

TEST(Facts, StructuresHaveTheirFieldsByKind) {
    std::map<std::string, u32> fields;
    u32 all = 0;
    for (const Structure *type : all_structures()) {
        for (const Field &field : fields_of(*type)) {
            ++fields[kind_of(field)];
            ++all;
        }
    }
    EXPECT_EQ(all_structures().size(), 61U);
    EXPECT_EQ(all, 427U);
    EXPECT_EQ(fields, (std::map<std::string, u32>{{"integer", 308},
                                                  {"boolean", 23},
                                                  {"enumeration", 27},
                                                  {"vstring", 47},
                                                  {"address", 4},
                                                  {"structure", 16},
                                                  {"array", 2}}));
}

TEST(Facts, ThereAreTwentyEnumerations) { EXPECT_EQ(all_enumerations().size(), 20U); }

TEST(Facts, TablesHaveTheirKeysByKind) {
    std::map<std::string, u32> tables;
    for (const Table *each : all_tables()) ++tables[kind_of(*each)];
    EXPECT_EQ(all_tables().size(), 45U);
    EXPECT_EQ(tables, (std::map<std::string, u32>{{"singleton", 10},
                                                  {"integer", 11},
                                                  {"vstring", 12},
                                                  {"address", 1},
                                                  {"enumeration", 1},
                                                  {"composite", 10}}));
}

TEST(Facts, EveryStateBlockHasItsLength) {
    std::size_t listed = 0;
    for (const StateLength &each : state_lengths) {
        EXPECT_EQ(structure(each.structure).state_length, each.bytes) << each.structure;
        ++listed;
    }
    EXPECT_EQ(listed, all_structures().size());
}

// Structures, then enumerations, then two per table, and nothing else.
TEST(Facts, TheDescriptorListHasEveryItemOnce) {
    std::map<std::string, u32> kinds;
    std::map<std::string, u32> names;
    for (const kel_type_info *const *each = tarnbase_type_list; *each != nullptr; ++each) {
        ++kinds[(*each)->kind];
        ++names[(*each)->name];
    }
    EXPECT_EQ(kinds, (std::map<std::string, u32>{
                         {"type", 61}, {"enum", 20}, {"table", 45}, {"table_record", 45}}));
    EXPECT_EQ(names.size(), 171U);
}

TEST(Facts, TheDirectoryHasEachTableInTheOrderOfTheLuids) {
    const Session session;
    std::string before;
    std::int32_t index = 0;
    for (const Table *each : all_tables()) {
        EXPECT_LT(before, each->luid_text) << each->name;
        before = each->luid_text;
        EXPECT_EQ(call<std::int32_t>("tarnbase_table_mrst_lookup", {each->luid}), index)
            << each->name;
        const void *const *vector = nullptr;
        u32 err = 0;
        call("tarnbase_table_get_vft", {session.handle(), KEL_TX_NONE, each->luid, &vector, &err});
        EXPECT_EQ(err, 0U) << each->name;
        EXPECT_EQ(vector, tarnbase_table_lut[index]) << each->name;
        const auto *own =
            static_cast<const void *const *>(symbol(std::string(each->name) + "_table_vft"));
        for (u32 slot = 0; slot < KEL_TABLE_VFT_SLOTS; ++slot) {
            EXPECT_EQ(vector[slot], own[slot]) << each->name << ", slot " << slot;
        }
        ++index;
    }
}

TEST(Facts, EachTableHasItsNameAndLuid) {
    for (const Table *each : all_tables()) {
        const std::string prefix = std::string("table_") + each->name;
        EXPECT_EQ(static_cast<const u8 *>(symbol(prefix + "_luid")), each->luid);
        EXPECT_STREQ(static_cast<const char *>(symbol(prefix + "_luid_text")), each->luid_text);
        EXPECT_STREQ(each->table_descriptor->name, each->name);
        EXPECT_STREQ(each->record_descriptor->name, (std::string(each->name) + "_record").c_str());
        EXPECT_STREQ(each->table_descriptor->luid_text, each->luid_text);
    }
}

}  // namespace
}  // namespace tarn::test
