// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>
#include "help/format.h"
#include "program.h"

namespace tarnctl_test {
namespace {

using tarnctl::wrapped;

std::vector<CLI::App *> all_commands(CLI::App &program) {
    std::vector<CLI::App *> all;
    for (CLI::App *command : program.get_subcommands([](CLI::App *) { return true; })) {
        if (command->get_group().empty()) continue;
        const auto inner = command->get_subcommands([](CLI::App *) { return true; });
        if (inner.empty()) all.push_back(command);
        all.insert(all.end(), inner.begin(), inner.end());
    }
    return all;
}

class Help : public testing::Test {
 protected:
    tarnctl::Exit status = tarnctl::Exit::done;
    std::unique_ptr<CLI::App> program = tarnctl::make_program(status);
};

TEST_F(Help, BreaksTextsAtBlanksBehindTheirHeads) {
    EXPECT_EQ(wrapped("  -a", "one two three", 6, 13), "  -a  one two\n      three\n");
    EXPECT_EQ(wrapped("  --longer", "one", 6, 13), "  --longer\n      one\n");
    EXPECT_EQ(wrapped("  -a", "unbreakable", 6, 10), "  -a  unbreakable\n");
}

TEST_F(Help, OfEveryCommandFitsEightyColumns) {
    for (CLI::App *command : all_commands(*program)) {
        std::istringstream lines(command->help("tarnctl " + command->get_name()));
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << command->get_name() << ": " << line;
    }
}

TEST_F(Help, OfEveryCommandHasAnExample) {
    const std::vector<CLI::App *> commands = all_commands(*program);
    EXPECT_FALSE(commands.empty());
    for (const CLI::App *command : commands) {
        const std::string footer = command->get_footer();
        EXPECT_NE(footer.find("Example"), std::string::npos) << command->get_name();
        EXPECT_NE(footer.find("\n  "), std::string::npos) << command->get_name();
    }
}

TEST_F(Help, TellsWhatEveryOptionAndArgumentIs) {
    for (const CLI::App *command : all_commands(*program)) {
        EXPECT_FALSE(command->get_description().empty()) << command->get_name();
        for (const CLI::Option *option : command->get_options()) {
            EXPECT_FALSE(option->get_description().empty())
                << command->get_name() << " " << option->get_name();
            EXPECT_FALSE(option->get_description().ends_with('.'))
                << command->get_name() << " " << option->get_name();
        }
    }
}

}  // namespace
}  // namespace tarnctl_test
