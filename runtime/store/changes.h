/* SPDX-License-Identifier: Apache-2.0 */
// What has changed in an image since its last publication. It becomes a frame of the log.
//
// Bytes are marked in granules of 16; blocks that were allocated or released are listed. A frame
// gets their present content and state: what was changed and changed back costs a few bytes.
// A marked object is published as a whole, because the library stores a part of it without an
// announcement.
#ifndef TARNBASE_RUNTIME_STORE_CHANGES_H
#define TARNBASE_RUNTIME_STORE_CHANGES_H

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <vector>

#include "runtime/log/frame.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

class FrameContent;

class ChangeSet {
 public:
    // Blocks begin at multiples of it.
    static constexpr std::uint64_t granule = 16;

    // Offsets are from the base of the image. Without memory the set becomes incomplete.
    void mark(std::uint64_t offset, std::uint64_t length) noexcept {
        const std::uint64_t first = offset / granule;
        const std::uint64_t end = (offset + length + granule - 1) / granule;
        const std::uint64_t page = first / granules_in_page;
        // Usually they are in one word of a page that has some already.
        if (first == end || first / 64 != (end - 1) / 64 || page >= pages_.size() ||
            pages_[page] == nullptr) {
            return mark_anywhere(offset, length);
        }
        PageMarks &marks = *pages_[page];
        const std::uint64_t word = first % granules_in_page / 64;
        marks.words_in_use |= 1ULL << word;
        marks.words[word] |= (~0ULL >> (64 - (end - first))) << first % 64;
    }
    // The same for bytes that are stored without an announcement: a rollback doesn't restore them.
    void mark_unannounced(std::uint64_t offset, std::uint64_t length) noexcept {
        mark(offset, length);
        has_unannounced_bytes_ = true;
    }
    bool has_unannounced_bytes() const { return has_unannounced_bytes_; }
    void allocated(std::uint64_t offset) noexcept { add(offset, true); }
    void released(std::uint64_t offset) noexcept { add(offset, false); }
    bool is_incomplete() const { return incomplete_; }

    bool is_empty() const { return blocks_.empty() && pages_in_use_.empty(); }
    void clear();

    // Adds the operations that repeat the changes. A released block may still be allocated.
    void build(FrameBuilder &frame, const Image &image);
    // The same after a rollback that has restored all that was announced: adds only the objects.
    void build_undone(FrameBuilder &frame, const Image &image);

    // The number of block events, to return to with `forget_blocks`.
    std::size_t block_events() const { return blocks_.size(); }
    void forget_blocks(std::size_t first) {
        std::erase_if(blocks_, [&](const BlockEvent &event) { return event.number() >= first; });
    }
    // After a rollback: the blocks that were allocated are free again.
    void keep_marks() {
        blocks_.clear();
        incomplete_ = false;
    }

 private:
    static constexpr std::uint64_t granules_in_page = page_size / granule;

    // An allocation or a release in a word: the events of a block order by time.
    class BlockEvent {
     public:
        static constexpr unsigned number_bits = 27;

        BlockEvent(std::uint64_t offset, std::uint64_t number, bool is_allocation)
            : word_(offset / granule << (number_bits + 1) | number << 1 |
                    static_cast<std::uint64_t>(is_allocation)) {}
        std::uint64_t place() const { return word_ >> (number_bits + 1); }
        std::uint64_t offset() const { return place() * granule; }
        std::uint64_t number() const { return (word_ >> 1) % (1ULL << number_bits); }
        bool is_allocation() const { return word_ % 2 != 0; }
        auto operator<=>(const BlockEvent &) const = default;

     private:
        std::uint64_t word_;
    };
    static_assert(most_offset / granule <= 1ULL << (63 - BlockEvent::number_bits));
    // The granules of a page of the store, a bit each, and a bit for each word that isn't zero.
    struct PageMarks {
        std::uint64_t words_in_use = 0;
        std::array<std::uint64_t, 64> words{};
    };

    template <typename Visit>
    static void each_word(std::uint64_t offset, std::uint64_t length, Visit visit);
    template <typename Visit>
    void each_run(Visit visit);
    template <typename Visit>
    void each_block(Visit visit) const;
    void add(std::uint64_t offset, bool is_allocation) noexcept;
    void mark_anywhere(std::uint64_t offset, std::uint64_t length) noexcept;
    PageMarks &marks_of(std::uint64_t page);
    void unmark(std::uint64_t offset, std::uint64_t length);
    void sort_blocks();
    void build_blocks(FrameBuilder &frame, FrameContent &content, const Image &image);

    std::vector<BlockEvent> blocks_;
    std::vector<PageMarks *> pages_;  // by page number; null: no marks
    std::vector<std::uint64_t> pages_in_use_;
    // As many as were ever in use at once. The first ones are in use: those of small transactions
    // stay in the processor's caches.
    std::vector<std::unique_ptr<PageMarks>> pool_;
    bool incomplete_ = false;
    bool has_unannounced_bytes_ = false;
};

}  // namespace tarnbase::runtime

#endif
