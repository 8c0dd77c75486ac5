/* SPDX-License-Identifier: Apache-2.0 */
// A small number for each living thread that needs one.
#ifndef TARNBASE_RUNTIME_BASE_THREAD_NUMBER_H
#define TARNBASE_RUNTIME_BASE_THREAD_NUMBER_H

#include <cstdint>

namespace tarnbase::runtime {

// This thread's number; 0: it has none yet.
extern thread_local constinit std::uint32_t thread_number;

// Gives this thread the lowest free number from 1, and keeps it until the thread ends. May throw
// std::bad_alloc.
void take_thread_number();

}  // namespace tarnbase::runtime

#endif
