// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/shell.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

constexpr int patience = 60 * 1000;  // milliseconds without output
constexpr const char *prompt = "READY>";
constexpr const char *read_line_key = "\x18";  // control and x
constexpr const char *begin_mark = "<<<";
constexpr const char *end_mark = ">>>";

// Start files: the completion script, a prompt to wait for, and a key that shows the line.
constexpr const char *bash_start = R"(
PS1='READY>'
source <(tarnctl completion bash)
show_line() { printf '<<<%s>>>' "$READLINE_LINE"; }
bind -x '"\C-x": show_line'
)";
constexpr const char *zsh_start = R"(
PS1='READY>'
unsetopt zle_bracketed_paste prompt_sp
autoload -U compinit
compinit -u -D
source <(tarnctl completion zsh)
show_line() { printf '<<<%s>>>' "$BUFFER" }
zle -N show_line
bindkey '^I' complete-word
bindkey '^X' show_line
)";

[[noreturn]] void become(const std::string &shell, const std::string &folder) {
    const std::string tools = std::filesystem::path(TARNCTL).parent_path();
    setenv("PATH", (tools + ":" + getenv("PATH")).c_str(), 1);
    setenv("HOME", folder.c_str(), 1);
    setenv("ZDOTDIR", folder.c_str(), 1);
    setenv("TERM", "dumb", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    unsetenv("TARNBASE_STORE");
    if (chdir(folder.c_str()) != 0) _exit(126);
    if (shell == "bash") execlp("bash", "bash", "--noprofile", "--rcfile", "start", "-i", nullptr);
    else execlp("zsh", "zsh", "-d", "-i", nullptr);
    _exit(127);
}

// A shell on a terminal of its own.
class Session {
 public:
    Session(const std::string &shell, const std::string &folder) {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = 200;
        child_ = forkpty(&terminal_, nullptr, nullptr, &size);
        if (child_ == 0) become(shell, folder);
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        close(terminal_);
    }

    void type(const std::string &keys) const {
        EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Reads until the shell has written `text`. Returns all that it wrote since it started.
    const std::string &wait_for(const std::string &text) {
        char buffer[4096];
        while (written_.find(text) == std::string::npos) {
            pollfd ready{terminal_, POLLIN, 0};
            const ssize_t count =
                poll(&ready, 1, patience) > 0 ? read(terminal_, buffer, sizeof buffer) : 0;
            if (count <= 0) {
                ADD_FAILURE() << "the shell wrote no `" << text << "` but:\n" << written_;
                break;
            }
            written_.append(buffer, static_cast<std::size_t>(count));
        }
        return written_;
    }

 private:
    pid_t child_ = -1;
    int terminal_ = -1;
    std::string written_;
};

std::string complete_on_terminal(const std::string &shell, const std::string &folder,
                                 const std::string &typed) {
    tarn::test::write_file(folder + "/start", bash_start);
    tarn::test::write_file(folder + "/.zshrc", zsh_start);
    Session session(shell, folder);
    session.wait_for(prompt);
    session.type(typed + "\t" + read_line_key);
    const std::string &written = session.wait_for(end_mark);
    const std::size_t begin = written.rfind(begin_mark) + 3;
    return written.substr(begin, written.rfind(end_mark) - begin);
}

// fish prints the candidates for the last word of a line that isn't typed. It adds a blank after a
// word, unless the word ends with one of some characters.
std::string complete_in_fish(const std::string &folder, const std::string &typed) {
    const std::string tools = std::filesystem::path(TARNCTL).parent_path();
    const std::string script = "cd " + folder + "; set -x HOME " + folder + "; set -x PATH " +
                               tools + " $PATH; tarnctl completion fish | source; complete -C '" +
                               typed + "'";
    const Outcome outcome = tarn::test::run({"/usr/bin/env", "fish", "--no-config", "-c", script});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const std::string word = outcome.out.substr(0, outcome.out.find_first_of("\t\n"));
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out;
    const std::string front = typed.substr(0, typed.rfind(' ') + 1);
    return front + word + (word.ends_with('=') ? "" : " ");
}

// The store of WithStore, made anew.
class Folder : public WithStore {
 public:
    Folder() { SetUp(); }
    std::string path() const { return directory / ""; }

 private:
    void TestBody() override {}
};

}  // namespace

bool has_shell(const std::string &shell) {
    return tarn::test::run({"/usr/bin/env", shell, "-c", "exit 0"}).exit_code == 0;
}

std::string complete_in(const std::string &shell, const std::string &typed) {
    const Folder folder;
    return shell == "fish" ? complete_in_fish(folder.path(), typed)
                           : complete_on_terminal(shell, folder.path(), typed);
}

}  // namespace tarnctl_test
