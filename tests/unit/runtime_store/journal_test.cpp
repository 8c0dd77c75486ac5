// SPDX-License-Identifier: Apache-2.0
// The journal of a store: who committed, its settings, what is durable.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "runtime/control/journal_settings.h"
#include "tests/unit/runtime_store/journal_store.h"

namespace tarn::test {
namespace {

TEST_F(Journal, FramesSayWhoCommittedAndWhatFor) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, enabled());
    const auto before = static_cast<std::uint64_t>(::time(nullptr)) * 1'000'000'000;
    count(store, 1, 3, "counts");
    count(store, 3, 4);
    const std::vector<JournalEntry> found = signed_entries();
    ASSERT_EQ(found.size(), 3U);
    std::uint64_t time = before;
    for (const JournalEntry &each : found) {
        EXPECT_EQ(each.author->pid, static_cast<std::uint32_t>(::getpid()));
        EXPECT_EQ(each.author->uid, ::getuid());
        EXPECT_EQ(each.author->session, found[0].sequence);
        EXPECT_GE(each.author->time, time);
        EXPECT_LT(each.author->time, before + 60'000'000'000);
        time = each.author->time;
    }
    EXPECT_GE(found[1].author->monotonic, found[0].author->monotonic);
    ASSERT_TRUE(found[0].command.has_value());
    EXPECT_NE(found[0].command->find("runtime_parts_test"), std::string::npos) << *found[0].command;
    EXPECT_FALSE(found[1].command.has_value());
    EXPECT_EQ(found[0].label, "counts");
    EXPECT_EQ(found[1].label, "counts");
    EXPECT_EQ(found[2].label, "");
}

TEST_F(Journal, WithoutOneFramesHaveNoNotes) {
    const OpenStore store(path.c_str());
    make_number(store);
    count(store, 1, 3, "counts");
    for (const JournalEntry &each : entries()) {
        EXPECT_FALSE(each.author.has_value());
        EXPECT_FALSE(each.command.has_value());
        EXPECT_EQ(each.label, "");
    }
    EXPECT_EQ(describe(store).settings.enabled, 0U);
    EXPECT_EQ(describe(store).checkpoints, 1U);
}

TEST_F(Journal, ASessionIsNamedInEachSegment) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, enabled());
    count(store, 1, 6000);
    std::uint64_t segment = ~0ULL;
    std::size_t segments = 0;
    for (const JournalEntry &each : signed_entries()) {
        EXPECT_EQ(each.command.has_value(), each.segment != segment) << each.sequence;
        segments += each.segment != segment ? 1 : 0;
        segment = each.segment;
    }
    EXPECT_GT(segments, 2U);
}

TEST_F(Journal, AnotherOpeningIsAnotherSession) {
    std::optional<OpenStore> store(path.c_str());
    make_number(*store);
    start(*store, enabled());
    count(*store, 1, 2);
    store.reset();
    store.emplace(path.c_str());
    EXPECT_EQ(describe(*store).settings.enabled, 1U);
    count(*store, 2, 3);
    const std::vector<JournalEntry> found = signed_entries();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_NE(found[0].author->session, found[1].author->session);
    EXPECT_TRUE(found[1].command.has_value());
}

TEST_F(Journal, LabelsOfTransactionsThatEndTogetherAreJoined) {
    const OpenStore store(path.c_str());
    std::uint64_t *number = make_number(store);
    start(store, enabled());
    std::uint32_t first = 0, second = 0, third = 0;
    ASSERT_EQ(kel_transaction_begin(store.handle, &first), 0U);
    ASSERT_EQ(kel_transaction_begin(store.handle, &second), 0U);
    ASSERT_EQ(kel_transaction_label(store.handle, first, "one"), 0U);
    ASSERT_EQ(kel_transaction_label(store.handle, second, "two"), 0U);
    store.set(first, number, 1);
    store.set(second, number + 8, 2);
    ASSERT_EQ(kel_transaction_commit(store.handle, first), 0U);
    ASSERT_EQ(kel_transaction_commit(store.handle, second), 0U);
    ASSERT_EQ(kel_transaction_begin(store.handle, &third), 0U);
    ASSERT_EQ(kel_transaction_label(store.handle, third, "rolled back"), 0U);
    ASSERT_EQ(kel_transaction_rollback(store.handle, third), 0U);
    count(store, 3, 4, "three");
    const std::vector<JournalEntry> found = signed_entries();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].label, "one; two");
    EXPECT_EQ(found[1].label, "three");
}

