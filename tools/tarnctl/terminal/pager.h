// SPDX-License-Identifier: Apache-2.0
//
// A pager around standard output.
#ifndef TARNCTL_TERMINAL_PAGER_H
#define TARNCTL_TERMINAL_PAGER_H

#include <sys/types.h>

namespace tarnctl {

// During its lifetime standard output goes through PAGER of the environment, or else through
// less(1) if it is installed. Only on a terminal, and not with --no-pager. Leaving the pager early
// ends the output without an error.
class Pager {
 public:
    Pager();
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;
    // Waits for the pager to end.
    ~Pager();

 private:
    pid_t pager_ = -1;
    int terminal_ = -1;  // the real standard output
};

}  // namespace tarnctl

#endif
