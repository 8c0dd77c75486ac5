// SPDX-License-Identifier: Apache-2.0
// What each table's index refuses, its messages, and the difference between two keys.
#include <cerrno>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

class TableIndex : public EveryTable {
 protected:
    // How messages name the key.
    std::string label() const {
        return composite() ? std::string(type.key_type->name) + " "
                           : std::string(type.type->name) + " " + type.key->name;
    }
    std::size_t traced(const std::string &after_the_name) const {
        return trace.count(KEL_TRACE_ERROR, std::string("(ERR): ") + type.name + after_the_name);
    }
    u32 compare(const kel_record *a, const kel_record *b) const {
        return call<u32>(key_name("avl_compare"), {a == nullptr ? nullptr : &a->index_node,
                                                   b == nullptr ? nullptr : &b->index_node});
    }
};
TARN_EVERY_TABLE(TableIndex);

TEST_P(TableIndex, NamesTableAndKeyInItsMessages) {
    kel_record *inside = put(1);
    kel_record *same = make(1);
    kel_record *outside = make(2);
    on("insert", {table, same, &err});
    expect_error(EEXIST);
    EXPECT_EQ(traced(" insert record exists for " + label()), 1U) << trace.all();
    on("delete", {table, outside, &err});
    expect_error(ENOENT);
    EXPECT_EQ(traced(" delete, record not found for " + label()), 1U) << trace.all();
    kel_table_set_replication(handle, tx, table, 1, 0);
    on("delete", {table, inside, &err});
    expect_error(EINVAL);
    EXPECT_EQ(traced("_delete() cannot be direclty used when the table is marked for replication"),
              1U)
        << trace.all();
    kel_table_set_replication(handle, tx, table, 0, 0);

    table->record_count = 0;
    on("delete", {table, inside, &err});
    EXPECT_EQ(traced(" delete: record count already 0!"), 1U) << trace.all();
    table->src_counts[1] = 0;
    on("insert", {table, inside, &err});
    table->src_counts[1] = 0;
    on("delete", {table, inside, &err});
    EXPECT_EQ(traced(" delete: src(1) record count already 0!"), 1U) << trace.all();
    EXPECT_EQ(err, 0U);
    table->record_count = 0;
    for (kel_record *record : {inside, same, outside}) drop(record);
}

TEST_P(TableIndex, PutsANullNodeFirst) {
    kel_record *record = make(1);
    EXPECT_EQ(compare(nullptr, nullptr), 1U);
    EXPECT_EQ(compare(nullptr, record), 0U);
    EXPECT_EQ(compare(record, nullptr), 2U);
    drop(record);
}

TEST_P(TableIndex, HasAKeyOncePerTenantAndSource) {
    kel_record *first = put(1);
    kel_record *shadow = put(1, KEL_SOURCE_SHADOW);
    kel_thread_set_tenant(2);
    kel_record *other = put(1);
    EXPECT_EQ(find(by_key("search"), {table, key(1)}), other);
    kel_thread_set_tenant(0);
    EXPECT_EQ(find(by_key("search"), {table, key(1)}), first);
    EXPECT_EQ(walk(), (std::vector<kel_record *>{first, shadow, other}));
    EXPECT_EQ(table->record_count, 3U);
    EXPECT_EQ(table->src_counts[1], 2U);
    kel_thread_set_tenant(2);
    drop(other);
}

// The last field too, which in some keys is the kind of search.
TEST_P(TableIndex, DistinguishesKeysByEachOfTheirFields) {
    const auto carrier = [this](kel_record *record) {
        return composite() ? record->key_object : record->object;
    };
    const auto fields =
        composite() ? fields_of(*type.key_type) : std::span<const Field>(type.key, 1);
    kel_record *first = put(1);
    for (const Field &field : fields) {
        kel_record *record = make(1);
        for (u32 seed = 2; compare(first, record) == 1; ++seed) {
            Typed(key_carrier(), handle).fill_field(carrier(record), field, seed);
        }
        on("insert", {table, record, &err});
        EXPECT_EQ(err, 0U) << field.name;
        EXPECT_EQ(find("search", {table, carrier(record), 0}), record) << field.name;
        EXPECT_EQ(find("search", {table, carrier(first), 0}), first) << field.name;
        drop(record);
    }
}

}  // namespace
}  // namespace tarn::test
