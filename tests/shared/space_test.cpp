// SPDX-License-Identifier: Apache-2.0
// Stores on file systems that are full: what doesn't fit is rolled back whole, and the store
// stays usable.
#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/trace.hpp"
#include "tests/shared/connections.h"
#include "tests/shared/mounts.h"

namespace shared_test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t disk_page = 4096;

class FullFileSystem : public SharedStore {
 protected:
    void SetUp() override { fs::create_directory(mounted); }

    // Runs a body in a process that may mount a file system in memory at `mounted`.
    void run(const std::function<void()> &body) {
        Child child([&](Child &) {
            enter_own_mounts();
            if (!mount(8)) Child::skip("no file system in memory can be mounted");
            ::umount2(mounted.c_str(), MNT_DETACH);
            body();
        });
        const int result = child.join();
        if (result == Child::skipped) GTEST_SKIP() << "mounting isn't permitted";
        EXPECT_EQ(result, 0);
    }
    bool mount(std::uint64_t pages) const {
        const std::string size = "size=" + std::to_string(pages * disk_page);
        return ::mount("tmpfs", mounted.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }

    std::string mounted = directory / "mounted";
    std::string on_it = mounted + "/full.store";
};

// Fills the file system but for about `free` bytes.
void fill(const std::string &file, std::uint64_t free) {
    const auto space = fs::space(fs::path(file).parent_path());
    need(space.available > free, "there is too little space to fill");
    const std::string zeros(space.available - free, 'x');
    tarn::test::write_file(file, zeros);
}

tarn::test::Outcome expect(std::vector<std::string> arguments, int exit_code) {
    const std::string command = arguments.front();
    tarn::test::Outcome outcome = tarnctl(std::move(arguments));
    need(outcome.exit_code == exit_code, "tarnctl " + command + " ends with " +
                                             std::to_string(outcome.exit_code) + ": " +
                                             outcome.err);
    return outcome;
}

TEST_F(FullFileSystem, AnImportThatDoesNotFitIsRolledBackWhole) {
    constexpr std::uint32_t count = 5000;
    Connections::create(path, numbered("import", count));
    const std::string document = directory / "import.json";
    ASSERT_EQ(tarnctl({"export", "-s", path, "-o", document}).exit_code, 0);
    run([&] {
        need(mount((8 << 20) / disk_page), "mount");
        const Content before = {{"a", 1}};
        Connections::create(on_it, before);
        const std::string filler = mounted + "/filler";
        fill(filler, 300 << 10);
        const auto refused = expect({"import", "-s", on_it, document}, 4);
        need(refused.err.find("No space left on device") != std::string::npos, refused.err);
        need(Connections(on_it).content() == before, "a part of the import is in the store");
        expect({"show", "ldap_conn", "-s", on_it}, 0);
        expect({"store", "check", on_it}, 0);
        expect({"set", "ldap_conn", "a", "num_conns=2", "-s", on_it}, 0);
        // Also when there is nothing left at all.
        fill(mounted + "/more", 0);
        expect({"import", "-s", on_it, document}, 4);
        need(Connections(on_it).content() == Content{{"a", 2}}, "the content is wrong");
        fs::remove(filler);
        fs::remove(mounted + "/more");
        expect({"import", "-s", on_it, document}, 0);
        Content after = numbered("import", count);
        after["a"] = 2;
        need(Connections(on_it).content() == after, "the import isn't complete");
        expect({"store", "check", on_it}, 0);
    });
}

TEST_F(FullFileSystem, AStoreIsReadWhereNoPageIsLeft) {
    run([&] {
        need(mount((8 << 20) / disk_page), "mount");
        Connections::create(on_it, numbered("record", 3000));
        need(kel_store_checkpoint(Connections(on_it).store.c_store()) == 0, kel_error_text());
        fill(mounted + "/filler", 0);
        Connections connections(on_it);
        need(connections.content() == numbered("record", 3000), "the content is wrong");
        // The memory of a process isn't the file system's.
        tarn::transaction transaction(connections.session);
        for (const auto &[name, number] : numbered("more", 3000)) connections.set(name, number);
        transaction.rollback();
        need(connections.content() == numbered("record", 3000), "the rollback isn't complete");
    });
}

// A journal with so much that could be given up, on a disk with little more space.
void start_journal_and_fill(Connections &connections, const std::string &filler,
                            std::uint32_t full_disk) {
    constexpr std::uint32_t changes = 40;
    kel_journal_settings settings{};
    settings.enabled = 1;
    settings.full_disk = full_disk;
    tarn::set_journal(connections.store, settings);
    for (std::uint32_t i = 0; i < changes; ++i) {
        tarn::transaction transaction(connections.session);
        for (const auto &[name, number] : numbered("record", 100)) {
            connections.set(name, number + i);
        }
        transaction.commit();
    }
    need(kel_store_compact(connections.store.c_store()) == 0, kel_error_text());
    fill(filler, 0);
}

// Commits until the log needs another segment. Returns the last number that was committed.
std::uint32_t commit_until_full(Connections &connections, std::uint32_t &error) {
    std::uint32_t last = 0;
    for (std::uint32_t i = 1; i <= 2000; ++i) {
        tarn::transaction transaction(connections.session);
        connections.set("a", i);
        const auto done = transaction.try_commit();
        error = done ? 0 : done.error().number();
        if (error != 0) break;
        last = i;
    }
    return last;
}

TEST_F(FullFileSystem, AJournalThatMayHaveAGapGivesUpItsPast) {
    run([&] {
        need(mount((16 << 20) / disk_page), "mount");
        Connections::create(on_it, {{"a", 1}});
        Connections connections(on_it);
        start_journal_and_fill(connections, mounted + "/filler", KEL_FULL_DISK_GAP);
        const auto before = tarn::try_describe_journal(connections.store).value();
        need(before.gap == 0 && before.checkpoints > 1, "the journal has no past");
        std::uint32_t error = 0;
        need(commit_until_full(connections, error) == 2000 && error == 0, kel_error_text());
        const auto after = tarn::try_describe_journal(connections.store).value();
        need(after.gap > before.begin && after.begin >= after.gap && after.gap_time != 0,
             "there is no gap");
        need(connections.number("a") == 2000, "the content is wrong");
        expect({"store", "check", on_it}, 0);
    });
}

TEST_F(FullFileSystem, AJournalIsKeptAndTheCommitRefusedOtherwise) {
    run([&] {
        need(mount((16 << 20) / disk_page), "mount");
        Connections::create(on_it, {{"a", 1}});
        Connections connections(on_it);
        start_journal_and_fill(connections, mounted + "/filler", KEL_FULL_DISK_REFUSE);
        const auto before = tarn::try_describe_journal(connections.store).value();
        std::uint32_t error = 0;
        const std::uint32_t last = commit_until_full(connections, error);
        need(error == ENOSPC, "the disk isn't full");
        need(connections.number("a") == std::max(last, 1U), "the commit isn't rolled back");
        const auto after = tarn::try_describe_journal(connections.store).value();
        need(after.gap == 0 && after.begin == before.begin, "the journal has lost something");
        expect({"store", "check", on_it}, 0);
    });
}

// Does what it can, and is told that there is no space for the rest.
struct Workload {
    std::string path;
    Content committed;
    bool is_created = false;
    std::uint32_t failures = 0;

