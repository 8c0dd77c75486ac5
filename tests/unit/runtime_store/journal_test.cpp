// SPDX-License-Identifier: Apache-2.0
// The journal of a store: who committed, what is kept, what is durable, and what is left of it
// after the machine was started again.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/control/journal_settings.h"
#include "runtime/log/log.h"
#include "runtime/log/notes.h"
#include "runtime/log/segment_files.h"
#include "tarnbase/journal.h"
#include "tests/unit/runtime_store/open_store.h"

namespace tarn::test {
namespace {

namespace runtime = tarnbase::runtime;
using runtime::Checkpoint;
using runtime::Control;
using runtime::LogReader;
using runtime::Notes;

// What a test keeps of a frame's notes.
struct Entry {
    std::uint64_t sequence;
    std::uint64_t segment;
    std::optional<runtime::Author> author;
    std::optional<std::string> command;
    std::string label;
};

class Journal : public StoreTest {
 protected:
    // Reads the store's files as any process can.
    struct Files {
        explicit Files(const std::string &path)
            : folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
            EXPECT_EQ(control.open(folder.descriptor(), path.c_str()), 0U);
        }
        std::vector<runtime::CheckpointEntry> checkpoints() const {
            return runtime::list_checkpoints(folder.descriptor());
        }
        // Opens the log at a checkpoint.
        std::uint32_t open(LogReader &log, std::uint64_t position) const {
            Checkpoint checkpoint;
            const std::uint32_t error =
                checkpoint.open(folder.descriptor(), control.page().id, position);
            if (error != 0) return error;
            const runtime::CheckpointHead &head = checkpoint.head();
            return log.open(folder.descriptor(), head.id, head.segment, head.position,
                            head.sequence + 1);
        }
        runtime::File folder;
        Control control;
    };

    // The frames from the oldest checkpoint on.
    std::vector<Entry> entries() const {
        const Files files(path);
        std::vector<Entry> found;
        LogReader log;
        EXPECT_EQ(files.open(log, files.checkpoints().front().position), 0U);
        const std::uint64_t published = files.control.page().published.load();
        std::span<const char> frame;
        while (log.next(published, frame) == 0) {
            const Notes notes = runtime::read_notes(frame);
            Entry entry{log.next_sequence() - 1, log.segment(), notes.author, {}, {}};
            if (notes.command) entry.command = *notes.command;
            entry.label = notes.label;
            found.push_back(std::move(entry));
        }
        EXPECT_EQ(log.position(), published) << log.what();
        return found;
    }

    // Those that were written with a journal.
    std::vector<Entry> signed_entries() const {
        std::vector<Entry> found = entries();
        std::erase_if(found, [](const Entry &each) { return !each.author.has_value(); });
        return found;
    }

    static kel_journal_settings enabled() {
        kel_journal_settings settings{};
        settings.enabled = 1;
        return settings;
    }
    static void start(const OpenStore &store, const kel_journal_settings &settings) {
        ASSERT_EQ(kel_store_set_journal(store.store, &settings), 0U) << kel_error_text();
    }
    static kel_journal_settings compressed() {
        kel_journal_settings settings{};
        settings.enabled = KEL_JOURNAL_COMPRESSED;
        return settings;
    }
    static kel_journal_compression compression(const OpenStore &store) {
        kel_journal_compression found{};
        EXPECT_EQ(kel_store_describe_compression(store.store, &found), 0U) << kel_error_text();
        return found;
    }
    std::vector<runtime::SegmentFile> segments() const {
        return runtime::list_segments(Files(path).folder.descriptor());
    }
    static kel_journal_description describe(const OpenStore &store) {
        kel_journal_description description{};
        EXPECT_EQ(kel_store_describe_journal(store.store, &description), 0U) << kel_error_text();
        return description;
    }

