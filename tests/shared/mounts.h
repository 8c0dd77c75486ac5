/* SPDX-License-Identifier: Apache-2.0 */
// File systems that only one process of a test sees.
#ifndef TESTS_SHARED_MOUNTS_H
#define TESTS_SHARED_MOUNTS_H

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

#include "tests/shared/child.h"

namespace shared_test {

// Gives this process mounts of its own, or skips the test.
inline void enter_own_mounts() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    const bool is_root = user == 0;
    if (::unshare(is_root ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        Child::skip("no mount namespace can be made");
    }
    if (!is_root) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        Child::skip("nothing can be mounted");
    }
}

}  // namespace shared_test

#endif
