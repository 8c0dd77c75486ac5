// SPDX-License-Identifier: Apache-2.0
// A table's vector: 48 slots in an order that is a contract with the runtime.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/subject.h"

namespace tarn::test {
namespace {

#define TARN_SLOTS(T)                                                                              \
    T##_table_open_unsafe, T##_table_open_by_id_unsafe, T##_table_open_by_ior_with_name_unsafe,    \
        T##_table_open_by_ior_with_id_unsafe, T##_table_close_unsafe, T##_table_free_unsafe,       \
        T##_table_record_create_cb_unsafe, T##_table_record_modify_cb_unsafe,                      \
        T##_table_record_delete_cb_unsafe, T##_table_record_create_dm_cb_unsafe,                   \
        T##_table_record_delete_dm_cb_unsafe, T##_table_record_grouping_cb_unsafe,                 \
        T##_table_record_free_cb_unsafe, T##_search_unsafe, T##_search_w_src_unsafe,               \
        T##_create_record_unsafe, T##_record_add_ref_unsafe, T##_destroy_record_unsafe,            \
        T##_insert_unsafe, T##_delete_unsafe, T##_pkey_insert_unsafe, T##_pkey_get_next_unsafe,    \
        T##_pkey_get_prev_unsafe, T##_pkey_get_first_unsafe, T##_pkey_get_last_unsafe,             \
        T##_table_get_count_unsafe, T##_table_get_count_by_src_unsafe,                             \
        T##_pkey_get_first_by_src_unsafe, T##_pkey_get_first_ignore_src_unsafe,                    \
        T##_pkey_get_next_by_src_unsafe, T##_pkey_get_next_ignore_src_unsafe,                      \
        T##_table_record_print_unsafe, T##_table_record_to_xml_unsafe,                             \
        T##_table_record_from_xml_unsafe, T##_table_record_is_modified_unsafe,                     \
        T##_request_record_destroy_unsafe, T##_table_record_marshal_unsafe,                        \
        T##_table_record_unmarshal_unsafe, T##_table_record_len_unsafe,                            \
        T##_table_pkey_marshal_unsafe, T##_table_pkey_unmarshal_unsafe, T##_table_pkey_len_unsafe, \
        T##_pkey_destroy_unsafe, T##_get_next_by_key_unsafe, T##_get_prev_by_key_unsafe,           \
        T##_pkey_print_unsafe

template <typename... Functions>
void expect_slots(const char *table, const void *const *vector, Functions *...functions) {
    const void *const expected[] = {reinterpret_cast<const void *>(functions)...};
    static_assert(sizeof...(functions) == KEL_TABLE_VFT_SLOTS - KEL_SLOT_TABLE_OPEN);
    for (std::size_t i = 0; i < sizeof...(functions); ++i) {
        const std::size_t slot = KEL_SLOT_TABLE_OPEN + i;
        EXPECT_EQ(vector[slot], expected[i]) << table << ", slot " << slot;
    }
}

#define TARN_EXPECT_SLOTS(T) expect_slots(#T, T##_table_vft, TARN_SLOTS(T))

TEST(Vector, HasTheUnsafeOperationsOfItsTableInAFixedOrder) {
    TARN_EXPECT_SLOTS(tbl_ldap_conn);
    TARN_EXPECT_SLOTS(tbl_ldap_stats);
    TARN_EXPECT_SLOTS(tbl_ldap_summary);
    TARN_EXPECT_SLOTS(tbl_test_number);
    TARN_EXPECT_SLOTS(tbl_test_label);
    TARN_EXPECT_SLOTS(tbl_test_address);
    TARN_EXPECT_SLOTS(tbl_test_lamp);
    TARN_EXPECT_SLOTS(tbl_test_grown);
    TARN_EXPECT_SLOTS(tbl_test_pair);
}

TEST(Vector, BeginsWithTheIdentityAndTheTextOfItsTable) {
    for (const Subject *s : all_subjects) {
        SCOPED_TRACE(s->name);
        EXPECT_EQ(s->vector[KEL_SLOT_LUID], s->entry.luid);
        EXPECT_EQ(std::string("table ") + s->name,
                  static_cast<const char *>(s->vector[KEL_SLOT_NAME]));
        EXPECT_EQ(std::string("table ") + s->name, catalogue::operations_of(s->entry).name);
        EXPECT_EQ(0, std::memcmp(s->entry.luid, s->entry.descriptor->luid, 16));
        EXPECT_STREQ(s->luid_text, s->entry.descriptor->luid_text);
    }
}

TEST(Vector, OfTheLdapTablesHasTheirFixedIdentities) {
    EXPECT_STREQ(table_tbl_ldap_conn_luid_text, "b1bbd13dd7e17f84a70ee216797542cc");
    EXPECT_STREQ(table_tbl_ldap_summary_luid_text, "9afabe92091c77e82b113d67a04432aa");
    EXPECT_STREQ(table_tbl_ldap_stats_luid_text, "e520e0f5ffae1e03458a77fe1cb426e7");
}

}  // namespace
}  // namespace tarn::test
