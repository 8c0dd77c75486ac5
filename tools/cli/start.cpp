// SPDX-License-Identifier: Apache-2.0
#include "cli/start.h"

#include <iostream>

#include "cli/help.h"

namespace cli {

int report(const Command &program, const LineError &error) {
    std::cerr << program.name << ": " << error.what() << "\nTry `" << error.command->full_name()
              << " --help`.\n";
    return usage_status;
}

Start start(const Command &program, int argc, const char *const *argv) {
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    try {
        const Request request = Parser(program).parse(words);
        if (!request.help && !request.version) return {request.command, 0};
        std::cout << (request.help ? help_of(*request.command, screen_width())
                                   : program.version + "\n");
        return {nullptr, 0};
    } catch (const LineError &error) {
        return {nullptr, report(program, error)};
    }
}

}  // namespace cli
