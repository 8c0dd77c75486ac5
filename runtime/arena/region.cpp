// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/region.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace tarnbase::runtime {

namespace {

std::uint32_t error_number() { return static_cast<std::uint32_t>(errno); }

}  // namespace

Region::~Region() { unmap(); }

void Region::unmap() {
    if (base_ != nullptr) ::munmap(base_, capacity_);
    base_ = nullptr;
}

std::uint32_t Region::map(File &file, void *base, std::uint64_t capacity) {
    unmap();
    int flags = MAP_NORESERVE | (file.is_open() ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS);
    if (base != nullptr) flags |= MAP_FIXED_NOREPLACE;
    void *mapped = ::mmap(base, capacity, PROT_READ | PROT_WRITE, flags, file.descriptor(), 0);
    if (mapped == MAP_FAILED) return errno == EEXIST ? EADDRINUSE : error_number();
    // A kernel without this flag treats the address as a hint.
    if (base != nullptr && mapped != base) {
        ::munmap(mapped, capacity);
        return EADDRINUSE;
    }
    base_ = static_cast<char *>(mapped);
    capacity_ = capacity;
    file_ = std::move(file);
    return 0;
}

std::uint32_t Region::extend(std::uint64_t from, std::uint64_t to) {
    if (!file_.is_open()) return 0;
    // Allocates the disk blocks now: a full disk is an error here, and not a signal at the
    // first store into a page.
    const auto start = static_cast<off_t>(from);
    const auto length = static_cast<off_t>(to - from);
    int result;
    do result = ::fallocate(file_.descriptor(), 0, start, length);
    while (result != 0 && errno == EINTR);
    if (result == 0) return 0;
    if (errno != EOPNOTSUPP) return error_number();
    return ::ftruncate(file_.descriptor(), start + length) == 0 ? 0 : error_number();
}

bool Region::contains(const void *address, std::uint64_t length) const {
    const auto offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(base_);
    return offset < capacity_ && length <= capacity_ - offset;
}

}  // namespace tarnbase::runtime
