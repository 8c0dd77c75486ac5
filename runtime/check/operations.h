/* SPDX-License-Identifier: Apache-2.0 */
// Checks the operations of a frame of the log.
#ifndef TARNBASE_RUNTIME_CHECK_OPERATIONS_H
#define TARNBASE_RUNTIME_CHECK_OPERATIONS_H

#include <cstdint>
#include <span>
#include <string>

#include "runtime/check/findings.h"

namespace tarnbase::runtime {

// `where` names the log or its file. Requires: the frame was checked.
void check_operations(std::span<const char> frame, std::uint64_t position, std::uint64_t capacity,
                      const std::string &where, Findings &findings);

}  // namespace tarnbase::runtime

#endif
