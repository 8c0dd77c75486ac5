// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/frame_content.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "runtime/store/changes.h"

namespace tarnbase::runtime {

namespace {

// A change to a block of at most this many bytes is shared as the whole block: an object also
// has bytes that the library stores without an announcement, such as its state block.
constexpr std::uint64_t largest_object = 4096;

// A block's content without the zeros at its end.
std::span<const char> content_of(const Image &image, Allocator::Extent block) {
    const char *bytes = image.region.base() + block.offset;
    std::uint64_t length = block.size;
    std::uint64_t word = 0;
    while (length >= sizeof word) {
        std::memcpy(&word, bytes + length - sizeof word, sizeof word);
        if (word != 0) break;
        length -= sizeof word;
    }
    return {bytes, length};
}

// The count that other processes see of a record: theirs begin at the store's own reference.
void hide_references(char *counted) {
    std::uint32_t count = 0;
    std::memcpy(&count, counted + 4, sizeof count);
    count = std::min(count, 1U);
    std::memcpy(counted + 4, &count, sizeof count);
}

}  // namespace

void FrameContent::add_allocation(Allocator::Extent block) {
    const std::span<const char> content = content_of(image_, block);
    if (!kinds_.is_record(block)) {
        frame_.allocate(block.offset, block.size, content);
        return;
    }
    std::array<char, 128> copy;
    std::memcpy(copy.data(), content.data(), content.size());
    hide_references(copy.data() + references_offset);
    frame_.allocate(block.offset, block.size, {copy.data(), content.size()});
}

void FrameContent::add_counters() { add_header(counters_offset, counters_end); }

void FrameContent::add_header(std::uint64_t offset, std::uint64_t end) {
    offset = std::max(offset, counters_offset);
    frame_.write(offset, {image_.region.base() + offset, end - offset});
}

// Adds [offset, end), which is in the block, with the references of a record apart.
void FrameContent::add_part(Allocator::Extent block, std::uint64_t offset, std::uint64_t end) {
    const char *base = image_.region.base();
    const std::uint64_t counted = block.offset + references_offset;
    if (offset > counted || end < counted + references_length || !kinds_.is_record(block)) {
        frame_.write(offset, {base + offset, end - offset});
        return;
    }
    std::array<char, references_length> references;
    std::memcpy(references.data(), base + counted, references_length);
    hide_references(references.data());
    if (offset < counted) frame_.write(offset, {base + offset, counted - offset});
    frame_.references(counted, references);
    const std::uint64_t rest = counted + references_length;
    if (rest < end) frame_.write(rest, {base + rest, end - rest});
}

bool FrameContent::may_be_object(Allocator::Extent block) {
    return block.size <= largest_object && !kinds_.is_record(block) &&
           !kinds_.is_index_page(block) && !kinds_.is_table(block);
}

void FrameContent::add(std::uint64_t offset, std::uint64_t end, Parts parts) {
    if (offset < page_sets_offset) {
        if (parts == Parts::all) add_header(offset, end);
        return;
    }
    offset = std::max(offset, done_);
    while (offset < end) {
        const auto block = image_.allocator.find(offset);
        if (!block) {
            offset += ChangeSet::granule;
            continue;
        }
        const std::uint64_t block_end = block->offset + block->size;
        if (may_be_object(*block)) {
            add_part(*block, block->offset, block_end);
            done_ = block_end;
        } else if (parts == Parts::all) {
            add_part(*block, offset, std::min(end, block_end));
        }
        offset = block_end;
    }
}

void FrameContent::add_bytes(std::uint64_t offset, std::uint64_t end) {
    add(offset, end, Parts::all);
}

void FrameContent::add_objects(std::uint64_t offset, std::uint64_t end) {
    add(offset, end, Parts::objects);
}

}  // namespace tarnbase::runtime
