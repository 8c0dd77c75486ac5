/* SPDX-License-Identifier: Apache-2.0 */
// A range of addresses, mapped to a file or to anonymous memory. The whole capacity is
// mapped at once and a file grows within the mapping: nothing ever moves, and other
// processes see the growth without any notice.
#ifndef TARNBASE_RUNTIME_ARENA_REGION_H
#define TARNBASE_RUNTIME_ARENA_REGION_H

#include <cstdint>

#include "runtime/base/file.h"

namespace tarnbase::runtime {

class Region {
 public:
    Region() = default;
    Region(const Region &) = delete;
    Region &operator=(const Region &) = delete;
    ~Region();

    // Maps `capacity` bytes of `file`, or of anonymous memory if it isn't open, at
    // `base`, or anywhere if that is null. Returns 0, EADDRINUSE if some of the
    // range is in use, or mmap(2)'s error. Takes the file over on success. Unmaps what
    // was mapped before.
    std::uint32_t map(File &file, void *base, std::uint64_t capacity);

    // Makes bytes [from, to) usable; they are zero. Returns 0 or an errno number.
    std::uint32_t extend(std::uint64_t from, std::uint64_t to);

    char *base() const { return base_; }
    std::uint64_t capacity() const { return capacity_; }
    bool contains(const void *address, std::uint64_t length) const;

 private:
    void unmap();

    File file_;
    char *base_ = nullptr;
    std::uint64_t capacity_ = 0;
};

}  // namespace tarnbase::runtime

#endif
