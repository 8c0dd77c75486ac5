// SPDX-License-Identifier: Apache-2.0
// Every search form of each table.
#include <cerrno>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

class TableSearch : public EveryTable {
 protected:
    void SetUp() override {
        for (const u32 number : {1U, 3U, 5U}) records[number] = put(number);
        records[7] = put(3, 2);
    }
    kel_record *search(const std::string &operation, std::vector<Word> arguments) {
        kel_record *found = find(operation, std::move(arguments));
        EXPECT_EQ(err, 0U) << operation;
        return found;
    }

    kel_record *records[8] = {};
};
TARN_EVERY_TABLE(TableSearch);

TEST_P(TableSearch, ByKeyFindsOnlyTheRecord) {
    for (const std::string &twin : twins) {
        const std::string form = by_key("search" + twin);
        for (const u32 number : {1U, 3U, 5U}) {
            EXPECT_EQ(search(form, {table, key(number)}), records[number]);
            check(records[number], number);
        }
        EXPECT_EQ(search(form, {table, key(2)}), nullptr);
        EXPECT_EQ(search(form, {table, key(6)}), nullptr);
        EXPECT_EQ(find(form, {table, nullptr}), nullptr);
        expect_error(ENOENT);
    }
}

TEST_P(TableSearch, ByKeyFindsTheNearestAfterOrBefore) {
    EXPECT_EQ(search(by_key("search_nearest"), {table, key(3)}), records[3]);
    EXPECT_EQ(search(by_key("search_nearest"), {table, key(2)}), records[3]);
    EXPECT_EQ(search(by_key("search_nearest"), {table, key(6)}), nullptr);
    const std::string internal = by_key("search_internal");
    EXPECT_EQ(search(internal, {table, key(4), 0, 1, 1, 0}), nullptr);
    EXPECT_EQ(search(internal, {table, key(4), 1, 1, 1, 0}), records[5]);
    EXPECT_EQ(search(internal, {table, key(4), 1, 0, 1, 0}), records[3]);
}

TEST_P(TableSearch, ByKeyAndSourceFindsTheRecordOfThatSource) {
    EXPECT_EQ(search(by_key("search_w_src"), {table, key(3), 2}), records[7]);
    EXPECT_EQ(search(by_key("search_w_src"), {table, key(3), 0x101}), records[3]);
    EXPECT_EQ(search(by_key("search_w_src"), {table, key(1), 2}), nullptr);
    EXPECT_EQ(search(by_key("search_sub_first"), {table, key(3)}), records[3]);
    EXPECT_EQ(cr<kel_record *>(by_key("search_cr"), {table, key(3), 2, 0}), records[7]);
    EXPECT_EQ(cr<kel_record *>(by_key("search_cr"), {table, key(3), 0, 0}), records[3]);
    EXPECT_EQ(cr<kel_record *>(by_key("search_cr"), {table, key(4), 0, 1}), records[5]);
}

TEST_P(TableSearch, ByObjectFindsWhatByKeyFinds) {
    for (const std::string &twin : twins) {
        EXPECT_EQ(search("search" + twin, {table, key_object(3), 0}), records[3]);
        EXPECT_EQ(search("search" + twin, {table, key_object(4), 0}), nullptr);
        EXPECT_EQ(search("search" + twin, {table, key_object(4), 1}), records[5]);
        EXPECT_EQ(search("search_w_src" + twin, {table, key_object(3), 0, 2}), records[7]);
        EXPECT_EQ(search("search_w_src" + twin, {table, key_object(5), 0, 2}), nullptr);
        EXPECT_EQ(find("search" + twin, {table, nullptr, 0}), nullptr);
        expect_error(ENOENT);
    }
}

TEST_P(TableSearch, StaysWithinTheCurrentTenant) {
    kel_thread_set_tenant(2);
    EXPECT_EQ(search(by_key("search"), {table, key(3)}), nullptr);
    kel_record *other = put(3);
    EXPECT_EQ(search(by_key("search"), {table, key(3)}), other);
    EXPECT_EQ(search(by_key("search_nearest"), {table, key(1)}), other);
    EXPECT_EQ(search("search", {table, key_object(3), 0}), other);
    kel_thread_set_tenant(0);
    EXPECT_EQ(search(by_key("search"), {table, key(3)}), records[3]);
}

TEST_P(TableSearch, SkipsPendingRecords) {
    keldb_request_record_destroy(handle, tx, records[3], &err);
    const std::string form = by_key("search_not_pending_destroy");
    EXPECT_EQ(search(form, {table, key(3), 0}), nullptr);
    EXPECT_EQ(search(form, {table, key(3), 1}), records[5]);
    EXPECT_EQ(search(form, {table, key(1), 0}), records[1]);
    EXPECT_EQ(search(by_key("search"), {table, key(3)}), records[3]);
}

}  // namespace
}  // namespace tarn::test
