// SPDX-License-Identifier: Apache-2.0
#include "runtime/trace/thread.h"

namespace tarnbase::runtime {

thread_local constinit ThreadContext thread_context;

}  // namespace tarnbase::runtime
