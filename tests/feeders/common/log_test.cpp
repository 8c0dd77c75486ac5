// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/feeders/common/environment.h"
#include "tests/support/temporary_directory.h"

namespace feeder {
namespace {

// Standard error is a file meanwhile.
class ErrorFile {
 public:
    explicit ErrorFile(const std::string &path) : former_(dup(STDERR_FILENO)) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    ErrorFile(const ErrorFile &) = delete;
    ErrorFile &operator=(const ErrorFile &) = delete;
    ~ErrorFile() {
        dup2(former_, STDERR_FILENO);
        close(former_);
    }

 private:
    const int former_;
};

class Logs : public testing::Test {
 protected:
    // What a program with these settings writes.
    std::string written(Level level, const std::string &text) {
        {
            const ErrorFile error(path);
            if (is_journal) environment.set("JOURNAL_STREAM", stream());
            const Log log("feeder", {LogTarget::standard_error, Level::warning});
            log.write(level, text);
        }
        const std::string all = tarn::test::read_file(path);
        std::filesystem::remove(path);
        return all;
    }
    static std::string stream() {
        struct stat status {};
        fstat(STDERR_FILENO, &status);
        return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "error";
    Environment environment;
    bool is_journal = false;
};

TEST_F(Logs, AreLinesWithTheNameOfTheProgram) {
    EXPECT_EQ(written(Level::error, "it failed"), "feeder: it failed\n");
    EXPECT_EQ(written(Level::warning, "a\nb\x7f"), "feeder: a\\x0ab\\x7f\n");
}

TEST_F(Logs, LeaveOutWhatIsLessImportant) {
    EXPECT_EQ(written(Level::info, "all is well"), "");
    EXPECT_EQ(written(Level::debug, "all is well"), "");
}

TEST_F(Logs, HaveLevelsInTheJournal) {
    environment.set("JOURNAL_STREAM", "1:1");
    EXPECT_EQ(written(Level::error, "it failed"), "feeder: it failed\n");
    is_journal = true;
    EXPECT_EQ(written(Level::error, "it failed"), "<3>it failed\n");
    EXPECT_EQ(written(Level::warning, "it may fail"), "<4>it may fail\n");
}

}  // namespace
}  // namespace feeder
