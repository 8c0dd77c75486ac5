// SPDX-License-Identifier: Apache-2.0
//
// The end of a command that runs until it is interrupted.
#ifndef TARNCTL_WATCH_STOP_H
#define TARNCTL_WATCH_STOP_H

namespace tarnctl {

// SIGINT and SIGTERM end a wait, and stopped() is true from then on.
void stop_on_signals();
bool stopped();

}  // namespace tarnctl

#endif
