// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/image.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "runtime/index/positions.h"
#include "runtime/log/frame.h"
#include "runtime/store/kept_pages.h"

namespace tarnbase::runtime {

namespace {

// Extents of a checkpoint that are shorter than this are read and not mapped.
constexpr std::uint64_t least_mapped_bytes = 256 << 10;

// The number of pages from `index` on that follow one another, and whose bytes fit in `most`.
std::size_t run_length(const UnsharedPages &own, std::size_t index, std::uint64_t most) {
    std::size_t count = 1;
    while (index + count < own.offsets.size() && (count + 1) * own.page_bytes <= most &&
           own.offsets[index + count] == own.offsets[index] + count * own.page_bytes) {
        ++count;
    }
    return count;
}

// References that this process has to the record stay.
void apply_references(char *place, const char *bytes) {
    std::uint32_t mine = 0, theirs = 0;
    std::memcpy(&mine, place + 4, sizeof mine);
    std::memcpy(&theirs, bytes + 4, sizeof theirs);
    std::memcpy(place, bytes, mine == 0 || theirs == 0 ? 8 : 4);
}

}  // namespace

void Image::attach() {
    forget_positions();
    header = reinterpret_cast<StoreHeader *>(region.base());
    allocator = Allocator(region, header->arena);
}

void Image::format(void *base) {
    attach();
    header->base = base;
    header->capacity = region.capacity();
    // The list's end is its anchor, at the address that the store has.
    header->tables.last =
        reinterpret_cast<kel_table **>(static_cast<char *>(base) + offsetof(StoreHeader, tables) +
                                       offsetof(kel_table_list, first));
    allocator.format();
}

std::uint32_t Image::load(Checkpoint &checkpoint) {
    const CheckpointHead &head = checkpoint.head();
    std::vector<ImageExtent> extents;
    std::uint32_t error = checkpoint.extents(extents);
    if (error == 0 && !region.reach(head.image_bytes)) error = ENOMEM;
    if (error == 0) error = region.clear();
    // A process has a limited number of mappings, so short extents are read.
    const std::uint64_t least_mapped = std::max(least_mapped_bytes, head.image_bytes / 4096);
    for (const ImageExtent &extent : extents) {
        if (error != 0) return error;
        const bool is_mapped = extent.bytes >= least_mapped && extent.has_whole_pages();
        const auto place = is_mapped ? &Region::map_file : &Region::read_file;
        error = (region.*place)(checkpoint.descriptor(), head.image_offset + extent.offset,
                                extent.offset, extent.bytes);
    }
    if (error != 0) return error;
    attach();
    // A checkpointer's image isn't at its own address.
    if (reinterpret_cast<std::uintptr_t>(header->base) != head.base ||
        header->capacity != head.capacity || wrong_size() != nullptr) {
        return checkpoint.reject("the store's header has a wrong number");
    }
    return 0;
}

std::uint32_t Image::remap(Checkpoint &checkpoint, UnsharedPages own) {
    // The checkpoint may still contain what was discarded.
    const std::uint64_t end = std::max(checkpoint.head().image_bytes, header->arena.size);
    if (!region.contains(region.base(), end)) return EAGAIN;
    region.add_discarded(end, own);
    KeptPages kept(own.page_bytes);
    std::vector<char> buffer(page_size);
    for (std::size_t i = 0; i < own.offsets.size();) {
        const std::size_t count = run_length(own, i, buffer.size());
        const std::span<char> theirs = std::span(buffer).first(count * own.page_bytes);
        if (const auto error = checkpoint.read(own.offsets[i], theirs)) return error;
        for (std::size_t at = 0; at < theirs.size(); at += own.page_bytes, ++i) {
            const char *page = region.base() + own.offsets[i];
            if (std::memcmp(page, &theirs[at], own.page_bytes) == 0) continue;
            if (2 * (kept.count() + 1) > own.offsets.size()) return EAGAIN;
            kept.keep(region.base(), own.offsets[i]);
        }
    }
    if (const std::uint32_t error = load(checkpoint)) return error;
    kept.restore(region);
    clear_after_end(checkpoint.head().image_bytes);
    return 0;
}

// The arena may have been larger at the checkpoint than it is now: what is free is zero.
void Image::clear_after_end(std::uint64_t end) {
    const std::uint64_t size = header->arena.size;
    if (end <= size || region.discard_zeros(size, end - size)) return;
    std::memset(region.base() + size, 0, end - size);
}

bool Image::adopt(void *base, std::uint64_t size) {
    size = std::max(size / page_size * page_size, Allocator::front_bytes(region.capacity()));
    if (!region.reach(size)) return false;
    attach();
    header->base = base;
    header->capacity = region.capacity();
    header->arena.size = size;
    allocator.recover();
    return true;
}

const char *Image::wrong_size() const {
    const std::uint64_t size = header->arena.size;
    if (size % page_size != 0) return "it is no multiple of a page";
    if (size < Allocator::front_bytes(region.capacity())) {
        return "it is less than the header and the page sets";
    }
    return region.contains(region.base(), size) ? nullptr : "it is more than the store has";
}

std::uint64_t Image::end_after(std::span<const char> frame) const {
    std::uint64_t end = 0;
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        const std::uint64_t bytes = std::max(operation.block_size, operation.bytes.size());
        end = std::max(end, operation.offset + bytes);
    }
    return std::min((end + page_size - 1) / page_size * page_size, region.capacity());
}

bool Image::map_for(std::span<const char> frame) {
    return region.is_complete() || region.reach(end_after(frame));
}

bool Image::may_write(std::uint64_t offset, std::uint64_t length) const {
    if (offset < page_sets_offset) {
        return offset >= counters_offset && length <= page_sets_offset - offset;
    }
    const auto block = allocator.find(offset);
    return block && length <= block->offset + block->size - offset;
}

const char *Image::apply(const Operation &operation) {
    char *place = region.base() + operation.offset;
    switch (operation.kind) {
        case OperationKind::note:
            return nullptr;
        case OperationKind::release:
            return allocator.release(place) ? nullptr : "it frees what is no block";
        case OperationKind::allocate:
            if (operation.bytes.size() > operation.block_size ||
                !allocator.claim(operation.offset, operation.block_size)) {
                return "it allocates a block that isn't free";
            }
            break;
        case OperationKind::references:
            if (!may_write(operation.offset, operation.bytes.size())) {
                return "it counts references outside of the blocks";
            }
            apply_references(place, operation.bytes.data());
            return nullptr;
        case OperationKind::write:
            if (!may_write(operation.offset, operation.bytes.size())) {
                return "it writes outside of the blocks";
            }
            break;
    }
    std::memcpy(place, operation.bytes.data(), operation.bytes.size());
    return nullptr;
}

const char *Image::apply(std::span<const char> frame) {
    forget_positions();
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        if (operation.offset >= region.capacity()) return "an offset is outside of the store";
        if (const char *wrong = apply(operation)) return wrong;
    }
    if (operations.damaged()) return "an operation is damaged";
    return wrong_size() == nullptr ? nullptr : "it gives the store a wrong size";
}

}  // namespace tarnbase::runtime