    void create() {
        auto made = tarn::store::try_create(path, {64 << 20, nullptr});
        check(made ? 0 : made.error().number());
        if (!made) return;
        tarn::session session(*made);
        auto transaction = tarn::transaction::try_begin(session);
        check(transaction ? 0 : transaction.error().number());
        if (!transaction) return;
        tarn::table<tarn::ldap_conn>::open_or_create(session, table_name);
        is_created = end(*transaction);
    }
    void work() {
        Connections connections(path);
        for (std::uint32_t i = 0; i < 6; ++i) {
            Content changed;
            for (std::uint32_t j = 0; j < 40; ++j) {
                changed["record" + std::to_string(40 * i + j)] = i;
            }
            changed["record0"] = 100 + i;
            auto transaction = tarn::transaction::try_begin(connections.session);
            check(transaction ? 0 : transaction.error().number());
            if (!transaction) continue;
            for (const auto &[name, number] : changed) connections.set(name, number);
            if (end(*transaction)) {
                for (const auto &[name, number] : changed) committed[name] = number;
            }
            need(connections.content() == committed, "a part of a transaction is in the copy");
            if (i % 2 == 1) check(kel_store_checkpoint(connections.store.c_store()));
        }
    }
    bool end(tarn::transaction &transaction) {
        const auto done = transaction.try_commit();
        check(done ? 0 : done.error().number());
        return static_cast<bool>(done);
    }
    void check(std::uint32_t error) {
        need(error == 0 || error == ENOSPC || error == EBUSY, kel_error_text());
        failures += error == ENOSPC ? 1 : 0;
    }
};

TEST_F(FullFileSystem, AtEveryPageTheStoreStaysWhatWasCommitted) {
    run([&] {
        const tarn::quiet_scope quiet;
        std::uint32_t last_failures = 1;
        for (std::uint64_t pages = 1; last_failures > 0 && pages < 500; ++pages) {
            need(mount(pages), "mount");
            Workload workload{on_it, {}};
            workload.create();
            const std::string where = "with " + std::to_string(pages) + " pages: ";
            if (workload.is_created) {
                workload.work();
                need(Connections(on_it).content() == workload.committed,
                     where + "another process finds something else");
            }
            last_failures = workload.failures;
            need(::umount2(mounted.c_str(), MNT_DETACH) == 0, where + "umount");
        }
        need(last_failures == 0, "the workload never fits");
    });
}

}  // namespace
}  // namespace shared_test
