// SPDX-License-Identifier: Apache-2.0
//
// Files of settings, which all daemons read.
#include "cli/config_file.h"

#include <gtest/gtest.h>

#include <map>

#include "cli/parser.h"
#include "tests/support/temporary_directory.h"

namespace feeder {
namespace {

using Words = std::vector<std::string>;

class ConfigFile : public testing::Test {
 protected:
    // What the message says after the file's name.
    std::string error_of(const std::string &text) const {
        tarn::test::write_file(path, text);
        return error();
    }
    std::string error() const {
        try {
            cli::read_config(path);
        } catch (const cli::UsageError &failure) {
            const std::string message = failure.what();
            EXPECT_EQ(message.substr(0, path.size()), path);
            return message.substr(path.size());
        }
        return "";
    }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "settings.toml";
};

TEST_F(ConfigFile, HasTheWordsOfEachKeyAndTheirPlace) {
    tarn::test::write_file(path,
                           "# a comment\n"
                           "store = \"/a b\"\n"
                           "number = 17\n"
                           "seconds = 0.25\n"
                           "quiet = true\n"
                           "\n"
                           "server = [\"a=1\", 2]\n");
    std::map<std::string, std::pair<Words, std::string>> found;
    for (const cli::Setting &each : cli::read_config(path))
        found[each.name] = {each.words, each.place.substr(path.size())};
    const std::map<std::string, std::pair<Words, std::string>> expected{
        {"store", {{"/a b"}, ":2"}},
        {"number", {{"17"}, ":3"}},
        {"seconds", {{"0.25"}, ":4"}},
        {"quiet", {{"true"}, ":5"}},
        {"server", {{"a=1", "2"}, ":7"}}};
    EXPECT_EQ(found, expected);
}

TEST_F(ConfigFile, ThatIsWrongIsRefusedWithItsLine) {
    EXPECT_EQ(error(), ": No such file or directory");
    const std::string expected = ": expected a text, a number, true or false, or a list of these";
    EXPECT_EQ(error_of("a = 1\nb = 2026-11-22\n"), ":2: b" + expected);
    EXPECT_EQ(error_of("a = 1\n\n[part]\nb = 1\n"), ":3: part" + expected);
    EXPECT_EQ(error_of("a = [[1]]\n"), ":1: a" + expected);
    EXPECT_EQ(error_of("a = 1\nb = \n").substr(0, 3), ":2:");
    EXPECT_EQ(error_of("a = 1\na = 2\n").substr(0, 3), ":2:");
    path = directory.path();
    EXPECT_EQ(error(), ": Is a directory");
}

TEST_F(ConfigFile, CountsWhereTheCommandLineHasNoOptionOfThatName) {
    std::string store, server;
    bool is_quiet = false, is_loud = false;
    cli::Command program("test", "Tests");
    program.option("--store", "STORE", cli::into(store), "Store").required();
    program.option("--server", "NAME", cli::into(server), "Server");
    program.flag("--quiet", is_quiet, "Say nothing");
    program.flag("--loud", is_loud, "Say all");
    cli::add_config_option(program);
    tarn::test::write_file(path, "store = \"a\"\nserver = \"b\"\nquiet = true\nloud = false\n");
    cli::Parser(program).parse({"--server", "c", "--config", path});
    EXPECT_EQ(store, "a");
    EXPECT_EQ(server, "c");
    EXPECT_TRUE(is_quiet);
    EXPECT_FALSE(is_loud);
}

}  // namespace
}  // namespace feeder
