/* SPDX-License-Identifier: Apache-2.0 */
// The start-up and shutdown routines, which the loader runs.
#ifndef TARNBASE_FRAME_STARTUP_H
#define TARNBASE_FRAME_STARTUP_H

#include "tarnbase/descriptor.h"

namespace tarnbase {

extern kel_module_record module_record;

// Links the module record into the runtime's list, once in a process.
void start();
// Unlinks it, if it was linked.
void stop();

}  // namespace tarnbase

#endif
