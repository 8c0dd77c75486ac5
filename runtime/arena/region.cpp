// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/region.h"

#include <sys/mman.h>

#include <cerrno>

namespace tarnbase::runtime {

namespace {

constexpr int access = PROT_READ | PROT_WRITE;
constexpr int zeros = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;

std::uint32_t error_number() { return static_cast<std::uint32_t>(errno); }

}  // namespace

Region::~Region() { unmap(); }

void Region::unmap() {
    if (base_ != nullptr) ::munmap(base_, capacity_);
    base_ = nullptr;
}

std::uint32_t Region::map(void *base, std::uint64_t capacity) {
    unmap();
    const int flags = zeros | (base != nullptr ? MAP_FIXED_NOREPLACE : 0);
    void *mapped = ::mmap(base, capacity, access, flags, -1, 0);
    if (mapped == MAP_FAILED) return errno == EEXIST ? EADDRINUSE : error_number();
    // A kernel without this flag treats the address as a hint.
    if (base != nullptr && mapped != base) {
        ::munmap(mapped, capacity);
        return EADDRINUSE;
    }
    base_ = static_cast<char *>(mapped);
    capacity_ = capacity;
    return 0;
}

std::uint32_t Region::load(int descriptor, std::uint64_t offset, std::uint64_t bytes) {
    constexpr int over = MAP_FIXED | MAP_NORESERVE | MAP_PRIVATE;
    void *mapped = ::mmap(base_, bytes, access, over, descriptor, static_cast<off_t>(offset));
    if (mapped == MAP_FAILED) return error_number();
    if (bytes == capacity_) return 0;
    mapped = ::mmap(base_ + bytes, capacity_ - bytes, access, zeros | MAP_FIXED, -1, 0);
    return mapped == MAP_FAILED ? error_number() : 0;
}

bool Region::contains(const void *address, std::uint64_t length) const {
    const auto offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(base_);
    return offset < capacity_ && length <= capacity_ - offset;
}

}  // namespace tarnbase::runtime
