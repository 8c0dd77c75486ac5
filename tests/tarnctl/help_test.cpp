// SPDX-License-Identifier: Apache-2.0
#include "cli/help.h"

#include <gtest/gtest.h>

#include <sstream>

#include "program/program.h"

namespace tarnctl_test {
namespace {

using cli::filled;
using cli::wrapped;

std::vector<const cli::Command *> all_commands(const cli::Command &program) {
    std::vector<const cli::Command *> all;
    for (const cli::Command &command : program.commands) {
        if (command.commands.empty()) all.push_back(&command);
        for (const cli::Command &inner : command.commands) all.push_back(&inner);
    }
    return all;
}

class Help : public testing::Test {
 protected:
    tarnctl::Exit status = tarnctl::Exit::done;
    std::unique_ptr<cli::Command> program = tarnctl::make_program(status);
};

TEST_F(Help, WrapsTextsAtBlanksAfterTheirHeads) {
    EXPECT_EQ(wrapped("  -a", "one two three", 6, 13), "  -a  one two\n      three\n");
    EXPECT_EQ(wrapped("  --longer", "one", 6, 13), "  --longer\n      one\n");
    EXPECT_EQ(wrapped("  -a", "unbreakable", 6, 10), "  -a  unbreakable\n");
}

TEST_F(Help, FillsParagraphsAndKeepsIndentedLines) {
    EXPECT_EQ(filled("one\ntwo three\n\n  kept  as it is\nfour", 9),
              "one two\nthree\n\n  kept  as it is\nfour\n");
    EXPECT_EQ(filled("\none\ntwo", 80), "one two\n");
}

TEST_F(Help, OfEveryCommandFitsItsWidth) {
    for (const std::size_t width : {80U, 120U}) {
        for (const cli::Command *command : all_commands(*program)) {
            std::istringstream lines(cli::help_of(*command, width));
            std::size_t longest = 0;
            for (std::string line; std::getline(lines, line);) {
                EXPECT_LE(line.size(), width) << command->name << ": " << line;
                longest = std::max(longest, line.size());
            }
            EXPECT_GT(longest, width - 15) << command->name;
        }
    }
}

TEST_F(Help, OfEveryCommandHasAnExample) {
    const std::vector<const cli::Command *> commands = all_commands(*program);
    EXPECT_FALSE(commands.empty());
    for (const cli::Command *command : commands) {
        EXPECT_NE(command->notes.find("Example"), std::string::npos) << command->name;
        EXPECT_NE(command->notes.find("\n  "), std::string::npos) << command->name;
    }
}

TEST_F(Help, DescribesEveryOptionAndArgument) {
    for (const cli::Command *command : all_commands(*program)) {
        EXPECT_FALSE(command->summary.empty()) << command->name;
        for (const cli::Option &option : command->options) {
            EXPECT_FALSE(option.meaning.empty()) << command->name << " " << option.title();
            EXPECT_FALSE(option.meaning.ends_with('.')) << command->name << " " << option.title();
        }
    }
}

}  // namespace
}  // namespace tarnctl_test
