/* SPDX-License-Identifier: Apache-2.0 */
// A range of addresses of private memory. The whole capacity is mapped at once, so nothing ever
// moves. The content of a file may be put over the front of it: its clean pages are shared with
// other processes, and stores into them stay in this one.
#ifndef TARNBASE_RUNTIME_ARENA_REGION_H
#define TARNBASE_RUNTIME_ARENA_REGION_H

#include <cstdint>

namespace tarnbase::runtime {

class Region {
 public:
    Region() = default;
    Region(const Region &) = delete;
    Region &operator=(const Region &) = delete;
    ~Region();

    // Maps `capacity` bytes of zeros at `base`, or anywhere if that is null. Returns 0,
    // EADDRINUSE if some of the range is in use, or mmap(2)'s error. Unmaps what was mapped
    // before.
    std::uint32_t map(void *base, std::uint64_t capacity);

    // Replaces the content with `bytes` bytes of a file from `offset`, then zeros. Returns 0 or
    // mmap(2)'s error.
    std::uint32_t load(int descriptor, std::uint64_t offset, std::uint64_t bytes);

    char *base() const { return base_; }
    std::uint64_t capacity() const { return capacity_; }
    bool contains(const void *address, std::uint64_t length) const;

 private:
    void unmap();

    char *base_ = nullptr;
    std::uint64_t capacity_ = 0;
};

}  // namespace tarnbase::runtime

#endif
