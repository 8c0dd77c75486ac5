/* SPDX-License-Identifier: Apache-2.0 */
// A range of addresses of private memory, which never moves. The whole capacity is mapped at once,
// unless the process may not map as much: then the front is, and grows. The content of a file may
// be put over parts of it: clean pages are shared with other processes, and stores into them stay
// in this one.
#ifndef TARNBASE_RUNTIME_ARENA_REGION_H
#define TARNBASE_RUNTIME_ARENA_REGION_H

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/arena/unshared_pages.h"

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

    // The same, but if the process may not map all of it, only `front` bytes are mapped: a limit
    // on its address space, or a kernel that doesn't overcommit.
    std::uint32_t map_front(void *base, std::uint64_t capacity, std::uint64_t front);
    // Maps the front up to `bytes` if it isn't mapped yet. False: it can't be mapped.
    bool reach(std::uint64_t bytes);

    // Keeps what isn't of a file in large pages where the system has them, from an offset on.
    void use_large_pages(std::uint64_t from);
    // The large pages whose memory should be there when the bytes before `end` are in use; each is
    // returned once. None if not all is mapped: such a process has no memory to spare.
    std::span<char> next_large_pages(std::uint64_t end);

    // Makes all bytes zero. Returns 0 or mmap(2)'s error.
    std::uint32_t clear();
    // Put bytes of a file, from its `offset`, in place of those at `at`: map them, multiples of
    // the system's page size, or read them. The front is mapped up to their end. Return 0 or an
    // errno number; ENODATA the file is too short.
    std::uint32_t map_file(int descriptor, std::uint64_t offset, std::uint64_t at,
                           std::uint64_t bytes);
    std::uint32_t read_file(int descriptor, std::uint64_t offset, std::uint64_t at,
                            std::uint64_t bytes);

    // Returns the memory from `end` on to the system, in large pieces. Requires: these bytes are
    // zero, and are not used before the next `reach`.
    void discard(std::uint64_t end) {
        if (used_ >= end + least_discard) return_memory(end);
    }
    // The same for some bytes, which may be used again at any time. False: they stay.
    bool discard_zeros(std::uint64_t offset, std::uint64_t bytes);
    // Adds the pages before `end` that were discarded since `clear`, and pages beside them, to the
    // process's own: files that were mapped there may have bytes that aren't zero.
    void add_discarded(std::uint64_t end, UnsharedPages &own) const;

    char *base() const { return base_; }
    std::uint64_t capacity() const { return capacity_; }
    bool is_complete() const { return mapped_ == capacity_; }
    // Whether bytes are in the part that is mapped.
    bool contains(const void *address, std::uint64_t length) const;

 private:
    static constexpr std::uint64_t least_discard = 4ULL << 20;
    static constexpr std::uint64_t nowhere = ~0ULL;

    void unmap();
    void advise_large_pages(std::uint64_t offset, std::uint64_t bytes);
    std::uint32_t map_zeros(std::uint64_t offset, std::uint64_t bytes);
    void return_memory(std::uint64_t end);

    char *base_ = nullptr;
    std::uint64_t capacity_ = 0;
    std::uint64_t mapped_ = 0;            // from the base
    std::uint64_t used_ = 0;              // nothing was stored into what is after it
    std::uint64_t large_from_ = nowhere;  // where large pages begin
    std::uint64_t next_ = 0;              // the end of those that were returned as the next ones
    // For each piece of `least_discard` bytes, whether some of it was discarded.
    std::vector<bool> discarded_;
};

}  // namespace tarnbase::runtime

#endif
