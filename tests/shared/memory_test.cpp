// SPDX-License-Identifier: Apache-2.0
// What a process and the disk have for a store after many changes.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <vector>

#include "tarnbase/module.h"
#include "tests/shared/connections.h"

namespace shared_test {
namespace {

using Memory = SharedStore;

// The lines of /proc/self/smaps about a store's range.
std::vector<std::string> lines_about(const tarn::store &store) {
    const auto base = reinterpret_cast<std::uintptr_t>(store.describe().base);
    std::ifstream lines("/proc/self/smaps");
    std::vector<std::string> found;
    std::uint64_t first = 0;
    for (std::string line; std::getline(lines, line);) {
        std::uint64_t begin = 0, end = 0;
        if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " ", &begin, &end) == 2) first = begin;
        if (first >= base && first - base < store.describe().capacity) found.push_back(line);
    }
    return found;
}

// Bytes of a store's range that only this process has.
std::uint64_t own_bytes(const tarn::store &store) {
    std::uint64_t own = 0, kilobytes = 0;
    for (const std::string &line : lines_about(store)) {
        if (std::sscanf(line.c_str(), "Anonymous: %" SCNu64, &kilobytes) == 1)
            own += kilobytes << 10;
    }
    return own;
}

// Whether the system was told to use large pages for some of a store's range.
bool has_large_pages(const tarn::store &store) {
    return std::ranges::any_of(lines_about(store), [](const std::string &line) {
        return line.starts_with("VmFlags:") && line.find(" hg") != std::string::npos;
    });
}

TEST_F(Memory, OfALargeStoreIsInLargePages) {
    Connections::create(path, {});
    Connections connections(path);
    EXPECT_FALSE(has_large_pages(connections.store)) << "a small one takes no more than it needs";
    {
        tarn::transaction transaction(connections.session);
        for (const auto &[name, number] : numbered("record", 40000)) connections.set(name, number);
        transaction.commit();
    }
    EXPECT_TRUE(has_large_pages(connections.store));
}

TEST_F(Memory, OfAReaderIsReturnedWhenThereIsANewCheckpoint) {
    constexpr std::uint32_t count = 60000;
    Connections::create(path, numbered("record", count), {256 << 20, nullptr});
    // Some of each page, and not so many that a checkpoint is due.
    Content changed, expected = numbered("record", count);
    for (auto &[name, number] : expected) {
        if (number % 8 == 0) changed[name] = number += 1;
    }
    // Those that were inserted last, so that pages are freed that the checkpoint contains.
    std::vector<std::string> erased;
    for (auto each = expected.rbegin(); erased.size() < count / 16; ++each) {
        erased.push_back(each->first);
    }
    Child writer([&](Child &test) {
        test.await();
        Connections connections(path);
        {
            tarn::transaction transaction(connections.session);
            for (const auto &[name, number] : changed) connections.set(name, number);
            transaction.commit();
        }
        test.tell();
        test.await();
        need(kel_store_checkpoint(connections.store.c_store()) == 0, kel_error_text());
        tarn::transaction transaction(connections.session);
        auto table = connections.table();
        for (const std::string &name : erased) table.erase(name);
        connections.set("last", 1);
        transaction.commit();
    });
    Connections reader(path);
    const std::uint64_t size = reader.store.describe().size;
    kel_record *held = reader.table().find("record1")->c_record();
    std::uint32_t error = 0;
    tbl_ldap_conn_record_add_ref(reader.session.c_handle(), KEL_TX_NONE, held, &error);
    ASSERT_EQ(error, 0U);
    writer.tell();
    writer.await();
    reader.store.refresh();
    EXPECT_EQ(reader.content(), expected);
    const std::uint64_t own = own_bytes(reader.store);
    EXPECT_GT(own, size / 4);

    writer.tell();
    EXPECT_EQ(writer.join(), 0);
    reader.store.refresh();
    expected["last"] = 1;
    for (const std::string &name : erased) expected.erase(name);
    EXPECT_LT(own_bytes(reader.store), own / 2);
    EXPECT_EQ(reader.content(), expected);
    EXPECT_EQ(reader.table().find("record1")->c_record(), held);
    EXPECT_EQ(held->ref_count, 2U) << "references belong to the process";
    held->ref_count = 1;
    const auto report = [](const char *text, void *) { ADD_FAILURE() << text; };
    EXPECT_EQ(
        kel_store_check(reader.store.c_store(), tarnbase_table_get_vft, report, nullptr, nullptr),
        0U);
    // It can follow, and write.
    reader.commit("record1", 100);
    expected["record1"] = 100;
    EXPECT_EQ(reader.content(), expected);
}