    static std::uint64_t *make_number(const OpenStore &store) {
        std::uint64_t *number = nullptr;
        EXPECT_EQ(store.change([&](std::uint32_t) { number = store.make("number", 64 << 10); }),
                  0U);
        return number;
    }
    // Commits the numbers [from, to), each with a label if there is one.
    static void count(const OpenStore &store, std::uint64_t from, std::uint64_t to,
                      const char *label = nullptr) {
        std::uint64_t *number = store.find("number");
        ASSERT_NE(number, nullptr);
        for (std::uint64_t i = from; i < to; ++i) {
            ASSERT_EQ(store.change([&](std::uint32_t tx) {
                ASSERT_EQ(kel_transaction_label(store.handle, tx, label), 0U);
                store.set(tx, number, i);
            }),
                      0U)
                << kel_error_text();
        }
    }
    // Fills the log with about so many MiB, and makes a checkpoint.
    static void fill_log(const OpenStore &store, unsigned mebibytes) {
        constexpr std::uint64_t words = 32 << 10 >> 3;
        std::uint64_t *number = store.find("number");
        for (unsigned i = 0; i < mebibytes * 32; ++i) {
            ASSERT_EQ(store.change([&](std::uint32_t tx) {
                store.handle->write_log_hook(store.handle->arena, number, words * 8, tx);
                std::fill_n(number, words, i);
            }),
                      0U);
        }
        ASSERT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
    }

    // As if the machine had been started again since the store was used.
    void restart() const {
        const Files files(path);
        files.control.page().boot.fetch_add(1);
    }
    // Zeros bytes of the log at a position, as far as they are in the segment.
    void damage_log(std::uint64_t position, std::uint64_t bytes) const {
        const Files files(path);
        std::uint64_t first = 0;
        for (const runtime::SegmentFile &each : runtime::list_segments(files.folder.descriptor())) {
            if (each.first <= position) first = each.first;
        }
        runtime::Segment segment;
        ASSERT_EQ(segment.open(files.folder.descriptor(), files.control.page().id, first, true),
                  0U);
        const std::span<char> rest = segment.from(position);
        std::ranges::fill(rest.first(std::min<std::uint64_t>(bytes, rest.size())), '\0');
    }
};

TEST_F(Journal, FramesSayWhoCommittedAndWhatFor) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, enabled());
    const auto before = static_cast<std::uint64_t>(::time(nullptr)) * 1'000'000'000;
    count(store, 1, 3, "counts");
    count(store, 3, 4);
    const std::vector<Entry> found = signed_entries();
    ASSERT_EQ(found.size(), 3U);
    std::uint64_t time = before;
    for (const Entry &each : found) {
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
    for (const Entry &each : entries()) {
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
    for (const Entry &each : signed_entries()) {
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
    const std::vector<Entry> found = signed_entries();
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
    const std::vector<Entry> found = signed_entries();
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

TEST_F(Journal, TheLogIsKeptFromTheOldestCheckpointOn) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, enabled());
    const std::uint64_t begin = describe(store).begin;
    for (int i = 0; i < 4; ++i) fill_log(store, 3);
    const kel_journal_description kept = describe(store);
    EXPECT_EQ(kept.begin, begin);
    EXPECT_GE(kept.checkpoints, 3U);
    EXPECT_GT(kept.bytes, 10ULL << 20);
    // One frame is from before the journal.
    EXPECT_EQ(entries().size(), 1 + 4U * (3 * 32 + 1));
    // Each checkpoint leads to the frames after it.
    const Files files(path);
    for (const runtime::CheckpointEntry &each : files.checkpoints()) {
        LogReader log;
        ASSERT_EQ(files.open(log, each.position), 0U);
        std::span<const char> frame;
        const std::uint32_t error = log.next(kept.end, frame);
        EXPECT_EQ(error, each.position < kept.end ? 0U : std::uint32_t{ENODATA}) << log.what();
    }
}

TEST_F(Journal, WhatIsMoreThanItMayTakeIsRemovedAndReadersNoticeTheGap) {
    const OpenStore store(path.c_str());
    make_number(store);
    kel_journal_settings settings = enabled();
    settings.keep_bytes = 8 << 20;
    start(store, settings);
    const Files files(path);
    LogReader slow;
    ASSERT_EQ(files.open(slow, describe(store).begin), 0U);
    for (int i = 0; i < 8; ++i) fill_log(store, 3);
    const kel_journal_description kept = describe(store);
    EXPECT_GT(kept.checkpoints, 1U);
    // The segment in use isn't counted.
    EXPECT_LE(kept.bytes, (8ULL << 20) + (1 << 20));
    std::span<const char> frame;
    std::uint32_t error = 0;
    while (error == 0) error = slow.next(kept.end, frame);
    EXPECT_EQ(error, std::uint32_t{ENOENT});
    EXPECT_LT(slow.position(), kept.begin);

    settings.keep_bytes = 1;
    start(store, settings);
    EXPECT_EQ(describe(store).checkpoints, 1U);
    settings = {};
    start(store, settings);
    fill_log(store, 3);
    fill_log(store, 3);
    EXPECT_EQ(describe(store).checkpoints, 1U);
    EXPECT_LT(describe(store).bytes, 2ULL << 20);
}

TEST_F(Journal, WhatIsOlderThanItMayBeIsRemoved) {
    const OpenStore store(path.c_str());
    make_number(store);
    kel_journal_settings settings = enabled();
    settings.keep_seconds = 3600;
    start(store, settings);
    for (int i = 0; i < 3; ++i) fill_log(store, 3);
    ASSERT_GE(describe(store).checkpoints, 3U);
    const std::uint64_t newest = Files(path).checkpoints().back().position;
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
    for (const runtime::CheckpointEntry &each : Files(path).checkpoints()) {
        std::filesystem::last_write_time(path + "/" + runtime::checkpoint_name(each.position), old);
    }
    fill_log(store, 3);
    // The log after the newest of them isn't that old. One that the background made shortly before
    // may have taken its place.
    EXPECT_LE(describe(store).begin, newest);
    EXPECT_GT(describe(store).begin + (1 << 20), newest);
}

TEST_F(Journal, TheLogBeforeTheNewestCheckpointIsCompressed) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, compressed());
    for (int i = 0; i < 4; ++i) fill_log(store, 3);
    const kel_journal_compression found = compression(store);
    EXPECT_GT(found.plain_bytes, 10ULL << 20);
    EXPECT_LT(found.bytes, found.plain_bytes / 5);
    EXPECT_LT(describe(store).bytes, 4ULL << 20);
    // One frame is from before the journal.
    EXPECT_EQ(entries().size(), 1 + 4U * (3 * 32 + 1));

    const Files files(path);
    Checkpoint newest;
    ASSERT_EQ(newest.open(files.folder.descriptor(), files.control.page().id,
                          files.checkpoints().back().position),
              0U);
    std::uint64_t count = 0;
    for (const runtime::SegmentFile &each : segments()) {
        EXPECT_EQ(each.is_compressed, each.first < newest.head().segment);
        EXPECT_NE(each.is_plain, each.is_compressed);
        count += each.is_compressed ? 1 : 0;
    }
    EXPECT_EQ(found.segments, count);
}

