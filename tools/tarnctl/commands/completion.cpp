// SPDX-License-Identifier: Apache-2.0
//
// tarnctl completion: the scripts that complete its command lines, and their candidates.
#include <iostream>
#include <iterator>
#include <memory>

#include "commands/command.h"
#include "completion/candidates.h"
#include "completion/scripts.h"

namespace tarnctl {
namespace {

struct Options {
    std::string shell;
    bool candidates = false;
};

std::vector<std::string> words_of(std::istream &in) {
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, '\0');) words.push_back(word);
    return words;
}

void print_candidates(const cli::Command &program) {
    const Completion completion = complete(program, words_of(std::cin));
    std::cout << (completion.files ? "files" : completion.open ? "open" : "words") << '\n';
    for (const Candidate &each : completion.candidates)
        std::cout << each.text << '\t' << each.meaning << '\n';
}

std::string_view script_of(const std::string &shell) {
    if (shell == "bash") return bash_script;
    return shell == "zsh" ? zsh_script : fish_script;
}

constexpr const char *footer = R"(
The packages install these scripts in the folders that the shells search. Without
a package, bash and zsh read them from a line in their start files, fish from its
folder.

Examples:
  source <(tarnctl completion bash)
  source <(tarnctl completion zsh)
  tarnctl completion fish > ~/.config/fish/completions/tarnctl.fish)";

}  // namespace

void declare_completion(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("completion", "Print a script that completes command lines in a shell");
    command.argument("SHELL",
                     cli::one_of({"bash", "zsh", "fish"},
                                 [options](const std::string &shell) { options->shell = shell; }),
                     "Shell that the script is for");
    // Called by the scripts only.
    command
        .flag("--candidates", options->candidates,
              "Print the candidates for the words on standard input")
        .hidden();
    command.notes = footer;
    command.action = [options, &program] {
        if (options->candidates) return print_candidates(program);
        if (options->shell.empty())
            throw Failure(Exit::usage, "completion: name the shell: bash, zsh or fish");
        std::cout << script_of(options->shell);
    };
}

}  // namespace tarnctl
