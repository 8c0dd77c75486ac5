/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

// The length of a frame of `frame_of` without its content.
constexpr std::size_t around_content = 24;

// A frame of a length.
std::string frame_of_length(std::uint64_t sequence, std::size_t length) {
    return frame_of(sequence, std::string(length - around_content, 'x'));
}

// How much space is left in the first segment for frames.
std::size_t space(const TestLog &log) {
    return first_segment_bytes - segment_head_bytes - end_mark_bytes - log.published();
}

TEST(Log, IsEmptyAtFirst) {
    const Folder folder;
    const TestLog log(folder);
    log.verify();
}

TEST(Log, RandomFramesAreReadAgain) {
    const Folder folder;
    TestLog log(folder);
    Random random(6);
    for (int i = 0; i < 3000; ++i) {
        ASSERT_EQ(log.append_random(random, random() % 100 == 0 ? 100000 : 2000), 0U);
    }
    log.verify();
}

TEST(Log, AReaderFollowsTheWriter) {
    const Folder folder;
    TestLog log(folder);
    Random random(7);
    LogReader reader;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    std::span<const char> frame;
    for (std::size_t read = 0; read < 1500;) {
        for (std::uint64_t count = random() % 5; count != 0; --count) {
            ASSERT_EQ(log.append_random(random, 3000), 0U);
        }
        for (; read < log.frames().size(); ++read) {
            ASSERT_EQ(reader.next(log.published(), frame), 0U) << reader.what();
            ASSERT_TRUE(text_of(frame) == log.frames()[read]);
        }
        ASSERT_EQ(reader.next(log.published(), frame), std::uint32_t{ENODATA});
        ASSERT_EQ(reader.segment(), log.segment());
    }
}

TEST(Log, IsReadAndContinuedFromEveryPosition) {
    const Folder folder;
    TestLog log(folder);
    Random random(8);
    for (std::size_t count = 0; count < 300; ++count) {
        LogReader reader;
        ASSERT_EQ(reader.open(folder.descriptor(), test_id, log.segment(), log.published(),
                              log.next_sequence()),
                  0U);
        LogWriter writer;  // another process
        ASSERT_EQ(writer.open(folder.descriptor(), test_id, log.segment(), log.published()), 0U);
        const std::string frame =
            frame_of(log.next_sequence(), random_bytes(random, random() % 4000));
        ASSERT_EQ(writer.append(frame), 0U);

        std::span<const char> read;
        ASSERT_EQ(reader.next(log.published(), read), std::uint32_t{ENODATA});
        ASSERT_EQ(reader.next(writer.position(), read), 0U) << reader.what();
        ASSERT_TRUE(text_of(read) == frame);
        ASSERT_EQ(
            log.writer().open(folder.descriptor(), test_id, reader.segment(), reader.position()),
            0U);
        log.publish(frame);
    }
    log.verify();
}

// The sizes of the first segments of a store of that many bytes, in KiB.
std::vector<std::uint64_t> segment_sizes(std::size_t count, std::uint64_t store_bytes) {
    const Folder folder;
    TestLog log(folder);
    log.writer().set_store_size(store_bytes);
    std::vector<std::uint64_t> sizes;
    while (sizes.size() < count) {
        EXPECT_EQ(log.append(frame_of_length(log.next_sequence(), 8000)), 0U);
        const std::uint64_t size = std::filesystem::file_size(folder.segment(log.segment()));
        if (folder.names().size() > sizes.size()) sizes.push_back(size >> 10);
    }
    log.verify();
    return sizes;
}

TEST(Log, SegmentsGrowUpToALimit) {
    EXPECT_EQ(segment_sizes(6, 0), (std::vector<std::uint64_t>{64, 128, 256, 256, 256, 256}));
}

TEST(Log, TheLimitOfSegmentsIsASixteenthOfTheStore) {
    EXPECT_EQ(segment_sizes(5, 17 << 20), (std::vector<std::uint64_t>{64, 128, 256, 512, 1024}));
    EXPECT_EQ(segment_sizes(6, 15 << 20),
              (std::vector<std::uint64_t>{64, 128, 256, 512, 512, 512}));
    EXPECT_EQ(segment_sizes(8, std::uint64_t{1} << 40),
              (std::vector<std::uint64_t>{64, 128, 256, 512, 1024, 2048, 4096, 4096}));
}

