/* SPDX-License-Identifier: Apache-2.0 */
// Another process of a test.
#ifndef TESTS_SHARED_CHILD_H
#define TESTS_SHARED_CHILD_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace shared_test {

// Throws an error with that text.
[[noreturn]] void give_up(const std::string &text);
inline void need(bool condition, const std::string &text) {
    if (!condition) give_up(text);
}

// Forks in its constructor. Until then the test must not have a store open that the body opens:
// the other process would find its address range taken.
class Child {
 public:
    // The process ends when the body returns, and prints what it throws.
    using Body = std::function<void(Child &)>;
    explicit Child(const Body &body);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    // Both sides: let the other one continue, and wait until it does. They throw if it has ended.
    void tell() const;
    void await() const;
    // Whether the other side has told something that wasn't awaited.
    bool is_told() const;

    pid_t pid() const { return pid_; }
    // Waits for the end. Returns the exit code, 0 after the body returned, or minus the signal
    // that ended the process.
    int join();
    void send(int signal) const;

    // Ends the process: the test, or a part of it, isn't possible here.
    [[noreturn]] static void skip(const std::string &why);
    static constexpr int skipped = 77;

 private:
    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
};

}  // namespace shared_test

#endif
