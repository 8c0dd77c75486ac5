// SPDX-License-Identifier: Apache-2.0
//
// Runs a program as a user does: with arguments, standard input, and an exit code.
#ifndef TARNBASE_TESTS_SUPPORT_PROCESS_H
#define TARNBASE_TESTS_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarn::test {

struct Outcome {
    int exit_code = -1;  // or minus the signal that ended the program
    std::string out;
    std::string err;
};

// A program that runs during the test, which can wait for its output on standard error.
class Process {
 public:
    explicit Process(std::vector<std::string> command, const std::string &input = "");
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    // Waits until standard error holds `text`. False if the program ends before, or hangs.
    bool wait_for(const std::string &text);
    void send(int signal) const;
    pid_t pid() const { return pid_; }
    bool is_running() const;
    // Waits for the end.
    Outcome finish();

 private:
    bool read_error();

    pid_t pid_ = -1;
    int out_ = -1;  // a file without a name
    int err_ = -1;  // the reading end of a pipe
    std::string error_text_;
};

// Runs a program to its end.
Outcome run(std::vector<std::string> command, const std::string &input = "");

}  // namespace tarn::test

#endif
