/* SPDX-License-Identifier: Apache-2.0 */
// Another process that runs a part of a test; its exit code is the result.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_STORE_PEER_H
#define TARNBASE_TESTS_UNIT_RUNTIME_STORE_PEER_H

#include <sys/types.h>

namespace tarn::test {

class Peer;

// Runs in the other process. 0: everything is as expected.
using PeerBody = int (*)(Peer &, const char *path);

// Forks in its constructor. Until then the test must not open a store that the body opens,
// since the other process would inherit the mapping and find the address range taken.
class Peer {
 public:
    Peer(PeerBody body, const char *path, const void *context = nullptr);
    ~Peer();
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    // Lets the other side continue, and waits for it. False: it has ended.
    bool tell() const;
    bool await() const;

    pid_t process() const { return process_; }
    const void *context() const { return context_; }

    // The exit code, or -1 if a signal ended the process.
    int join();
    // Ends the process with SIGKILL.
    void kill();

 private:
    pid_t process_ = -1;
    const void *context_;
    int in_ = -1;
    int out_ = -1;
};

// Prints a failed condition of the other process.
int complain(const char *what);

#define TARN_PEER_EXPECT(condition) \
    if (!(condition)) return ::tarn::test::complain(#condition)

}  // namespace tarn::test

#endif
