// SPDX-License-Identifier: Apache-2.0
// What is kept of a journal, and in which form.
#include <cerrno>
#include <chrono>
#include <filesystem>

#include "runtime/control/journal_settings.h"
#include "tests/unit/runtime_store/journal_store.h"

namespace tarn::test {
namespace {

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
    settings.keep_bytes = 16 << 20;
    start(store, settings);
    const Files files(path);
    LogReader slow;
    ASSERT_EQ(files.open(slow, describe(store).begin), 0U);
    for (int i = 0; i < 8; ++i) fill_log(store, 3);
    const kel_journal_description kept = describe(store);
    EXPECT_GT(kept.checkpoints, 1U);
    // The segment in use isn't counted.
    EXPECT_LE(kept.bytes, (16ULL << 20) + (1 << 20));
    // One more checkpoint, with the log up to the next one, would be too much.
    EXPECT_GT(kept.end - kept.begin, 9ULL << 20);
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
    // A checkpoint has at least 1 MiB of compressed log before it, but for the first and the
    // newest.
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

}  // namespace
}  // namespace tarn::test
