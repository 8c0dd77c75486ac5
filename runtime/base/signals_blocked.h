/* SPDX-License-Identifier: Apache-2.0 */
// Signals are for the program's own threads: one that the runtime starts while this exists gets
// none.
#ifndef TARNBASE_RUNTIME_BASE_SIGNALS_BLOCKED_H
#define TARNBASE_RUNTIME_BASE_SIGNALS_BLOCKED_H

#include <pthread.h>
#include <signal.h>

namespace tarnbase::runtime {

class SignalsBlocked {
 public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
    sigset_t before_;
};

}  // namespace tarnbase::runtime

#endif
