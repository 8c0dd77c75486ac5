/* SPDX-License-Identifier: Apache-2.0 */
// The blocks that an open transaction allocated last. Changes of their bytes needn't be logged:
// a rollback frees the block, and a commit publishes it whole.
#ifndef TARNBASE_RUNTIME_STORE_NEW_BLOCKS_H
#define TARNBASE_RUNTIME_STORE_NEW_BLOCKS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace tarnbase::runtime {

class NewBlocks {
 public:
    void add(const void *block, std::uint64_t size) {
        blocks_[next_] = {address_of(block), size};
        next_ = (next_ + 1) % blocks_.size();
    }
    // False also for blocks that are new, but not among the last ones.
    bool contain(const void *address, std::uint64_t length) const {
        for (const Block &block : blocks_) {
            const std::uintptr_t offset = address_of(address) - block.address;
            if (offset < block.size && length <= block.size - offset) return true;
        }
        return false;
    }
    void clear() { blocks_ = {}; }

 private:
    struct Block {
        std::uintptr_t address = 0;
        std::uint64_t size = 0;
    };

    static std::uintptr_t address_of(const void *block) {
        return reinterpret_cast<std::uintptr_t>(block);
    }

    std::array<Block, 4> blocks_;
    std::size_t next_ = 0;
};

}  // namespace tarnbase::runtime

#endif
