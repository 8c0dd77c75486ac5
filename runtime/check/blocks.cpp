// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/blocks.h"

namespace tarnbase::runtime {

Blocks::Blocks(const Image &image, Findings &findings, Progress progress)
    : image_(image),
      findings_(findings),
      progress_(std::move(progress)),
      size_(image.header->arena.size),
      claimed_(size_) {}

std::optional<Allocator::Extent> Blocks::around(const void *address) const {
    if (!is_inside(address)) return std::nullopt;
    const auto block = image_.allocator.find(offset_of(address));
    if (!block || block->size > size_ || block->offset > size_ - block->size) return std::nullopt;
    return block;
}

std::optional<Allocator::Extent> Blocks::at(const void *address, std::uint64_t least) const {
    const auto block = around(address);
    if (!block || block->offset != offset_of(address) || block->size < least) return std::nullopt;
    return block;
}

void Blocks::explain(const void *address, std::uint64_t least, const std::string &where) {
    const auto offset = static_cast<unsigned long long>(offset_of(address));
    if (address == nullptr) return findings_.add(where, "the address is null");
    if (!is_inside(address)) {
        return findings_.add(where, "the address %p is outside of the store", address);
    }
    const auto block = at(address, 0);
    if (!block) return findings_.add(where, "no block begins at offset %llu", offset);
    if (block->size < least) {
        return findings_.add(where, "the block at offset %llu has %llu bytes, expected %llu",
                             offset, static_cast<unsigned long long>(block->size),
                             static_cast<unsigned long long>(least));
    }
    findings_.add(where, "the block at offset %llu has another owner, too", offset);
}

}  // namespace tarnbase::runtime
