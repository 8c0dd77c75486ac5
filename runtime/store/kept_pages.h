/* SPDX-License-Identifier: Apache-2.0 */
// Copies of an image's pages, which are restored after something else was mapped there.
#ifndef TARNBASE_RUNTIME_STORE_KEPT_PAGES_H
#define TARNBASE_RUNTIME_STORE_KEPT_PAGES_H

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/arena/region.h"

namespace tarnbase::runtime {

class KeptPages {
 public:
    explicit KeptPages(std::uint64_t page_bytes) : page_bytes_(page_bytes) {}

    std::size_t count() const { return count_; }
    // Pages in increasing order.
    void keep(const char *base, std::uint64_t offset);
    // Runs of zeros take no memory after that.
    void restore(Region &region) const;

 private:
    struct Run {
        std::uint64_t offset;
        std::uint64_t bytes;
    };
    void add(std::vector<Run> &runs, std::uint64_t offset) const;

    std::uint64_t page_bytes_;
    std::size_t count_ = 0;
    std::vector<Run> zeros_;
    std::vector<Run> others_;
    std::vector<char> content_;  // of the others
};

}  // namespace tarnbase::runtime

#endif
