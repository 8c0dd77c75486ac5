// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/kept_pages.h"

#include <algorithm>
#include <cstring>

namespace tarnbase::runtime {

namespace {

// A process has a limited number of mappings.
constexpr std::uint64_t least_discarded = 256 << 10;

}  // namespace

void KeptPages::add(std::vector<Run> &runs, std::uint64_t offset) const {
    if (!runs.empty() && runs.back().offset + runs.back().bytes == offset) {
        runs.back().bytes += page_bytes_;
    } else {
        runs.push_back({offset, page_bytes_});
    }
}

void KeptPages::keep(const char *base, std::uint64_t offset) {
    const char *page = base + offset;
    count_ += 1;
    if (std::all_of(page, page + page_bytes_, [](char byte) { return byte == 0; })) {
        add(zeros_, offset);
        return;
    }
    add(others_, offset);
    content_.insert(content_.end(), page, page + page_bytes_);
}

void KeptPages::restore(Region &region) const {
    for (const Run &run : zeros_) {
        if (run.bytes < least_discarded || !region.discard_zeros(run.offset, run.bytes)) {
            std::memset(region.base() + run.offset, 0, run.bytes);
        }
    }
    const char *from = content_.data();
    for (const Run &run : others_) {
        std::memcpy(region.base() + run.offset, from, run.bytes);
        from += run.bytes;
    }
}

}  // namespace tarnbase::runtime