TEST(Log, ALongFrameHasASegmentOfItsSize) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of_length(1, 10000000)), 0U);
    ASSERT_EQ(log.append(frame_of_length(2, 8000)), 0U);
    ASSERT_EQ(log.append(frame_of_length(3, 8000000)), 0U);
    ASSERT_EQ(log.append(frame_of_length(4, 200000)), 0U);
    log.verify();
    EXPECT_EQ(folder.names().size(), 3U);  // the second frame fits after the first
    EXPECT_EQ(std::filesystem::file_size(folder.segment(log.segment())), most_of_small_store);
}

TEST(Log, ANewSegmentCanBeBegunBeforeTheLastOneIsFull) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of_length(1, 10000000)), 0U);
    EXPECT_TRUE(log.writer().has_long_segment());
    ASSERT_EQ(log.append_to_new(frame_of_length(2, 800)), 0U);
    EXPECT_FALSE(log.writer().has_long_segment());
    ASSERT_EQ(log.append(frame_of_length(3, 8000)), 0U);
    log.verify();
    EXPECT_EQ(folder.names().size(), 2U);
    EXPECT_EQ(std::filesystem::file_size(folder.segment(log.segment())), first_segment_bytes);
}

// It doesn't fit in the empty first segment, which gets replaced.
TEST(Log, ALongFirstFrameIsNoticedByAll) {
    const Folder folder;
    TestLog log(folder);
    LogWriter other;
    ASSERT_EQ(other.open(folder.descriptor(), test_id, 0, 0), 0U);
    LogReader reader;
    LogReader own;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    ASSERT_EQ(own.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    ASSERT_EQ(log.append(frame_of_length(1, 100000)), 0U);
    own.skip_to(log.writer(), 2);

    std::span<const char> frame;
    ASSERT_EQ(reader.next(log.published(), frame), 0U) << reader.what();
    ASSERT_TRUE(text_of(frame) == log.frames()[0]);
    ASSERT_EQ(other.open(folder.descriptor(), test_id, 0, log.published()), 0U);
    ASSERT_EQ(other.append(frame_of_length(2, 800)), 0U);
    for (LogReader *each : {&reader, &own}) {
        ASSERT_EQ(each->next(other.position(), frame), 0U) << each->what();
        ASSERT_TRUE(text_of(frame) == frame_of_length(2, 800));
    }
}

TEST(Log, ASegmentCanBeFilledToTheEndMark) {
    for (const std::size_t missing : {0U, 8U, 16U, 24U}) {
        const Folder folder;
        TestLog log(folder);
        ASSERT_EQ(log.append(frame_of_length(1, 40000)), 0U);
        ASSERT_EQ(log.append(frame_of_length(2, space(log) - missing)), 0U);
        EXPECT_EQ(log.segment(), 0U);
        log.verify();
        ASSERT_EQ(log.append(frame_of_length(3, 32)), 0U);
        EXPECT_EQ(log.segment(), log.published() - 32);
        log.verify();
    }
}

TEST(Log, AFrameThatIsAWordTooLongBeginsASegment) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of_length(1, 40000)), 0U);
    ASSERT_EQ(log.append(frame_of_length(2, space(log) + 8)), 0U);
    EXPECT_EQ(log.segment(), 40000U);
    log.verify();
}

TEST(Log, WhatFollowsThePublishedPositionIsNotRead) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of_length(1, 800)), 0U);
    LogReader reader;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 800, 2), 0U);
    std::span<const char> frame;
    ASSERT_EQ(log.writer().append(frame_of_length(2, 800)), 0U);
    EXPECT_EQ(reader.next(800, frame), std::uint32_t{ENODATA});
    EXPECT_EQ(reader.next(1592, frame), std::uint32_t{EBADMSG});
    EXPECT_STREQ(reader.what(), "a frame is cut short");
    EXPECT_EQ(reader.position(), 800U);
    EXPECT_EQ(reader.next(792, frame), std::uint32_t{EBADMSG});
    EXPECT_STREQ(reader.what(), "the published position is before a frame");
    EXPECT_EQ(reader.next(1600, frame), 0U);
}

TEST(Log, APublishedPositionWithoutFramesIsNoticed) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of_length(1, 800)), 0U);
    LogReader reader;
    std::span<const char> frame;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 800, 2), 0U);
    EXPECT_EQ(reader.next(1 << 30, frame), std::uint32_t{EBADMSG});
    EXPECT_EQ(reader.next(~std::uint64_t{0}, frame), std::uint32_t{EBADMSG});
}

