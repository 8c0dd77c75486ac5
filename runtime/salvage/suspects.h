/* SPDX-License-Identifier: Apache-2.0 */
// The pages of a store whose bytes can't be trusted. What is in them may lead to something else,
// which is checked by itself, but is never a value.
#ifndef TARNBASE_RUNTIME_SALVAGE_SUSPECTS_H
#define TARNBASE_RUNTIME_SALVAGE_SUSPECTS_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "runtime/arena/page.h"

namespace tarnbase::runtime {

class Suspects {
 public:
    void add(std::uint64_t offset, std::uint64_t length) {
        if (length == 0) return;
        const std::uint64_t end = (offset + length - 1) / page_size + 1;
        if (pages_.size() < end) pages_.resize(end);
        std::fill(pages_.begin() + static_cast<std::ptrdiff_t>(offset / page_size),
                  pages_.begin() + static_cast<std::ptrdiff_t>(end), true);
    }
    bool has(std::uint64_t offset, std::uint64_t length) const {
        if (length == 0) return false;
        const std::uint64_t end =
            std::min<std::uint64_t>((offset + length - 1) / page_size + 1, pages_.size());
        for (std::uint64_t page = offset / page_size; page < end; ++page) {
            if (pages_[page]) return true;
        }
        return false;
    }

 private:
    std::vector<bool> pages_;
};

}  // namespace tarnbase::runtime

#endif
