/* SPDX-License-Identifier: Apache-2.0 */
// A writer that dies leaves something after the published position. Each test makes one of these
// states, and continues with a new writer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/log/log.h"
#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

// The writer dies, and another process takes over.
void take_over(TestLog &log) {
    log.writer().close();
    ASSERT_EQ(log.writer().open(log.folder().descriptor(), test_id, log.segment(), log.published()),
              0U);
}

// Frames are appended until the next one of this length needs a new segment.
void fill_segment(TestLog &log, std::size_t content) {
    for (;;) {
        const std::string frame = frame_of(log.next_sequence(), std::string(content, 'x'));
        const std::uint64_t used = log.published() - log.segment() + frame.size();
        if (used + segment_head_bytes + end_mark_bytes > first_segment_bytes) return;
        ASSERT_EQ(log.append(frame), 0U);
    }
}

void append_some(TestLog &log, Random &random) {
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(log.append_random(random, 3000), 0U);
        if (i % 10 == 0) log.verify();
    }
    log.verify();
}

TEST(LogDeath, BeforePublishingAFrame) {
    Random random(10);
    for (const std::size_t next : {100U, 1000U, 4000U}) {
        const Folder folder;
        TestLog log(folder);
        ASSERT_EQ(log.append_random(random, 1000), 0U);
        ASSERT_EQ(log.writer().append(frame_of(2, std::string(1000, 'x'))), 0U);
        take_over(log);
        log.verify();
        ASSERT_EQ(log.append(frame_of(2, std::string(next, 'y'))), 0U);
        append_some(log, random);
    }
}

TEST(LogDeath, WithinTheCopyOfAFrame) {
    Random random(11);
    const Folder folder;
    TestLog log(folder);
    ASSERT_EQ(log.append_random(random, 1000), 0U);
    const std::string frame = frame_of(2, random_bytes(random, 200));
    for (std::size_t copied = 0; copied <= frame.size(); ++copied) {
        Segment segment;
        ASSERT_EQ(segment.open(folder.descriptor(), test_id, 0, true), 0U);
        std::memcpy(segment.from(log.published()).data(), frame.data(), copied);
        take_over(log);
        log.verify();
    }
    append_some(log, random);
}

// What is in the folder at each step of the roll-over, and frames that fit in the old segment or
// don't.
TEST(LogDeath, WithinARollOver) {
    enum Step { working_file, empty_segment, frame_in_segment, part_of_end_mark, end_mark, steps };
    const std::string big(3000, 'b');
    for (int step = working_file; step != steps; ++step) {
        for (const std::size_t next : {8U, 2000U, 3000U, 200000U}) {
            Random random(12);
            const Folder folder;
            TestLog log(folder);
            fill_segment(log, big.size());
            Segment segment;
            ASSERT_EQ(segment.create(folder.descriptor(), test_id, log.published(), 131072), 0U);
            const std::string frame = frame_of(log.next_sequence(), big);
            if (step >= frame_in_segment) {
                std::ranges::copy(frame, segment.from(log.published()).begin());
            }
            Segment old;
            ASSERT_EQ(old.open(folder.descriptor(), test_id, 0, true), 0U);
            if (step == part_of_end_mark) std::memset(old.from(log.published()).data(), 0xff, 5);
            if (step == end_mark) std::memset(old.from(log.published()).data(), 0xff, 16);
            if (step == working_file) {
                std::filesystem::rename(folder.segment(log.published()), folder.file("log-new"));
            }
            take_over(log);
            log.verify();
            ASSERT_EQ(log.append(frame_of(log.next_sequence(), std::string(next, 'n'))), 0U);
            log.verify();
            append_some(log, random);
            remove_segments(folder.descriptor(), log.published(), log.segment());
            EXPECT_EQ(folder.names(), std::set{segment_name(log.segment())});
        }
    }
}

TEST(LogDeath, AfterARollOverThatIsNotPublished) {
    Random random(13);
    for (const std::size_t next : {8U, 3000U, 200000U}) {
        const Folder folder;
        TestLog log(folder);
        fill_segment(log, 3000);
        ASSERT_EQ(log.writer().append(frame_of(log.next_sequence(), std::string(3000, 'x'))), 0U);
        ASSERT_NE(log.writer().segment(), log.segment());

        LogReader reader;
        std::span<const char> frame;
        ASSERT_EQ(
            reader.open(folder.descriptor(), test_id, 0, log.published(), log.next_sequence()), 0U);
        ASSERT_EQ(reader.next(log.published(), frame), std::uint32_t{ENODATA});
        take_over(log);
        ASSERT_EQ(log.append(frame_of(log.next_sequence(), std::string(next, 'y'))), 0U);
        ASSERT_EQ(reader.next(log.published(), frame), 0U) << reader.what();
        ASSERT_TRUE(text_of(frame) == log.frames().back());
        append_some(log, random);
    }
}

TEST(LogDeath, AgainAndAgain) {
    Random random(14);
    const Folder folder;
    TestLog log(folder);
    LogReader reader;
    std::span<const char> frame;
    ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
    std::size_t read = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::size_t most = random() % 50 == 0 ? 100000 : 3000;
        ASSERT_EQ(log.append_random(random, most), 0U);
        if (random() % 2 == 0) {
            const std::string lost = frame_of(log.next_sequence(), random_bytes(random, most));
            ASSERT_EQ(log.writer().append(lost), 0U);
            take_over(log);
        } else if (random() % 4 == 0) {
            Segment segment;
            ASSERT_EQ(segment.open(folder.descriptor(), test_id, log.segment(), true), 0U);
            const auto rest = segment.from(log.published());
            for (char &byte : rest.first(std::min<std::size_t>(rest.size(), 200))) {
                byte = static_cast<char>(random() % 2 == 0 ? 0xff : random());
            }
            take_over(log);
        }
        if (random() % 3 == 0) continue;
        for (; read < log.frames().size(); ++read) {
            ASSERT_EQ(reader.next(log.published(), frame), 0U) << round << ' ' << reader.what();
            ASSERT_TRUE(text_of(frame) == log.frames()[read]) << round;
        }
    }
    log.verify();
}

// The files as they are at some moment, without what the writer's mapping does later.
TEST(LogDeath, OfTheMachineAfterEachFrame) {
    Random random(15);
    const Folder folder;
    TestLog log(folder);
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(log.append_random(random, 8000), 0U);
        const Folder copy(folder);
        log.verify(copy);
        LogWriter writer;
        ASSERT_EQ(writer.open(copy.descriptor(), test_id, log.segment(), log.published()), 0U);
        ASSERT_EQ(writer.append(frame_of(log.next_sequence(), "more")), 0U);
        log.verify(copy);
    }
}

}  // namespace
}  // namespace tarnbase::runtime
