// SPDX-License-Identifier: Apache-2.0
// The layout of table blocks and record blocks, which other processes read.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tarnbase/record.h"

namespace {

using Offsets = std::vector<std::size_t>;

TEST(Blocks, TableMembersAreInOrder) {
    const Offsets offsets = {
        offsetof(kel_table, descriptor),         offsetof(kel_table, variant),
        offsetof(kel_table, table_name),         offsetof(kel_table, record_count),
        offsetof(kel_table, src_counts),         offsetof(kel_table, table_id),
        offsetof(kel_table, open_mode),          offsetof(kel_table, toc_next),
        offsetof(kel_table, toc_prev),           offsetof(kel_table, replication_marked),
        offsetof(kel_table, write_cursor_armed), offsetof(kel_table, range_word),
        offsetof(kel_table, index_root),         offsetof(kel_table, index_aux)};
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    EXPECT_EQ(offsets[0], 0U);
    EXPECT_EQ(offsets[1], 8U);
    EXPECT_EQ(offsets[2], 11U);
    EXPECT_EQ(sizeof(kel_table::table_name), 256U);
    EXPECT_EQ(sizeof(kel_table::record_count), 4U);
    EXPECT_EQ(sizeof(kel_table::src_counts), 256U * 4);
    EXPECT_EQ(sizeof(kel_table::table_id), 8U);
    EXPECT_EQ(sizeof(kel_table::range_word), 8U);
}

TEST(Blocks, TableIdRootMembersAreInOrder) {
    const Offsets offsets = {
        offsetof(kel_table_id_root, reserved), offsetof(kel_table_id_root, id_table_count),
        offsetof(kel_table_id_root, next_id), offsetof(kel_table_id_root, tree_head)};
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    EXPECT_EQ(sizeof(kel_table_id_root::reserved), 8U);
    EXPECT_EQ(sizeof(kel_table_id_root::id_table_count), 4U);
    EXPECT_EQ(sizeof(kel_table_id_root::next_id), 8U);
}

TEST(Blocks, RecordMembersAreInOrderWithTheKeyObjectLast) {
    const Offsets offsets = {offsetof(kel_record, descriptor), offsetof(kel_record, table),
                             offsetof(kel_record, ref_count),  offsetof(kel_record, tenant_id),
                             offsetof(kel_record, flags),      offsetof(kel_record, src),
                             offsetof(kel_record, index_node), offsetof(kel_record, object),
                             offsetof(kel_record, key_object)};
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    EXPECT_EQ(sizeof(kel_record::ref_count), 4U);
    EXPECT_EQ(sizeof(kel_record::tenant_id), 2U);
    EXPECT_EQ(sizeof(kel_record::flags), 1U);
    EXPECT_EQ(sizeof(kel_record::src), 1U);
    EXPECT_EQ(offsets.back(), std::size_t{KEL_RECORD_SIZE});
    EXPECT_EQ(sizeof(kel_record), KEL_RECORD_SIZE + 8U);
}

}  // namespace
