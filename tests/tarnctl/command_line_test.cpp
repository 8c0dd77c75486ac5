// SPDX-License-Identifier: Apache-2.0
//
// Command lines read by their description, and what holds of tarnctl's description as a whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "cli/help.h"
#include "cli/parser.h"
#include "program/program.h"

namespace tarnctl_test {
namespace {

using Words = std::vector<std::string>;

// "copy [OPTION...] FROM [TO...]", with a command "undo" in another program.
class CommandLine : public testing::Test {
 protected:
    CommandLine() {
        command.argument("FROM", cli::into(from), "Where from").required();
        command.argument("TO", cli::into(to), "Where to");
        command.option("-c,--count", "NUMBER", cli::number_into(count, 1, 9), "How often");
        command.option("--kind", "KIND",
                       cli::one_of({"soft", "hard"}, [this](const auto &word) { kind = word; }),
                       "Which");
        command.flag("-q,--quiet", quiet, "Say nothing").excludes("count");
        command.flag("--loud", loud, "Say all").needs("kind");
    }

    std::string error_of(const Words &words) const {
        try {
            cli::Parser(command).parse(words);
        } catch (const cli::LineError &error) {
            EXPECT_EQ(error.command, &command);
            return error.what();
        }
        return "";
    }

    cli::Command command{"copy", "Copies"};
    std::string from;
    Words to;
    std::optional<uint8_t> count;
    std::string kind;
    bool quiet = false;
    bool loud = false;
};

TEST_F(CommandLine, AssignsWordsToTheirTargets) {
    EXPECT_EQ(error_of({"a", "-c", "3", "b", "--kind=soft", "--loud", "[c,d]", "--", "-e"}), "");
    EXPECT_EQ(from, "a");
    EXPECT_EQ(to, (Words{"b", "[c,d]", "-e"}));
    EXPECT_EQ(count, 3);
    EXPECT_EQ(kind, "soft");
    EXPECT_TRUE(loud);
    EXPECT_FALSE(quiet);
}

TEST_F(CommandLine, ReportsOneErrorAndWhatWasExpected) {
    const std::map<Words, std::string> wrong = {
        {{}, "FROM is missing"},
        {{"a", "--cuont", "3"}, "no option `--cuont`; did you mean `--count`?"},
        {{"a", "-z"}, "no option `-z`"},
        {{"a", "--count"}, "--count needs a value: NUMBER"},
        {{"a", "--count=", "3"}, "--count needs a value"},
        {{"a", "++", "--quiet"}, "`++` can't be a word of a command line"},
        {{"a", "-c"}, "--count needs a value: NUMBER"},
        {{"a", "--count", "10"}, "--count `10`: expected a whole number from 1 to 9"},
        {{"a", "--count", "-1"}, "--count `-1`: expected a whole number from 1 to 9"},
        {{"a", "--count", "3x"}, "--count `3x`: expected a whole number from 1 to 9"},
        {{"a", "-c3", "-c4"}, "--count is given more than once"},
        {{"a", "--kind", "x"}, "--kind `x`: expected soft or hard"},
        {{"a", "--quiet=no"}, "--quiet takes no value"},
        {{"a", "--quiet", "-c1"}, "--quiet can't be given with --count"},
        {{"a", "--loud"}, "--loud needs --kind"},
    };
    for (const auto &[words, text] : wrong) EXPECT_EQ(error_of(words), text);
}

TEST_F(CommandLine, PassesAProgramsOptionToTheCommandThatFollows) {
    cli::Command program("prog", "Does");
    std::string store;
    program.option("-s,--store", "STORE", {}, "Store").passed_on();
    cli::Command &show = program.command("show", "Shows");
    show.option("-s,--store", "STORE", cli::into(store), "Store").required();
    program.command("rest", "Rests");
    EXPECT_EQ(cli::Parser(program).parse({"--store", "a", "show"}).command, &show);
    EXPECT_EQ(store, "a");
    try {
        cli::Parser(program).parse({"--store", "a", "show", "-s", "b"});
        FAIL() << "two stores were taken";
    } catch (const cli::LineError &error) {
        EXPECT_STREQ(error.what(), "--store is given more than once");
    }
    try {
        cli::Parser(program).parse({"-s", "a", "rest"});
        FAIL() << "the store was taken";
    } catch (const cli::LineError &error) {
        EXPECT_STREQ(error.what(), "`prog rest` takes no --store");
    }
}

TEST_F(CommandLine, TakesMissingOptionsFromTheEnvironment) {
    command.option("--place", "FILE", cli::into(from), "Place").environment("COMMAND_LINE_TEST");
    ASSERT_EQ(setenv("COMMAND_LINE_TEST", "there", 1), 0);
    EXPECT_EQ(error_of({"a"}), "");
    EXPECT_EQ(from, "there");
    EXPECT_EQ(error_of({"a", "--place", "here"}), "");
    EXPECT_EQ(from, "here");
    ASSERT_EQ(unsetenv("COMMAND_LINE_TEST"), 0);
}

class Description : public testing::Test {
 protected:
    // Calls `function` with the program and each of its commands.
    template <class Function>
    void for_each_command(const cli::Command &command, Function function) const {
        function(command);
        for (const cli::Command &inner : command.commands) for_each_command(inner, function);
    }

    tarnctl::Exit status = tarnctl::Exit::done;
    std::unique_ptr<cli::Command> program = tarnctl::make_program(status);
};

TEST_F(Description, HasOneMeaningForAShortOption) {
    std::map<char, std::string> meanings;
    for_each_command(*program, [&](const cli::Command &command) {
        for (const cli::Option &option : command.options) {
            if (option.letter == 0) continue;
            const std::string &name = option.names.front();
            const auto meaning = meanings.emplace(option.letter, name).first;
            EXPECT_EQ(meaning->second, name) << command.full_name() << " -" << option.letter;
        }
    });
    EXPECT_EQ(meanings['s'], "store");
    EXPECT_EQ(meanings['t'], "tenant");
}

TEST_F(Description, ListsTheSameExitStatusesInEveryHelp) {
    for_each_command(*program, [](const cli::Command &command) {
        const std::string help = cli::help_of(command, 80);
        const std::size_t begin = help.find("\nExit status:\n");
        ASSERT_NE(begin, std::string::npos) << command.full_name();
        EXPECT_EQ(help.find("Exit status", begin + 5), std::string::npos) << command.full_name();
        for (const cli::Status &each : tarnctl::exit_statuses())
            EXPECT_NE(help.find("\n  " + std::to_string(each.number) + "  ", begin),
                      std::string::npos)
                << command.full_name();
    });
}

TEST_F(Description, NamesValuesByTheirMeaning) {
    for_each_command(*program, [](const cli::Command &command) {
        const std::string help = cli::help_of(command, 80);
        for (const char *word :
             {"REQUIRED", "Excludes:", "Needs:", "TEXT", "UINT", "FLOAT", "[OPTIONS]", "Env:"})
            EXPECT_EQ(help.find(word), std::string::npos) << command.full_name() << ": " << word;
    });
}

}  // namespace
}  // namespace tarnctl_test
