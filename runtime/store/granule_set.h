/* SPDX-License-Identifier: Apache-2.0 */
// A set of bytes of a store, as bits for granules of 16: blocks consist of whole granules.
#ifndef TARNBASE_RUNTIME_STORE_GRANULE_SET_H
#define TARNBASE_RUNTIME_STORE_GRANULE_SET_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "runtime/arena/page.h"

namespace tarnbase::runtime {

class GranuleSet {
 public:
    // Inserts the granules that contain some bytes. Without memory some of them stay out.
    void insert(std::uint64_t offset, std::uint64_t length) noexcept;
    // Whether all of the bytes, which may be anywhere, are in the set; false for none.
    bool contains(std::uint64_t offset, std::uint64_t length) const;
    void clear();
    bool is_empty() const { return pages_in_use_.empty(); }

 private:
    static constexpr std::uint64_t granule = 16;
    static constexpr std::uint64_t granules_in_page = page_size / granule;
    // A set that had more pages than this frees their memory.
    static constexpr std::size_t most_kept_pages = 64;

    using PageBits = std::array<std::uint64_t, granules_in_page / 64>;

    PageBits &bits_of(std::uint64_t page);

    std::vector<std::unique_ptr<PageBits>> pages_;  // by page number
    std::vector<std::uint64_t> pages_in_use_;
};

}  // namespace tarnbase::runtime

#endif
