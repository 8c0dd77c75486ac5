// SPDX-License-Identifier: Apache-2.0
// Processes that read beside a writer: what they see, when, and with which rights.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "tests/shared/connections.h"
#include "tests/shared/mounts.h"

namespace shared_test {
namespace {

namespace fs = std::filesystem;

using Readers = SharedStore;

TEST_F(Readers, ASlowOneKeepsItsRecordsWhileAWriterDeletesThem) {
    constexpr std::uint32_t count = 1000;
    Connections::create(path, numbered("record", count));
    Child writer([&](Child &test) {
        Connections connections(path);
        auto table = connections.table();
        test.await();
        for (const auto &[name, number] : numbered("record", count)) {
            tarn::transaction transaction(connections.session);
            table.erase(name);
            connections.set("other" + name, 1);
            transaction.commit();
            if (number % 100 != 0) continue;
            test.tell();
            test.await();
        }
        test.tell();
    });
    Connections reader(path);
    writer.tell();
    const Content expected = numbered("record", count);
    std::uint32_t seen = 0;
    for (const auto record : reader.table()) {
        const std::uint32_t number = record.num_conns();
        EXPECT_EQ(expected.at(std::string(record.sname())), number);
        ++seen;
        if (number % 100 != 0) continue;
        writer.await();
        EXPECT_EQ(record.num_conns(), number);
        EXPECT_EQ(record.sname(), "record" + std::to_string(number));
        writer.tell();
    }
    EXPECT_EQ(seen, count);
    writer.await();
    EXPECT_EQ(writer.join(), 0);
    EXPECT_EQ(reader.content(), expected);
    reader.store.refresh();
    EXPECT_EQ(reader.content().count("record0"), 0U);
    EXPECT_EQ(reader.table().size(), count);
}

std::string shown(const std::string &path) {
    const auto outcome = tarnctl({"show", "ldap_conn", "-s", path, "--json"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    return outcome.out;
}

TEST_F(Readers, SeeNothingThatIsNotCommittedOrIsRolledBack) {
    const Content committed = {{"a", 1}, {"b", 2}};
    Connections::create(path, committed);
    const std::string before = shown(path);
    Child writer([&](Child &test) {
        Connections connections(path);
        {
            tarn::transaction transaction(connections.session);
            for (std::uint32_t i = 0; i < 2000; ++i) {
                connections.set("dirty" + std::to_string(i), i);
            }
            connections.set("a", 99);
            connections.table().erase("b");
            test.tell();
            test.await();
        }
        test.tell();
        test.await();
        connections.commit("a", 3);
        test.tell();
    });
    Connections reader(path);
    const auto expect_nothing = [&] {
        reader.store.refresh();
        EXPECT_EQ(reader.content(), committed);
        EXPECT_EQ(shown(path), before);
    };
    writer.await();
    expect_nothing();
    writer.tell();
    writer.await();
    expect_nothing();
    writer.tell();
    writer.await();
    EXPECT_EQ(writer.join(), 0);
    EXPECT_EQ(reader.content(), committed) << "the copy doesn't change by itself";
    reader.store.refresh();
    EXPECT_EQ(reader.content(), (Content{{"a", 3}, {"b", 2}}));
    EXPECT_NE(shown(path), before);
}

// The names, contents and times of a store's files.
std::string disk_state(const std::string &path) {
    std::string state;
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(path)) names.insert(entry.path().string());
    for (const std::string &name : names) {
        struct stat status {};
        need(::stat(name.c_str(), &status) == 0, name);
        state += name + ' ' + std::to_string(status.st_mtim.tv_sec) + '.' +
                 std::to_string(status.st_mtim.tv_nsec) + ' ' + std::to_string(status.st_blocks) +
                 '\n' + tarn::test::read_file(name);
    }
    return state;
}

// Reads, follows the next commit, and can't write.
void follow_without_rights(const std::string &path, Child &test) {
    Connections reader(path);
    need(reader.store.describe().writable == 0, "the store is open to write");
    need(reader.content() == Content{{"a", 1}}, "the content is wrong");
    const auto refused = tarn::transaction::try_begin(reader.session);
    need(!refused && refused.error().number() == EACCES, "a transaction begins");
    need(kel_store_checkpoint(reader.store.c_store()) == EACCES, "a checkpoint is made");
    test.tell();
    need(reader.store.wait(60000), "nothing was committed");
    reader.store.refresh();
    need(reader.content() == Content{{"a", 2}}, "the commit isn't seen");
}

TEST_F(Readers, NeedNoPermissionToWriteAndAlterNothing) {
    Connections::create(path, {{"a", 1}});
    // Root may write to any file.
    const bool is_root = ::geteuid() == 0;
    fs::permissions(path + "/..", fs::perms(0755));
    for (const auto &entry : fs::directory_iterator(path)) {
        fs::permissions(entry.path(), fs::perms(is_root ? 0644 : 0444));
    }
    const std::string before = disk_state(path);
    Child reader([&](Child &test) {
        if (is_root) need(::setgid(65534) == 0 && ::setuid(65534) == 0, "setuid");
        follow_without_rights(path, test);
    });
    reader.await();
    EXPECT_EQ(disk_state(path), before);
    if (!is_root) {
        for (const auto &entry : fs::directory_iterator(path)) {
            fs::permissions(entry.path(), fs::perms(0644));
        }
    }
    Connections(path).commit("a", 2);
    EXPECT_EQ(reader.join(), 0);
}

TEST_F(Readers, CanUseAMountThatIsReadOnly) {
    Connections::create(path, {{"a", 1}});
    const std::string mounted = directory / "mounted";
    fs::create_directory(mounted);
    const std::string before = disk_state(path);
    Child reader([&](Child &test) {
        enter_own_mounts();
        constexpr unsigned long to_read = MS_BIND | MS_REMOUNT | MS_RDONLY;
        if (::mount(path.c_str(), mounted.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            ::mount(nullptr, mounted.c_str(), nullptr, to_read, nullptr) != 0) {
            Child::skip("a folder can't be mounted to read");
        }
        follow_without_rights(mounted, test);
    });
    try {
        reader.await();
    } catch (const std::exception &) {
        if (reader.join() == Child::skipped) GTEST_SKIP() << "mounting isn't permitted";
        throw;
    }
    EXPECT_EQ(disk_state(path), before);
    Connections(path).commit("a", 2);
    EXPECT_EQ(reader.join(), 0);
}

}  // namespace
}  // namespace shared_test
