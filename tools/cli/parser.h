// SPDX-License-Identifier: Apache-2.0
//
// Reads a command line by its description.
#ifndef TOOLS_CLI_PARSER_H
#define TOOLS_CLI_PARSER_H

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"

namespace cli {

// An error in a command line, and the command that it is for.
class LineError : public UsageError {
 public:
    LineError(const Command &for_command, const std::string &text)
        : UsageError(text), command(&for_command) {}
    const Command *command;
};

// The error of an unknown command, with the nearest name.
LineError no_command(const Command &within, const std::string &name);

struct Request {
    const Command *command;  // the innermost one that is named
    bool help = false;
    bool version = false;
};

class Parser {
 public:
    // The command must outlive the parser.
    explicit Parser(const Command &command);
    ~Parser();
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    // Reads the words after the command's name and passes them to the targets, in the order of the
    // options' declarations. A request for help or the version sets no target. Can be called
    // several times. Throws LineError.
    Request parse(const std::vector<std::string> &words);

 private:
    class Level;
    std::unique_ptr<Level> level_;
};

}  // namespace cli

#endif
