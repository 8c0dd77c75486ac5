// SPDX-License-Identifier: Apache-2.0
// A segment that a worker makes before the log needs it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <thread>

#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

constexpr std::uint64_t unit = first_segment_bytes;

template <typename Condition>
void await(Condition is_met) {
    while (!is_met()) std::this_thread::yield();
}

std::size_t threads() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// How many files of a folder are mapped, with or without a name.
std::size_t mapped_files(const Folder &folder) {
    std::ifstream lines("/proc/self/maps");
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.find(folder.file("")) != std::string::npos ? 1 : 0;
    }
    return count;
}

// A log whose next segments are made by a worker.
class WorkedLog {
 public:
    WorkedLog() {
        Segment first;
        EXPECT_EQ(first.create(folder.descriptor(), test_id, 0), 0U);
        EXPECT_EQ(writer.open(folder.descriptor(), test_id, 0, 0), 0U);
    }
    ~WorkedLog() { worker.stop(); }
    WorkedLog(const WorkedLog &) = delete;
    WorkedLog &operator=(const WorkedLog &) = delete;

    std::uint32_t append(std::size_t content) {
        const std::uint32_t error = writer.append(frame_of(sequence, std::string(content, 'x')));
        if (error == 0) ++sequence;
        return error;
    }
    // Appends up to the end of the segment, so that the next frame is in another one.
    void fill() {
        const std::size_t content = 1000;
        while (writer.has_space(frame_of(sequence, std::string(content, 'x')).size())) {
            ASSERT_EQ(append(content), 0U);
        }
    }
    void verify() const {
        LogReader reader;
        ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
        for (std::span<const char> frame; reader.next_sequence() < sequence;) {
            ASSERT_EQ(reader.next(writer.position(), frame), 0U) << reader.what();
        }
        EXPECT_EQ(reader.position(), writer.position());
    }

    Folder folder;
    Worker worker;
    LogWriter writer{&worker};
    std::uint64_t sequence = 1;
};

TEST(NextSegment, IsAFileWithoutANameUntilItIsTaken) {
    const Folder folder;
    Worker worker;
    NextSegment next(&worker);
    Segment none, taken;
    next.make(folder.descriptor(), 2 * unit, none);
    await([&] { return next.is_ready(); });
    EXPECT_TRUE(folder.names().empty());
    EXPECT_EQ(mapped_files(folder), 1U);
    EXPECT_FALSE(next.take(folder.descriptor(), test_id, 800, 3 * unit, 9 * unit, taken));
    EXPECT_FALSE(next.take(folder.descriptor(), test_id, 800, 0, unit, taken));

    ASSERT_TRUE(next.take(folder.descriptor(), test_id, 800, unit, 2 * unit, taken));
    EXPECT_FALSE(next.is_ready());
    EXPECT_EQ(folder.names(), std::set{segment_name(800)});
    struct stat status {};
    ASSERT_EQ(::stat(folder.segment(800).c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 2 * static_cast<std::int64_t>(unit));
    EXPECT_GE(status.st_blocks * 512, status.st_size);
    std::ranges::fill(taken.from(800), 'x');
    Segment opened;
    ASSERT_EQ(opened.open(folder.descriptor(), test_id, 800, false), 0U) << opened.what();
    EXPECT_TRUE(std::ranges::equal(opened.from(800), taken.from(800)));
    worker.stop();
}

TEST(NextSegment, LeavesNothingIfItIsNotTaken) {
    const Folder folder;
    {
        Worker worker;
        NextSegment next(&worker);
        Segment none;
        next.make(folder.descriptor(), unit, none);
        await([&] { return next.is_ready(); });
        worker.stop();
    }
    EXPECT_TRUE(folder.names().empty());
    EXPECT_EQ(mapped_files(folder), 0U);
}

TEST(NextSegment, IsNotNeededByAProcessThatCommitsLittle) {
    WorkedLog log;
    const std::size_t before = threads();
    ASSERT_EQ(log.append(1000), 0U);
    EXPECT_EQ(threads(), before);
    EXPECT_EQ(mapped_files(log.folder), 1U);
}

// Goes on while no file can be made, so the writer makes none.
void go_on_without_a_file(WorkedLog &log, int segments) {
    await([&] { return log.writer.has_next_segments(); });
    const rlimit none{0, RLIM_INFINITY}, all{RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &none);
    for (int i = 0; i < segments; ++i) {
        log.fill();
        const std::uint64_t segment = log.writer.segment();
        EXPECT_EQ(log.append(1000), 0U);
        EXPECT_NE(log.writer.segment(), segment);
    }
    ::setrlimit(RLIMIT_FSIZE, &all);
}

void in_a_child(void (*test)(WorkedLog &log)) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        WorkedLog log;
        log.fill();
        test(log);
        log.verify();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(NextSegment, IsWhereTheLogGoesOnWithoutAnotherFile) {
    in_a_child([](WorkedLog &log) {
        log.writer.set_store_size(std::uint64_t{64} << 20);
        go_on_without_a_file(log, 1);
    });
}

TEST(NextSegment, IsOneOfTwoInASmallStore) {
    in_a_child([](WorkedLog &log) { go_on_without_a_file(log, 2); });
}

TEST(NextSegment, IsMadeAfterTheOldOneIsUnmapped) {
    WorkedLog log;
    for (int i = 0; i < 4; ++i) {
        log.fill();
        await([&] { return log.writer.has_next_segments(); });
        ASSERT_EQ(log.append(1000), 0U);
    }
    await([&] { return log.writer.has_next_segments(); });
    EXPECT_EQ(mapped_files(log.folder), 3U);
    log.verify();
}

// A writer that died had begun a segment there, and published nothing of it.
TEST(NextSegment, IsNotTakenIfItsNameExists) {
    WorkedLog log;
    log.fill();
    await([&] { return log.writer.has_next_segments(); });
    Segment dead;
    ASSERT_EQ(dead.create(log.folder.descriptor(), test_id, log.writer.position()), 0U);
    ASSERT_EQ(log.append(1000), 0U);
    EXPECT_TRUE(log.writer.has_next_segments());
    log.verify();
}

TEST(NextSegment, IsMadeByTheWriterIfTheWorkerCannot) {
    WorkedLog log;
    log.worker.stop();
    for (int i = 0; i < 3; ++i) {
        log.fill();
        ASSERT_EQ(log.append(1000), 0U);
        EXPECT_EQ(mapped_files(log.folder), 1U) << "nobody else unmaps the old one";
    }
    EXPECT_FALSE(log.writer.has_next_segments());
    log.verify();
}

TEST(NextSegment, IsMadeByTheWriterInAChildProcess) {
    WorkedLog log;
    log.fill();
    await([&] { return log.writer.has_next_segments(); });
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (int i = 0; i < 3; ++i) {
            log.fill();
            EXPECT_EQ(log.append(1000), 0U);
        }
        EXPECT_EQ(threads(), 1U);
        log.verify();
        log.worker.stop();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tarnbase::runtime