TEST_F(Journal, OfACompressedLogTheSizeOnDiskCounts) {
    const OpenStore store(path.c_str());
    make_number(store);
    kel_journal_settings settings = compressed();
    settings.keep_bytes = 4 << 20;
    start(store, settings);
    const std::uint64_t begin = describe(store).begin;
    for (int i = 0; i < 8; ++i) fill_log(store, 3);
    EXPECT_EQ(describe(store).begin, begin);
    EXPECT_EQ(entries().size(), 1 + 8U * (3 * 32 + 1));
    // A checkpoint has at least 1 MiB of compressed log before it, but for the first and the newest.
    EXPECT_LE(describe(store).checkpoints, 2 + compression(store).bytes / (1 << 20));

    settings.keep_bytes = 1;
    start(store, settings);
    EXPECT_EQ(describe(store).checkpoints, 1U);
    EXPECT_EQ(compression(store).segments, 0U);
}

TEST_F(Journal, CompressionIsSwitchedOnAndOff) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, enabled());
    EXPECT_EQ(read_file(path + "/" + runtime::journal_name)[8], 1);
    fill_log(store, 3);
    EXPECT_EQ(compression(store).segments, 0U);

    start(store, compressed());
    EXPECT_EQ(read_file(path + "/" + runtime::journal_name)[8], 2);
    const std::uint64_t segments = compression(store).segments;
    EXPECT_GE(segments, 3U * 4);

    start(store, enabled());
    EXPECT_EQ(read_file(path + "/" + runtime::journal_name)[8], 1);
    fill_log(store, 3);
    EXPECT_EQ(compression(store).segments, segments);
    EXPECT_EQ(entries().size(), 1 + 2U * (3 * 32 + 1));

    start(store, {});
    EXPECT_EQ(compression(store).segments, 0U);
    for (const runtime::SegmentFile &each : this->segments()) EXPECT_FALSE(each.is_compressed);
    const SmallStore private_store;
    kel_journal_compression none;
    EXPECT_EQ(kel_store_describe_compression(private_store.store, &none), std::uint32_t{EINVAL});
}

