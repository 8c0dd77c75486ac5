// SPDX-License-Identifier: Apache-2.0
#include "output.h"

#include <gtest/gtest.h>

#include "source.h"
#include "support.h"

using tarn::test::TemporaryDirectory;

namespace {

std::string content(const std::string &path) {
    std::string text;
    return tarnc::read_file(path, text) ? text : "no file " + path;
}

TEST(Output, WritesFilesInFoldersThatItCreates) {
    const TemporaryDirectory folder;
    tarnc::write_files(folder.path(), {{"a.txt", "one"}, {"b/c.txt", "two"}});
    EXPECT_EQ(content(folder / "a.txt"), "one");
    EXPECT_EQ(content(folder / "b/c.txt"), "two");
}

TEST(Output, DoesNotWriteAnUnchangedFile) {
    const TemporaryDirectory folder;
    tarnc::write_files(folder.path(), {{"same.txt", "one"}, {"other.txt", "one"}});
    const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time(folder / "same.txt", long_ago);
    std::filesystem::last_write_time(folder / "other.txt", long_ago);
    tarnc::write_files(folder.path(), {{"same.txt", "one"}, {"other.txt", "two"}});
    EXPECT_EQ(std::filesystem::last_write_time(folder / "same.txt"), long_ago);
    EXPECT_NE(std::filesystem::last_write_time(folder / "other.txt"), long_ago);
}

TEST(Output, RemovesOnlyFilesOfAnEarlierRun) {
    const TemporaryDirectory folder;
    std::ofstream(folder / "mine.txt") << "mine";
    tarnc::write_files(folder.path(), {{"a.txt", "one"}, {"b.txt", "two"}});
    tarnc::write_files(folder.path(), {{"b.txt", "two"}});
    EXPECT_FALSE(std::filesystem::exists(folder / "a.txt"));
    EXPECT_TRUE(std::filesystem::exists(folder / "b.txt"));
    EXPECT_TRUE(std::filesystem::exists(folder / "mine.txt"));
}

TEST(Output, FileThatCannotBeWrittenIsAnError) {
    const TemporaryDirectory folder;
    std::filesystem::create_directories(folder / "taken");
    EXPECT_THROW(tarnc::write_files(folder.path(), {{"taken", "text"}}), std::runtime_error);
}

TEST(Output, DependencyRuleEscapesSpecialCharactersOfMake) {
    EXPECT_EQ(tarnc::dependency_rule("out/made", {"a b.tarn", "c$d.tarn", "e#.tarn"}),
              "out/made: \\\n  a\\ b.tarn \\\n  c$$d.tarn \\\n  e\\#.tarn\n");
}

}  // namespace
