/* SPDX-License-Identifier: Apache-2.0 */
// Watches a block: which of its bytes an operation changed without announcing
// them first.
#ifndef TARNBASE_TESTS_SUPPORT_WATCH_H
#define TARNBASE_TESTS_SUPPORT_WATCH_H

#include <cstdint>
#include <vector>

#include "tests/support/hooks.h"

namespace tarn::test {

class Watch {
 public:
    Watch(kel_handle *handle, void *block, std::uint32_t length)
        : block_(static_cast<std::uint8_t *>(block)),
          before_(block_, block_ + length),
          hooks_(handle) {}

    // Offsets of the bytes changed without an announcement.
    std::vector<std::uint32_t> unannounced() const {
        std::vector<std::uint32_t> found;
        for (std::uint32_t i = 0; i < before_.size(); ++i) {
            // The modified mark's service gets no handle.
            const unsigned changed = block_[i] ^ before_[i];
            if (changed == 0 || changed == 0x80 || changed == tolerated_) continue;
            if (!announced(i)) found.push_back(i);
        }
        return found;
    }
    // A change of these bits is a service's own.
    void tolerate(unsigned bits) { tolerated_ = bits; }
    bool changed() const {
        return std::vector<std::uint8_t>(block_, block_ + before_.size()) != before_;
    }
    // What was announced inside the block.
    std::vector<HookEvent> writes() const { return hooks_.writes_in(block_, before_.size()); }
    const HookRecorder &hooks() const { return hooks_; }

 private:
    // The first announcement of a byte must show it as it was.
    bool announced(std::uint32_t index) const {
        for (const HookEvent &event : hooks_.events) {
            if (event.hook != Hook::write_log) continue;
            const auto *first = static_cast<const std::uint8_t *>(event.address);
            if (block_ + index < first || block_ + index >= first + event.length) continue;
            return event.before[static_cast<std::size_t>(block_ + index - first)] == before_[index];
        }
        return false;
    }

    std::uint8_t *block_;
    unsigned tolerated_ = 0;
    std::vector<std::uint8_t> before_;
    HookRecorder hooks_;
};

}  // namespace tarn::test

#endif