TEST(Log, EveryFlippedBitIsNoticed) {
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append(frame_of(1, "some content")), 0U);
    ASSERT_EQ(log.append(frame_of(2, "some more")), 0U);
    const std::string right = read_file(folder.segment(0));
    for (std::size_t bit = 8 * segment_head_bytes; bit < 8 * (segment_head_bytes + log.published());
         ++bit) {
        std::string damaged = right;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        write_file(folder.segment(0), damaged);
        LogReader reader;
        ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
        std::span<const char> frame;
        std::uint32_t error = 0;
        while (error == 0) error = reader.next(log.published(), frame);
        ASSERT_EQ(error, std::uint32_t{EBADMSG}) << bit;
    }
}

TEST(Log, AReaderNoticesASegmentThatWasCut) {
    const Folder folder;
    TestLog log(folder);
    while (log.segment() == 0) ASSERT_EQ(log.append(frame_of_length(log.next_sequence(), 800)), 0U);
    const std::string second = folder.segment(log.segment());
    std::filesystem::resize_file(second, std::filesystem::file_size(second) / 2);
    LogReader reader;
    std::span<const char> frame;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    std::uint32_t error = 0;
    while (error == 0) error = reader.next(log.published(), frame);
    EXPECT_EQ(error, std::uint32_t{EBADMSG});
    EXPECT_STREQ(reader.what(), "a log segment has a wrong length");
    EXPECT_EQ(reader.position(), log.segment());
}

TEST(Log, AReaderMissesASegmentThatWasRemoved) {
    const Folder folder;
    TestLog log(folder);
    LogReader reader;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    std::uint64_t second = 0;
    while (folder.names().size() < 4) {
        ASSERT_EQ(log.append(frame_of_length(log.next_sequence(), 8000)), 0U);
        if (second == 0) second = log.segment();
    }
    remove_segments(folder.descriptor(), log.published(), log.segment());
    EXPECT_EQ(folder.names(), std::set{segment_name(log.segment())});

    std::span<const char> frame;  // the removed first segment is still mapped
    std::uint32_t error = 0;
    while (error == 0) error = reader.next(log.published(), frame);
    EXPECT_EQ(error, std::uint32_t{ENOENT});
    EXPECT_EQ(reader.position(), second);
    EXPECT_EQ(reader.next(log.published(), frame), std::uint32_t{ENOENT});
    EXPECT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), std::uint32_t{ENOENT});
    EXPECT_EQ(reader.next(log.published(), frame), std::uint32_t{ENOENT});
}

TEST(Log, PositionsOutsideOfTheSegmentAreRefused) {
    const Folder folder;
    TestLog log(folder);
    for (const std::uint64_t position : {4U, 65536U - 64 - 8, 65536U, 1U << 31}) {
        LogReader reader;
        EXPECT_EQ(reader.open(folder.descriptor(), test_id, 0, position, 1),
                  std::uint32_t{EBADMSG});
        std::span<const char> frame;
        EXPECT_EQ(reader.next(~std::uint64_t{0}, frame), std::uint32_t{EBADMSG});
        LogWriter writer;
        EXPECT_EQ(writer.open(folder.descriptor(), test_id, 0, position), std::uint32_t{EBADMSG});
        EXPECT_FALSE(writer.is_open());
        EXPECT_EQ(log.writer().open(folder.descriptor(), test_id, 0, position),
                  std::uint32_t{EBADMSG});
        EXPECT_EQ(log.writer().position(), 0U);
    }
}

TEST(Log, AReaderSkipsTheFramesOfItsProcess) {
    const Folder folder;
    TestLog log(folder);
    Random random(9);
    LogReader reader;
    std::span<const char> frame;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(log.append_random(random, 4000), 0U);
        if (random() % 3 == 0) {
            ASSERT_EQ(reader.next(log.published(), frame), 0U) << reader.what();
            ASSERT_TRUE(text_of(frame) == log.frames().back());
        } else {
            reader.skip_to(log.writer(), log.next_sequence());
        }
        ASSERT_EQ(reader.next(log.published(), frame), std::uint32_t{ENODATA});
        ASSERT_EQ(reader.segment(), log.segment());
        ASSERT_EQ(reader.position(), log.published());
    }
}

}  // namespace
}  // namespace tarnbase::runtime
