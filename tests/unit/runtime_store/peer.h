/* SPDX-License-Identifier: Apache-2.0 */
// Another process, which does what a test tells it and answers by its exit code.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_STORE_PEER_H
#define TARNBASE_TESTS_UNIT_RUNTIME_STORE_PEER_H

#include <sys/types.h>

namespace tarn::test {

class Peer;

// Runs in the other process. 0: all was as it should be.
using PeerBody = int (*)(Peer &, const char *path);

// Forked when it is made: before that the test opens no store that the body opens,
// or the other process would find the address range taken.
class Peer {
 public:
    Peer(PeerBody body, const char *path);
    ~Peer();
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    // Each side tells the other to go on, and waits for that. False: the other is gone.
    bool tell() const;
    bool await() const;

    // The exit code, or -1 if a signal ended the process.
    int join();
    // Ends the process with SIGKILL.
    void kill();

 private:
    pid_t process_ = -1;
    int in_ = -1;
    int out_ = -1;
};

// Prints what is wrong in the other process.
int complain(const char *what);

#define TARN_PEER_EXPECT(condition) \
    if (!(condition)) return ::tarn::test::complain(#condition)

}  // namespace tarn::test

#endif
