// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/operations.h"

#include "runtime/log/frame.h"

namespace tarnbase::runtime {

void check_operations(std::span<const char> frame, std::uint64_t position, std::uint64_t capacity,
                      const std::string &where, Findings &findings) {
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        if (operation.offset < capacity) continue;
        findings.add(where, "the frame at position %llu has an offset outside of the store",
                     static_cast<unsigned long long>(position));
    }
    if (!operations.damaged()) return;
    findings.add(where, "the frame at position %llu has a damaged operation",
                 static_cast<unsigned long long>(position));
}

}  // namespace tarnbase::runtime
