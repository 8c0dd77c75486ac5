/* SPDX-License-Identifier: Apache-2.0 */
// No space for the next segment: the append fails, nothing has changed, and the log goes on when
// there is space.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "tests/unit/runtime_log/support.h"

namespace {

int fallocate_error = 0;  // what the next calls report

}  // namespace

// Replaces the C library's.
extern "C" int fallocate(int file, int mode, off_t offset, off_t size) {
    if (fallocate_error == 0) {
        return static_cast<int>(::syscall(SYS_fallocate, file, mode, offset, size));
    }
    errno = fallocate_error;
    return -1;
}

namespace tarnbase::runtime {
namespace {

class FailingFallocate {
 public:
    explicit FailingFallocate(int error) { fallocate_error = error; }
    FailingFallocate(const FailingFallocate &) = delete;
    FailingFallocate &operator=(const FailingFallocate &) = delete;
    ~FailingFallocate() { fallocate_error = 0; }
};

// Appends until there is no space. Returns the error.
std::uint32_t append_until_error(TestLog &log, Random &random) {
    for (;;) {
        const std::uint32_t error = log.append_random(random, 20000);
        if (error != 0 || testing::Test::HasFatalFailure()) return error;
    }
}

// The body runs in a child process, which may change its limits and file systems.
template <typename Body>
void in_child(Body body) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "not permitted here";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(LogSpace, AFailedAppendChangesNothing) {
    const Folder folder;
    TestLog log(folder);
    Random random(16);
    for (int round = 0; round < 5; ++round) {
        {
            const FailingFallocate full(ENOSPC);
            EXPECT_EQ(append_until_error(log, random), std::uint32_t{ENOSPC});
            EXPECT_EQ(log.writer().position(), log.published());
            EXPECT_EQ(log.writer().segment(), log.segment());
            EXPECT_FALSE(folder.names().contains("log-new"));
            EXPECT_FALSE(folder.names().contains(segment_name(log.published())));
            log.verify();
        }
        ASSERT_EQ(log.append(frame_of(log.next_sequence(), "fits in the old segment")), 0U);
        ASSERT_EQ(log.append_random(random, 200000), 0U);
        log.verify();
    }
}

TEST(LogSpace, ANewLogWithoutSpaceLeavesNoFile) {
    const Folder folder;
    const FailingFallocate full(ENOSPC);
    Segment segment;
    EXPECT_EQ(segment.create(folder.descriptor(), test_id, 0), std::uint32_t{ENOSPC});
    EXPECT_FALSE(segment.is_open());
    EXPECT_TRUE(folder.names().empty());
}

TEST(LogSpace, IsWrittenWhereFallocateIsUnsupported) {
    const Folder folder;
    const FailingFallocate unsupported(EOPNOTSUPP);
    TestLog log(folder);
    Random random(17);
    for (int i = 0; i < 200; ++i) ASSERT_EQ(log.append_random(random, 5000), 0U);
    log.verify();
}

TEST(LogSpace, ALimitOfTheFileSizeMakesSegmentsSmall) {
    in_child([] {
        const Folder folder;
        TestLog log(folder);
        Random random(18);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{200000, RLIM_INFINITY};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        for (int i = 0; i < 50; ++i) ASSERT_EQ(log.append_random(random, 20000), 0U);
        const std::string large = frame_of(log.next_sequence(), random_bytes(random, 300000));
        EXPECT_EQ(log.append(large), std::uint32_t{EFBIG});
        {
            const FailingFallocate unsupported(EOPNOTSUPP);
            EXPECT_EQ(log.append(large), std::uint32_t{EFBIG});
        }
        EXPECT_FALSE(folder.names().contains("log-new"));
        log.verify();
        const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
        ASSERT_EQ(log.append(large), 0U);
        log.verify();
    });
}

TEST(LogSpace, ALimitOfTheAddressSpaceIsAnError) {
    in_child([] {
        const Folder folder;
        TestLog log(folder);
        const std::string frame = frame_of(1, std::string(1 << 23, 'x'));
        const rlimit small{1 << 23, RLIM_INFINITY};
        ASSERT_EQ(::setrlimit(RLIMIT_AS, &small), 0);
        const std::uint32_t error = log.writer().append(frame);
        const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        ASSERT_EQ(::setrlimit(RLIMIT_AS, &none), 0);
        EXPECT_EQ(error, std::uint32_t{ENOMEM});
        EXPECT_EQ(folder.names(), std::set{segment_name(0)});
        ASSERT_EQ(log.append(frame), 0U);
        log.verify();
    });
}

// Mounts a file system of 512 KiB on the folder. Ends the process if it may not.
void mount_small(const Folder &folder) {
    const bool own = ::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
    const std::string path = folder.file("");
    if (!own || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("none", path.c_str(), "tmpfs", 0, "size=512k") != 0) {
        ::_exit(77);
    }
}

TEST(LogSpace, AFullDiskIsAnError) {
    in_child([] {
        const Folder outside;
        mount_small(outside);
        {
            const File folder(::open(outside.file("").c_str(), O_RDONLY | O_DIRECTORY));
            Segment first;
            ASSERT_EQ(first.create(folder.descriptor(), test_id, 0), 0U);
            LogWriter writer;
            ASSERT_EQ(writer.open(folder.descriptor(), test_id, 0, 0), 0U);
            std::uint64_t sequence = 1;
            std::uint32_t error = 0;
            while (error == 0) {
                error = writer.append(frame_of(sequence, std::string(5000, 'x')));
                if (error == 0) ++sequence;
            }
            EXPECT_EQ(error, std::uint32_t{ENOSPC});
            LogReader reader;
            ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
            std::span<const char> frame;
            while (reader.next(writer.position(), frame) == 0) {
            }
            EXPECT_EQ(reader.next_sequence(), sequence);
            remove_segments(folder.descriptor(), writer.position(), writer.segment());
            EXPECT_EQ(writer.append(frame_of(sequence, std::string(5000, 'x'))), 0U);
        }
        ASSERT_EQ(::umount2(outside.file("").c_str(), MNT_DETACH), 0);
    });
}

// A segment that was copied without its unused blocks.
TEST(LogSpace, ASegmentWithHolesOnAFullDiskIsAnError) {
    in_child([] {
        const Folder outside;
        mount_small(outside);
        {
            const File folder(::open(outside.file("").c_str(), O_RDONLY | O_DIRECTORY));
            Segment first;
            ASSERT_EQ(first.create(folder.descriptor(), test_id, 0), 0U);
            const std::string head = read_file(outside.segment(0)).substr(0, segment_head_bytes);
            write_file(outside.segment(0), head);
            std::filesystem::resize_file(outside.segment(0), first_segment_bytes);
            write_file(outside.file("filler"), std::string(1 << 20, 'x'));
            LogWriter writer;
            const std::uint32_t error = writer.open(folder.descriptor(), test_id, 0, 0);
            if (error == 0) ::_exit(77);  // an old kernel
            EXPECT_EQ(error, std::uint32_t{ENOSPC});
            std::filesystem::remove(outside.file("filler"));
            EXPECT_EQ(writer.open(folder.descriptor(), test_id, 0, 0), 0U);
        }
        ASSERT_EQ(::umount2(outside.file("").c_str(), MNT_DETACH), 0);
    });
}

}  // namespace
}  // namespace tarnbase::runtime
