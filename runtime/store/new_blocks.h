/* SPDX-License-Identifier: Apache-2.0 */
// The blocks that an open transaction has allocated. Changes of their bytes needn't be logged:
// a rollback frees the block, and a commit publishes it whole. Blocks in pages that were taken
// since it began aren't listed, as long as it is alone in taking some.
#ifndef TARNBASE_RUNTIME_STORE_NEW_BLOCKS_H
#define TARNBASE_RUNTIME_STORE_NEW_BLOCKS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "runtime/store/granule_set.h"

namespace tarnbase::runtime {

class NewBlocks {
 public:
    // Offsets are from the store's base. No block that is there now, after the process has caught
    // up with others, is at `end` or after it.
    void begin(std::uint64_t end) { end_ = end; }
    // From now on, blocks that aren't the transaction's may appear after that end.
    void share_end() { end_ = no_end; }
    void add(std::uint64_t offset, std::uint64_t size) {
        if (offset >= end_) return;
        Block &oldest = last_[next_];
        if (oldest.size != 0) others_.insert(oldest.offset, oldest.size);
        oldest = {offset, size};
        next_ = (next_ + 1) % last_.size();
    }
    // Whether a change of bytes needs no log: they are in such a block, or after all blocks that
    // are another's, as addresses outside of the store may be, too. Without memory some are
    // forgotten.
    bool contain(std::uint64_t offset, std::uint64_t length) const {
        if (offset >= end_) return true;
        for (const Block &block : last_) {
            const std::uint64_t inside = offset - block.offset;
            if (inside < block.size && length <= block.size - inside) return true;
        }
        return !others_.is_empty() && others_.contains(offset, length);
    }
    void clear() {
        last_ = {};
        if (!others_.is_empty()) others_.clear();
    }

 private:
    struct Block {
        std::uint64_t offset = 0;
        std::uint64_t size = 0;
    };

    static constexpr std::uint64_t no_end = ~std::uint64_t{0};

    std::uint64_t end_ = no_end;
    // Most transactions have no others.
    std::array<Block, 4> last_;
    std::size_t next_ = 0;
    GranuleSet others_;
};

}  // namespace tarnbase::runtime

#endif
