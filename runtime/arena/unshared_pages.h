/* SPDX-License-Identifier: Apache-2.0 */
// The pages of memory that only this process has: those of a private mapping into which it has
// stored, and those of no file.
#ifndef TARNBASE_RUNTIME_ARENA_UNSHARED_PAGES_H
#define TARNBASE_RUNTIME_ARENA_UNSHARED_PAGES_H

#include <cstdint>
#include <span>
#include <vector>

namespace tarnbase::runtime {

struct UnsharedPages {
    std::uint64_t page_bytes;
    std::vector<std::uint64_t> offsets;  // of each, in increasing order

    std::uint64_t bytes() const { return offsets.size() * page_bytes; }
};

// Finds them among `memory`, which begins with a page. A page that isn't the process's own may be
// among them. Returns 0 or an errno number, if /proc doesn't say it.
std::uint32_t find_unshared_pages(std::span<const char> memory, UnsharedPages &found);

}  // namespace tarnbase::runtime

#endif
