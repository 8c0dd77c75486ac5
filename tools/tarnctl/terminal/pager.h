// SPDX-License-Identifier: Apache-2.0
//
// A pager around standard output.
#ifndef TARNCTL_TERMINAL_PAGER_H
#define TARNCTL_TERMINAL_PAGER_H

#include <sys/types.h>

namespace tarnctl {

// While it lives, what is written to standard output goes through the environment's PAGER, or else
// through less(1) if there is one. Only on a terminal, and not if the program's --no-pager was
// given. Whoever leaves the pager early ends the program's output without a word.
class Pager {
 public:
    Pager();
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;
    // Waits until the user leaves the pager.
    ~Pager();

 private:
    pid_t pager_ = -1;
    int terminal_ = -1;  // the real standard output meanwhile
};

}  // namespace tarnctl

#endif
