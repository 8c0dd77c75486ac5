/* SPDX-License-Identifier: Apache-2.0 */
// The content of a store in this process's memory: the header, the allocator's data and the
// blocks. Frames of the log are applied to it.
#ifndef TARNBASE_RUNTIME_STORE_IMAGE_H
#define TARNBASE_RUNTIME_STORE_IMAGE_H

#include <cstdint>
#include <span>

#include "runtime/arena/allocator.h"
#include "runtime/arena/region.h"
#include "runtime/arena/unshared_pages.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/store/header.h"

namespace tarnbase::runtime {

class Image {
 public:
    // Makes an empty store in the region, which was just mapped, for the address `base`.
    void format(void *base);
    // Loads a checkpoint whose image was checked, into the region, which has its capacity.
    // Returns 0 or an errno number: ENOMEM the process can't map as much; EBADMSG the checkpoint
    // is damaged, and its `what` says how.
    std::uint32_t load(Checkpoint &checkpoint);

    // Maps a checkpoint in place of the one that was loaded, and of those of the `own` pages that
    // are the same. No byte changes. Requires: the checkpoint is of what was loaded and of frames
    // that were applied, its image was checked, and `own` has all pages that were stored into.
    // Returns 0; EAGAIN most own pages aren't the same: nothing was done; or an errno number:
    // then the image must be loaded anew.
    std::uint32_t remap(Checkpoint &checkpoint, UnsharedPages own);

    // Uses what was put into the region, damaged or not: the header gets the numbers of a store
    // for the address `base` with `size` bytes, and the allocator is recovered. False: the process
    // can't map as much.
    bool adopt(void *base, std::uint64_t size);

    // Maps what a frame needs. False: the process can't map as much.
    bool map_for(std::span<const char> frame);
    // Applies a frame that was checked. Returns null, or what is wrong with an operation: then
    // those before it were applied.
    const char *apply(std::span<const char> frame);
    // The same for one operation, whose offset is below the capacity.
    const char *apply(const struct Operation &operation);

    // What is wrong with the store's size, or null. Everything relies on it.
    const char *wrong_size() const;

    // Whether bytes are in the part of the store that is in use.
    bool contains(const void *address, std::uint64_t length) const {
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(address) -
                                      reinterpret_cast<std::uintptr_t>(region.base());
        return offset < header->arena.size && length <= header->arena.size - offset;
    }
    std::uint64_t offset_of(const void *address) const {
        return static_cast<std::uint64_t>(static_cast<const char *>(address) - region.base());
    }
    std::span<const char> bytes() const { return {region.base(), header->arena.size}; }

    Region region;
    StoreHeader *header = nullptr;
    Allocator allocator;

 private:
    void attach();
    void clear_after_end(std::uint64_t end);
    std::uint64_t end_after(std::span<const char> frame) const;
    bool may_write(std::uint64_t offset, std::uint64_t length) const;
};

}  // namespace tarnbase::runtime

#endif