TEST_F(Journal, ADamagedCompressedSegmentIsReportedByReaders) {
    const OpenStore store(path.c_str());
    make_number(store);
    start(store, compressed());
    fill_log(store, 3);
    const Files files(path);
    const std::uint64_t damaged = segments()[3].first;
    const std::string name = path + "/" + runtime::compressed_segment_name(damaged);
    std::string content = read_file(name);
    content.back() = static_cast<char>(content.back() ^ 1);
    write_file(name, content);
    LogReader log;
    ASSERT_EQ(files.open(log, files.checkpoints().front().position), 0U);
    std::span<const char> frame;
    std::uint32_t error = 0;
    while (error == 0) error = log.next(describe(store).end, frame);
    EXPECT_EQ(error, std::uint32_t{EBADMSG});
    EXPECT_EQ(log.position(), damaged);
    EXPECT_STREQ(log.what(), "a compressed log segment has a wrong checksum");
}

TEST_F(Journal, AfterARestartTheLogContinuesInACompressedSegment) {
    std::uint64_t end = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        start(store, compressed());
        count(store, 1, 2);
        fill_log(store, 1);
        count(store, 2, 3);
        ASSERT_EQ(kel_store_compact(store.store), 0U);
    }
    // The disk has neither the newest checkpoint nor the log from there on.
    std::filesystem::remove(path + "/" +
                            runtime::checkpoint_name(Files(path).checkpoints().back().position));
    for (const runtime::SegmentFile &each : segments()) {
        if (each.is_plain) std::filesystem::remove(path + "/" + runtime::segment_name(each.first));
    }
    const std::uint64_t last = segments().back().first;
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 2U);
        const runtime::SegmentFile continued = segments().back();
        EXPECT_EQ(continued.first, last);
        EXPECT_TRUE(continued.is_plain);
        EXPECT_FALSE(continued.is_compressed);
        end = describe(store).end;
        count(store, 3, 700);
        EXPECT_GT(describe(store).end, end);
    }
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 699U);
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

TEST_F(Journal, AfterARestartTheLogEndsBeforeTheFirstFrameThatIsMissing) {
    std::vector<std::uint64_t> ends;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        for (std::uint64_t i = 1; i <= 8; ++i) {
            count(store, i, i + 1);
            ends.push_back(describe(store).end);
        }
    }
    damage_log(ends[4], 64);  // the frame of number 6
    { EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG}) << "without a restart"; }
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 5U);
        EXPECT_EQ(describe(store).end, ends[4]);
        // As long as the one that is missing: the frames after it must not continue it.
        count(store, 60, 61);
        EXPECT_EQ(describe(store).end, ends[5]);
    }
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 60U);
    EXPECT_EQ(describe(store).end, ends[5]);
}

TEST_F(Journal, AfterARestartTheWordsOfTheControlFileArentTrusted) {
    std::string old;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        count(store, 1, 2);
        old = read_file(path + "/control");
        fill_log(store, 2);
        count(store, 2, 9);
    }
    write_file(path + "/control", old);
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 8U);
    count(store, 9, 10);
}

TEST_F(Journal, AfterARestartABrokenCheckpointIsPassedBy) {
    std::uint64_t newest = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        start(store, enabled());
        fill_log(store, 2);
        count(store, 1, 5);
        ASSERT_EQ(kel_store_checkpoint(store.store), 0U);
        newest = Files(path).checkpoints().back().position;
    }
    std::filesystem::resize_file(path + "/" + runtime::checkpoint_name(newest), 5000);
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 4U);
    EXPECT_LT(Files(path).checkpoints().back().position, newest);
}

TEST_F(Journal, AfterARestartALogThatIsGoneBeginsAgain) {
    std::uint64_t end = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        count(store, 1, 5);
        ASSERT_EQ(kel_store_compact(store.store), 0U);
        end = describe(store).end;
    }
    const Files files(path);
    for (const runtime::SegmentFile &each : runtime::list_segments(files.folder.descriptor())) {
        std::filesystem::remove(path + "/" + runtime::segment_name(each.first));
    }
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 4U);
        EXPECT_EQ(describe(store).end, end);
        count(store, 5, 700);
    }
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 699U);
}

TEST_F(Journal, AfterARestartAStoreWithoutACheckpointIsRefused) {
    { const OpenStore store(path.c_str()); }
    std::filesystem::remove(path + "/" + runtime::checkpoint_name(0));
    restart();
    EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG});
    EXPECT_NE(std::string(kel_error_text()).find("restart"), std::string::npos);
}

}  // namespace
}  // namespace tarn::test
