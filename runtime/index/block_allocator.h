/* SPDX-License-Identifier: Apache-2.0 */
// Where a container in shared memory gets its blocks. With WriteLog, this is all that
// containers use of a store.
#ifndef TARNBASE_RUNTIME_INDEX_BLOCK_ALLOCATOR_H
#define TARNBASE_RUNTIME_INDEX_BLOCK_ALLOCATOR_H

#include <cstdint>

namespace tarnbase::runtime {

class BlockAllocator {
 public:
    // A zeroed block, or null. In a transaction a rollback frees it.
    virtual void *allocate(std::uint32_t tx_id, std::uint64_t size) = 0;
    // Frees a block, in a transaction when that commits.
    virtual void release(std::uint32_t tx_id, void *block) = 0;

 protected:
    BlockAllocator() = default;
    BlockAllocator(const BlockAllocator &) = default;
    BlockAllocator &operator=(const BlockAllocator &) = default;
    ~BlockAllocator() = default;
};

}  // namespace tarnbase::runtime

#endif
