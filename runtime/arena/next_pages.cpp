// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/next_pages.h"

#include "runtime/base/populate.h"

namespace tarnbase::runtime {

void NextPages::get(std::span<char> pages) {
    first_ = pages.data();
    bytes_.store(pages.size(), std::memory_order_release);
}

void NextPages::run() {
    const std::uint64_t bytes = bytes_.load(std::memory_order_acquire);
    if (bytes == 0) return;
    populate(first_, bytes);
    bytes_.store(0, std::memory_order_release);
}

}  // namespace tarnbase::runtime
