// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/log_file.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "tests/support/temporary_directory.h"

namespace tarn_ldap {
namespace {

using tarn::test::append_file;
using tarn::test::TemporaryDirectory;
using tarn::test::write_file;

class LogFileTest : public testing::Test {
 protected:
    void SetUp() override { start(); }
    // Continues where the last reader has ended, or as `begin` says.
    void start() { start({.position = position}); }
    void start(const Begin &begin) {
        log.reset();
        log = std::make_unique<LogFile>(path, begin,
                                        [this](const std::string &text) { warnings += text; });
    }
    // All that can be read now.
    std::string read() {
        std::string bytes;
        while (const auto piece = log->next()) {
            bytes += (piece->new_text ? "|" : "") + piece->bytes;
            position = piece->position;
            last_line = piece->first_line;
        }
        return bytes;
    }
    bool is_ready() const {
        pollfd watched{log->descriptor(), POLLIN, 0};
        return poll(&watched, 1, 0) == 1;
    }
    void rename(const std::string &suffix) { std::filesystem::rename(path, path + suffix); }
    // As a rotation by copying does.
    void copy_and_truncate(const std::string &suffix) {
        std::filesystem::copy_file(path, path + suffix);
        std::filesystem::resize_file(path, 0);
    }

    TemporaryDirectory directory;
    std::string path = directory / "slapd.log";
    std::string position;
    uint64_t last_line = 0;
    std::string warnings;
    std::unique_ptr<LogFile> log;
};

TEST_F(LogFileTest, OnlyWholeLinesArePassedOn) {
    EXPECT_EQ(read(), "");
    append_file(path, "one\ntw");
    EXPECT_EQ(read(), "one\n");
    EXPECT_EQ(read(), "");
    append_file(path, "o\nthree\n");
    EXPECT_EQ(read(), "two\nthree\n");
    EXPECT_EQ(last_line, 2u);
}

TEST_F(LogFileTest, ALongLineIsPassedOnWhole) {
    const std::string line = std::string(200000, 'x') + "\n";
    append_file(path, line + line);
    EXPECT_EQ(read(), line + line);
}

TEST_F(LogFileTest, ItIsReadyWhenItsFileHasGrownOrAppears) {
    EXPECT_FALSE(is_ready());
    append_file(path, "one\n");
    EXPECT_TRUE(is_ready());
    log->acknowledge();
    EXPECT_FALSE(is_ready());
    EXPECT_EQ(read(), "one\n");
    append_file(path, "two\n");
    EXPECT_TRUE(is_ready());
    log->acknowledge();
    append_file(directory / "another.log", "none of its matters\n");
    log->acknowledge();
    append_file(directory / "another.log", "nor is this\n");
    EXPECT_FALSE(is_ready());
}

TEST_F(LogFileTest, ARenamedFileIsReadUntilTheNextOneHasALine) {
    append_file(path, "one\n");
    EXPECT_EQ(read(), "one\n");
    rename(".1");
    append_file(path + ".1", "two\n");
    EXPECT_EQ(read(), "two\n");
    write_file(path, "");
    append_file(path + ".1", "three\n");
    EXPECT_EQ(read(), "three\n");
    append_file(path + ".1", "four");
    append_file(path, "five\n");
    EXPECT_EQ(read(), "four\n|five\n");
    EXPECT_EQ(last_line, 1u);
    log->acknowledge();
    append_file(path, "six\n");
    EXPECT_TRUE(is_ready());
    EXPECT_EQ(read(), "six\n");
    EXPECT_EQ(warnings, "");
}

TEST_F(LogFileTest, ATruncatedFileIsReadToTheEndOfItsCopyFirst) {
    append_file(path, "one\n");
    EXPECT_EQ(read(), "one\n");
    append_file(path, "two\n");
    copy_and_truncate("-20260131");
    append_file(path, "three\nfour\nfive\n");
    EXPECT_EQ(read(), "two\n|three\nfour\nfive\n");
    EXPECT_EQ(warnings, "");
}

TEST_F(LogFileTest, ATruncatedFileWithoutACopyIsReadFromItsStartWithAWarning) {
    append_file(path, "one\ntwo\n");
    EXPECT_EQ(read(), "one\ntwo\n");
    write_file(path, "new\n");
    EXPECT_EQ(read(), "|new\n");
    EXPECT_NE(warnings.find("read to byte 8 isn't there any more"), std::string::npos) << warnings;
}

TEST_F(LogFileTest, ANewReaderContinuesWhereTheLastOneEnded) {
    append_file(path, "one\ntwo\nthr");
    EXPECT_EQ(read(), "one\ntwo\n");
    start();
    EXPECT_EQ(read(), "");
    append_file(path, "ee\n");
    EXPECT_EQ(read(), "three\n");
    EXPECT_EQ(last_line, 3u);
}

TEST_F(LogFileTest, EachPieceHasThePlaceAtItsEnd) {
    const std::string line = std::string(50000, 'x') + "\n";
    append_file(path, line + line + line);
    std::vector<std::string> places = {""};
    while (const auto piece = log->next()) places.push_back(piece->position);
    ASSERT_EQ(places.size(), 4u);
    for (size_t read_before = 0; read_before < places.size(); ++read_before) {
        start({.position = places[read_before]});
        EXPECT_EQ(read().size(), line.size() * (3 - read_before));
    }
}

TEST_F(LogFileTest, FilesThatWereRotatedMeanwhileAreReadInTheirOrder) {
    append_file(path, "one\n");
    EXPECT_EQ(read(), "one\n");
    log.reset();
    append_file(path, "two\n");
    rename(".1");
    append_file(path, "three\n");
    std::filesystem::rename(path + ".1", path + ".2");
    rename(".1");
    append_file(path, "four\n");
    write_file(path + "-20200131", "a file of another way of rotating\n");
    std::filesystem::last_write_time(
        path + "-20200131", std::filesystem::last_write_time(path) - std::chrono::hours(1));
    write_file(path + ".1.old", "no rotated file\n");
    write_file(path + ".3.gz", "no text\n");
    start();
    EXPECT_EQ(read(), "two\n|three\n|four\n");
    EXPECT_EQ(warnings, "");
}

TEST_F(LogFileTest, FilesThatWereReadAreNotReadAgainAfterARotation) {
    append_file(path, "one\n");
    EXPECT_EQ(read(), "one\n");
    rename(".1");
    append_file(path, "two\n");
    EXPECT_EQ(read(), "|two\n");
    start();
    EXPECT_EQ(read(), "");
    rename(".2");
    start();
    append_file(path, "three\n");
    EXPECT_EQ(read(), "|three\n");
}

TEST_F(LogFileTest, AFileThatIsNotThereAnyMoreIsAWarning) {
    append_file(path, "one\n");
    EXPECT_EQ(read(), "one\n");
    std::filesystem::remove(path);
    append_file(path, "two\n");
    start();
    EXPECT_EQ(read(), "|two\n");
    EXPECT_NE(warnings.find("lines at its end may be missing"), std::string::npos) << warnings;
}

TEST_F(LogFileTest, ReadingCanBeginAtTheEnd) {
    append_file(path, "old\n");
    start({.position = "", .from_end = true});
    EXPECT_EQ(read(), "");
    append_file(path, "new\n");
    EXPECT_EQ(read(), "new\n");
    start({.position = position, .from_end = true});
    append_file(path, "newer\n");
    EXPECT_EQ(read(), "newer\n");
}

TEST_F(LogFileTest, ATextThatIsNoPlaceIsRefused) {
    for (const char *bad : {"journal s=1", "file 1 2 3", "file 1 2 3 xyz", "file 1 2 3 4 5"})
        EXPECT_THROW(start({.position = bad}), BadPosition) << bad;
}

TEST_F(LogFileTest, AMissingFolderOrAFolderInPlaceOfTheFileIsAnErrorThatNamesIt) {
    for (const std::string &bad : {directory / "missing/slapd.log", directory / "."}) {
        path = bad;
        try {
            start({});
            ADD_FAILURE() << "opened " << bad;
        } catch (const std::system_error &error) {
            const std::string folder = std::filesystem::path(bad).parent_path().string();
            EXPECT_NE(std::string(error.what()).find(folder), std::string::npos) << error.what();
        }
    }
}

}  // namespace
}  // namespace tarn_ldap
