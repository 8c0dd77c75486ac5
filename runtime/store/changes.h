/* SPDX-License-Identifier: Apache-2.0 */
// What has changed in an image since its last publication. It becomes a frame of the log.
//
// Bytes are marked in granules of 16; blocks that were allocated or released are listed. Only
// their present content and state count: what was changed and changed back costs a few bytes.
#ifndef TARNBASE_RUNTIME_STORE_CHANGES_H
#define TARNBASE_RUNTIME_STORE_CHANGES_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "runtime/log/frame.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

class ChangeSet {
 public:
    // Offsets are from the base of the image. Without memory the set becomes incomplete.
    void mark(std::uint64_t offset, std::uint64_t length) noexcept;
    // Marks a whole block. Bytes of it that are marked next cost a comparison.
    void mark_block(std::uint64_t offset, std::uint64_t size) noexcept {
        mark(offset, size);
        last_block_ = {offset, size};
    }
    // Whether it was the last block that was marked.
    bool is_last_block(std::uint64_t offset) const {
        return offset - last_block_.offset < last_block_.size;
    }
    void allocated(std::uint64_t offset) noexcept { add({offset, true}); }
    void released(std::uint64_t offset) noexcept { add({offset, false}); }
    bool is_incomplete() const { return incomplete_; }

    bool is_empty() const { return blocks_.empty() && pages_in_use_.empty(); }
    void clear();

    // Adds the operations that repeat the changes. A block of `released` may still be allocated.
    void build(FrameBuilder &frame, const Image &image);

    // The number of block events, to return to with `forget_blocks`.
    std::size_t block_events() const { return blocks_.size(); }
    void forget_blocks(std::size_t first) { blocks_.resize(first); }
    // After a rollback: the blocks that were allocated are free again.
    void keep_marks() {
        last_block_ = {};
        blocks_.clear();
        incomplete_ = false;
    }

 private:
    struct BlockEvent {
        std::uint64_t offset;
        bool is_allocation;
    };
    // The granules of a page of the store, a bit each, and a bit for each word that isn't zero.
    struct PageMarks {
        std::uint64_t words_in_use = 0;
        std::array<std::uint64_t, 64> words{};
    };

    void add(BlockEvent event) noexcept;
    PageMarks &marks_of(std::uint64_t page);
    void unmark(std::uint64_t offset, std::uint64_t length);
    void build_blocks(FrameBuilder &frame, const Image &image);
    void build_writes(FrameBuilder &frame, const Image &image);

    Allocator::Extent last_block_{};
    std::vector<BlockEvent> blocks_;
    std::vector<std::unique_ptr<PageMarks>> pages_;  // by page number
    std::vector<std::uint64_t> pages_in_use_;
    bool incomplete_ = false;
};

}  // namespace tarnbase::runtime

#endif