TEST_F(Journal, ALabelThatIsTooLongOrOfNoTransactionIsRefused) {
    const OpenStore store(path.c_str());
    make_number(store);
    EXPECT_EQ(kel_transaction_label(store.handle, 77, "none"), std::uint32_t{EINVAL});
    std::uint32_t tx = 0;
    ASSERT_EQ(kel_transaction_begin(store.handle, &tx), 0U);
    const std::string most(1024, 'x');
    EXPECT_EQ(kel_transaction_label(store.handle, tx, most.c_str()), 0U);
    EXPECT_EQ(kel_transaction_label(store.handle, tx, (most + "x").c_str()), std::uint32_t{E2BIG});
    EXPECT_EQ(kel_transaction_label(store.handle, tx, nullptr), 0U);
    ASSERT_EQ(kel_transaction_rollback(store.handle, tx), 0U);
}

TEST_F(Journal, SettingsAreChecked) {
    const OpenStore store(path.c_str());
    for (const kel_journal_settings &wrong :
         {kel_journal_settings{3, 0, 0, 0, 0, 0}, kel_journal_settings{0, 3, 0, 0, 0, 0},
          kel_journal_settings{0, KEL_DURABILITY_INTERVAL, 0, 0, 0, 0},
          kel_journal_settings{0, KEL_DURABILITY_INTERVAL, 3'600'001, 0, 0, 0},
          kel_journal_settings{0, KEL_DURABILITY_COMMIT, 1, 0, 0, 0},
          kel_journal_settings{0, 0, 0, 2, 0, 0}}) {
        EXPECT_EQ(kel_store_set_journal(store.store, &wrong), std::uint32_t{EINVAL});
    }
    const SmallStore private_store;
    const kel_journal_settings settings = enabled();
    kel_journal_description description;
    EXPECT_EQ(kel_store_set_journal(private_store.store, &settings), std::uint32_t{EINVAL});
    EXPECT_EQ(kel_store_describe_journal(private_store.store, &description), std::uint32_t{EINVAL});
    EXPECT_EQ(kel_store_sync(private_store.store), std::uint32_t{EINVAL});
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    EXPECT_EQ(kel_store_set_journal(store.store, &settings), std::uint32_t{EDEADLK});
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
}

TEST_F(Journal, ADamagedSettingsFileIsNoticed) {
    {
        const OpenStore store(path.c_str());
        start(store, enabled());
    }
    const std::string name = path + "/" + runtime::journal_name;
    const std::string content = read_file(name);
    ASSERT_EQ(content.size(), 72U);
    for (const std::size_t place : {0U, 8U, 17U, 33U, 65U}) {
        std::string damaged = content;
        damaged[place] ^= 1;
        write_file(name, damaged);
        EXPECT_NE(OpenStore(path.c_str()).error, 0U) << place;
    }
    write_file(name, content.substr(0, 40));
    EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG});
    write_file(name, content);
    EXPECT_EQ(OpenStore(path.c_str()).error, 0U);
}

TEST_F(Journal, TheSettingsFileOfAnotherStoreIsRefused) {
    const std::string other = path + "-other";
    for (const std::string &each : {path, other}) {
        const OpenStore store(each.c_str());
        start(store, enabled());
    }
    const std::string name = path + "/" + runtime::journal_name;
    const std::string own = read_file(name);
    write_file(name, read_file(other + "/" + runtime::journal_name));
    EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG});
    write_file(name, own);
    EXPECT_EQ(OpenStore(path.c_str()).error, 0U);
}

TEST_F(Journal, ADurableCommitIsOnTheDiskWhenItReturns) {
    const OpenStore store(path.c_str());
    make_number(store);
    kel_journal_settings settings{};
    settings.durability = KEL_DURABILITY_COMMIT;
    start(store, settings);
    EXPECT_EQ(describe(store).durable, describe(store).end);
    count(store, 1, 4);
    EXPECT_EQ(describe(store).durable, describe(store).end);
    // Over the end of a segment, too.
    fill_log(store, 1);
    count(store, 4, 5);
    EXPECT_EQ(describe(store).durable, describe(store).end);
    EXPECT_EQ(entries().front().author.has_value(), false);
}

TEST_F(Journal, WithAnIntervalTheLogIsFlushedSoon) {
    const OpenStore store(path.c_str());
    make_number(store);
    kel_journal_settings settings{};
    settings.durability = KEL_DURABILITY_INTERVAL;
    settings.interval = 5;
    start(store, settings);
    for (std::uint64_t i = 1; i < 4; ++i) {
        count(store, i, i + 1);
        const std::uint64_t end = describe(store).end;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (describe(store).durable < end && std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_GE(describe(store).durable, end);
    }
}

TEST_F(Journal, ThreadsThatSyncAtOnceAllReturn) {
    const OpenStore store(path.c_str());
    make_number(store);
    count(store, 1, 10);
    EXPECT_EQ(describe(store).durable, 0U);
    std::vector<std::thread> threads;
    std::atomic<unsigned> failed = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 20; ++j) failed += kel_store_sync(store.store) != 0;
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(failed, 0U);
    EXPECT_EQ(describe(store).durable, describe(store).end);
}

}  // namespace
}  // namespace tarn::test