TEST_F(Memory, OfAReaderThatLoadsTheStoreAgainHasItsReferences) {
    Connections::create(path, {{"held", 1}, {"other", 1}});
    Child writer([&](Child &test) {
        test.await();
        Connections connections(path);
        connections.commit("held", 2);
        // The part of the log that the reader has read last is removed.
        for (int i = 0; i < 2; ++i) {
            need(kel_store_compact(connections.store.c_store()) == 0, kel_error_text());
        }
    });
    Connections reader(path);
    kel_record *held = reader.table().find("held")->c_record();
    std::uint32_t error = 0;
    tbl_ldap_conn_record_add_ref(reader.session.c_handle(), KEL_TX_NONE, held, &error);
    ASSERT_EQ(error, 0U);
    writer.tell();
    EXPECT_EQ(writer.join(), 0);
    reader.store.refresh();
    EXPECT_EQ(reader.content(), (Content{{"held", 2}, {"other", 1}}));
    EXPECT_EQ(held->ref_count, 2U);
    EXPECT_EQ(reader.table().find("other")->c_record()->ref_count, 1U);
}

std::uint64_t disk_bytes(const tarn::store &store) {
    kel_store_files files{};
    need(kel_store_describe_files(store.c_store(), &files) == 0, kel_error_text());
    return files.bytes;
}

// Tables that were filled one after another have pages of their own.
TEST_F(Memory, AndDiskAreReturnedWhenHalfOfTheTablesAreEmptied) {
    constexpr std::uint32_t tables = 4, count = 25000;
    tarn::store store = tarn::store::create(path);
    tarn::session session(store);
    const auto change = [&](std::uint32_t table, auto action) {
        tarn::transaction transaction(session);
        auto opened = tarn::table<tarn::ldap_conn>::open_or_create(
            session, table_name + std::to_string(table));
        for (std::uint32_t i = 0; i < count; ++i) action(opened, "record" + std::to_string(i));
        transaction.commit();
    };
    for (std::uint32_t i = 0; i < tables; ++i) {
        change(i, [](auto &table, const std::string &name) { table.insert(table.make(name)); });
    }
    ASSERT_EQ(kel_store_compact(store.c_store()), 0U) << kel_error_text();
    const std::uint64_t full = disk_bytes(store), full_memory = own_bytes(store);
    for (const std::uint32_t i : {0U, 2U}) {
        change(i, [](auto &table, const std::string &name) { table.erase(name); });
    }
    ASSERT_EQ(kel_store_compact(store.c_store()), 0U) << kel_error_text();
    EXPECT_LT(disk_bytes(store), full * 6 / 10);
    EXPECT_LT(own_bytes(store), full_memory * 8 / 10);
    for (const std::uint32_t i : {1U, 3U}) {
        change(i, [](auto &table, const std::string &name) { table.erase(name); });
    }
    ASSERT_EQ(kel_store_compact(store.c_store()), 0U) << kel_error_text();
    EXPECT_LT(disk_bytes(store), full / 10);
    constexpr std::uint64_t large_page = 2 << 20;  // some of the last one is still in use
    EXPECT_LT(own_bytes(store), full_memory / 2 + large_page);
}

}  // namespace
}  // namespace shared_test
