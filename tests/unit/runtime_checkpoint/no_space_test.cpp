// SPDX-License-Identifier: Apache-2.0
// A checkpoint that can't be written leaves no file.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <csignal>

#include "tests/unit/runtime_checkpoint/support.h"

namespace tarnbase::runtime {
namespace {

constexpr std::uint64_t image_pages = 30;

class NoSpace : public CheckpointTest {
 protected:
    // Runs a function in a child, which returns what it returns.
    template <typename Function>
    int in_child(Function function) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(function());
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
        return WEXITSTATUS(status);
    }

    // In a child: writes with a limit for the length of files.
    int write_with_limit(std::uint64_t limit) {
        const rlimit limits{limit, RLIM_INFINITY};
        if (::setrlimit(RLIMIT_FSIZE, &limits) != 0) return 255;
        return static_cast<int>(write_checkpoint(folder(), test_head(1), image));
    }

    const Image image = sparse_image(image_pages, 3, 1);
    const std::uint64_t file_bytes = image_offset_for(image.size()) + image.size();
};

TEST_F(NoSpace, ALimitForTheLengthOfFilesIsAnError) {
    for (std::uint64_t limit = 0; limit < file_bytes; limit += 7 * hole_bytes) {
        ASSERT_EQ(in_child([&] {
                      ::signal(SIGXFSZ, SIG_IGN);
                      return write_with_limit(limit);
                  }),
                  EFBIG);
        ASSERT_TRUE(names().empty());
    }
    EXPECT_EQ(in_child([&] { return write_with_limit(file_bytes); }), 0);
    EXPECT_EQ(check(1), 0U) << what;
}

TEST_F(NoSpace, ALimitForTheLengthOfFilesIsNoSignal) {
    EXPECT_EQ(in_child([&] { return write_with_limit(file_bytes - 1); }), EFBIG);
    EXPECT_TRUE(names().empty());
}

TEST_F(NoSpace, AFolderThatIsGoneIsAnError) {
    EXPECT_EQ(write_checkpoint(-1, test_head(1), image), EBADF);
    ASSERT_EQ(::mkdirat(folder(), "gone", 0700), 0);
    const File gone(::openat(folder(), "gone", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::unlinkat(folder(), "gone", AT_REMOVEDIR), 0);
    EXPECT_EQ(write_checkpoint(gone.descriptor(), test_head(1), image), ENOENT);
}

TEST_F(NoSpace, ANameThatIsTakenByAFolderIsAnError) {
    ASSERT_EQ(::mkdirat(folder(), checkpoint_name(1).c_str(), 0700), 0);
    EXPECT_EQ(write_checkpoint(folder(), test_head(1), image), EISDIR);
    EXPECT_EQ(names(), std::vector{checkpoint_name(1)});
}

// A file system of `bytes`, mounted in a child with a mount namespace of its own.
class SmallFileSystem {
 public:
    SmallFileSystem(const std::string &path, std::uint64_t bytes) {
        const std::string options = "size=" + std::to_string(bytes);
        mounted_ = ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   ::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
        if (mounted_) folder_ = File(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    bool is_mounted() const { return mounted_; }
    int folder() const { return folder_.descriptor(); }

 private:
    bool mounted_ = false;
    File folder_;
};

constexpr int skipped = 255;

// Returns the result of writing the image to a file system of that size, or 254 if the
// checkpoint or a file is there that must not be.
int write_to(const std::string &path, std::uint64_t bytes, const Image &image) {
    const SmallFileSystem space(path, bytes);
    if (!space.is_mounted()) return skipped;
    const auto error = static_cast<int>(write_checkpoint(space.folder(), test_head(1), image));
    const bool is_empty = std::filesystem::is_empty(path);
    Checkpoint checkpoint;
    const bool is_whole =
        checkpoint.open(space.folder(), test_id, 1) == 0 && checkpoint.check_image() == 0;
    return (error == 0 ? is_whole : is_empty) ? error : 254;
}

TEST_F(NoSpace, AFullDiskIsAnErrorAtEveryPage) {
    const std::string path = path_of("disk");
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    int full = 0, written = 0;
    for (std::uint64_t blocks = 1; written == 0; ++blocks) {
        ASSERT_LT(blocks, file_bytes / hole_bytes);
        const int result = in_child([&] {
            return ::unshare(CLONE_NEWNS) == 0 ? write_to(path, blocks * hole_bytes, image)
                                               : skipped;
        });
        if (result == skipped) GTEST_SKIP() << "no file system can be mounted";
        ASSERT_TRUE(result == 0 || result == ENOSPC) << result << " of " << blocks << " blocks";
        ++(result == 0 ? written : full);
    }
    EXPECT_GT(full, 100);
}

}  // namespace
}  // namespace tarnbase::runtime
