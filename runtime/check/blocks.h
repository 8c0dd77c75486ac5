/* SPDX-License-Identifier: Apache-2.0 */
// The blocks of a store, and which of them an owner was found for. No pointer of the store is
// followed before `claim` or `at` has found its block.
#ifndef TARNBASE_RUNTIME_CHECK_BLOCKS_H
#define TARNBASE_RUNTIME_CHECK_BLOCKS_H

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "runtime/check/findings.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

// A set of blocks, by their offsets.
class BlockSet {
 public:
    // Of blocks in `bytes` bytes.
    explicit BlockSet(std::uint64_t bytes)
        : words_(static_cast<std::uint64_t *>(
              std::calloc(bytes / unit / 64 + 1, sizeof(std::uint64_t)))) {
        if (words_ == nullptr) throw std::bad_alloc();
    }
    bool has(std::uint64_t offset) const {
        return (words_.get()[offset / unit / 64] >> offset / unit % 64 & 1) != 0;
    }
    // False: it is there already.
    bool insert(std::uint64_t offset) {
        std::uint64_t &word = words_.get()[offset / unit / 64];
        const std::uint64_t bit = 1ULL << offset / unit % 64;
        if ((word & bit) != 0) return false;
        word |= bit;
        return true;
    }

 private:
    static constexpr std::uint64_t unit = 16;  // blocks begin at multiples of it
    struct Free {
        void operator()(std::uint64_t *words) const { std::free(words); }
    };
    std::unique_ptr<std::uint64_t, Free> words_;
};

class Blocks {
 public:
    // Called with the number of blocks that have an owner, now and then.
    using Progress = std::function<void(std::uint64_t claimed)>;

    // Requires: the image's size is at most its capacity.
    Blocks(const Image &image, Findings &findings, Progress progress);

    std::uint64_t offset_of(const void *address) const { return image_.offset_of(address); }
    bool is_inside(const void *address) const { return offset_of(address) < size_; }
    // The block that begins at an address, if it has at least that many bytes.
    std::optional<Allocator::Extent> at(const void *address, std::uint64_t least) const;
    // The block that contains an address.
    std::optional<Allocator::Extent> around(const void *address) const;
    bool is_claimed(std::uint64_t offset) const { return claimed_.has(offset); }
    BlockSet make_set() const { return BlockSet(size_); }

    // Claims the block of at least `least` bytes that begins at an address, for its one owner. If
    // there is none, or it has an owner, adds a finding at `where()`, which names the reference.
    template <typename Where>
    std::optional<Allocator::Extent> claim(const void *address, std::uint64_t least, Where where) {
        const auto block = at(address, least);
        if (!block || !claimed_.insert(block->offset)) {
            explain(address, least, where());
            return std::nullopt;
        }
        if (++count_ % progress_step == 0) progress_(count_);
        return block;
    }

 private:
    static constexpr std::uint64_t progress_step = 16384;

    void explain(const void *address, std::uint64_t least, const std::string &where);

    const Image &image_;
    Findings &findings_;
    Progress progress_;
    std::uint64_t size_;
    BlockSet claimed_;
    std::uint64_t count_ = 0;
};

}  // namespace tarnbase::runtime

#endif
