// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/region.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>

#include "runtime/arena/page.h"
#include "runtime/base/file_io.h"

namespace tarnbase::runtime {

namespace {

constexpr int access = PROT_READ | PROT_WRITE;
constexpr int zeros = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;

// How much more than needed is mapped when the front grows.
constexpr std::uint64_t growth = 16ULL << 20;

constexpr std::uint64_t large_page = 2ULL << 20;

// A large page should be there when the bytes in use end so much before it.
constexpr std::uint64_t lead = 1ULL << 20;

constexpr std::uint64_t round_to_large_page(std::uint64_t bytes) {
    return (bytes + large_page - 1) / large_page * large_page;
}

// Maps zeros where nothing is mapped. Returns 0, EADDRINUSE or mmap(2)'s error.
std::uint32_t map_free(void *place, std::uint64_t bytes, char *&result) {
    const int flags = zeros | (place != nullptr ? MAP_FIXED_NOREPLACE : 0);
    void *mapped = ::mmap(place, bytes, access, flags, -1, 0);
    if (mapped == MAP_FAILED) return errno == EEXIST ? EADDRINUSE : error_number();
    // A kernel without this flag treats the address as a hint.
    if (place != nullptr && mapped != place) {
        ::munmap(mapped, bytes);
        return EADDRINUSE;
    }
    result = static_cast<char *>(mapped);
    return 0;
}

}  // namespace

Region::~Region() { unmap(); }

void Region::unmap() {
    if (base_ != nullptr) ::munmap(base_, mapped_);
    base_ = nullptr;
    mapped_ = 0;
    used_ = 0;
    large_from_ = nowhere;
    next_ = 0;
}

std::uint32_t Region::map(void *base, std::uint64_t capacity) {
    return map_front(base, capacity, capacity);
}

std::uint32_t Region::map_front(void *base, std::uint64_t capacity, std::uint64_t front) {
    unmap();
    mapped_ = capacity;
    std::uint32_t error = map_free(base, mapped_, base_);
    if (error == ENOMEM && front < capacity) {
        mapped_ = front;
        error = map_free(base, mapped_, base_);
    }
    capacity_ = capacity;
    discarded_.assign(capacity / least_discard + 1, false);
    return error;
}

bool Region::reach(std::uint64_t bytes) {
    if (bytes > capacity_) return false;
    used_ = std::max(used_, std::min(bytes, mapped_));
    if (bytes <= mapped_) return true;
    const std::uint64_t needed = (bytes - mapped_ + page_size - 1) / page_size * page_size;
    for (const std::uint64_t more : {std::min(needed + growth, capacity_ - mapped_), needed}) {
        char *ignored = nullptr;
        if (map_free(base_ + mapped_, more, ignored) == 0) {
            advise_large_pages(mapped_, more);
            mapped_ += more;
            used_ = bytes;
            return true;
        }
    }
    return false;
}

void Region::use_large_pages(std::uint64_t from) {
    if (large_from_ != nowhere) return;
    large_from_ = round_to_large_page(from);
    advise_large_pages(0, mapped_);
}

// The advice may fail: it only saves time.
void Region::advise_large_pages(std::uint64_t offset, std::uint64_t bytes) {
    const std::uint64_t first = std::max(offset, large_from_);
    if (first < offset + bytes) ::madvise(base_ + first, offset + bytes - first, MADV_HUGEPAGE);
}

std::span<char> Region::next_large_pages(std::uint64_t end) {
    if (large_from_ == nowhere || !is_complete()) return {};
    const std::uint64_t first = std::max({large_from_, next_, round_to_large_page(end)});
    const std::uint64_t last = std::min(round_to_large_page(end + lead), capacity_);
    if (first >= last) return {};
    next_ = last;
    return {base_ + first, last - first};
}

// The advice is the same everywhere: parts that differ in it would be separate mappings.
std::uint32_t Region::map_zeros(std::uint64_t offset, std::uint64_t bytes) {
    void *mapped = ::mmap(base_ + offset, bytes, access, zeros | MAP_FIXED, -1, 0);
    if (mapped == MAP_FAILED) return error_number();
    advise_large_pages(offset, bytes);
    return 0;
}

std::uint32_t Region::clear() {
    large_from_ = nowhere;
    next_ = 0;
    if (const std::uint32_t error = map_zeros(0, mapped_)) return error;
    discarded_.assign(discarded_.size(), false);
    return 0;
}

std::uint32_t Region::map_file(int descriptor, std::uint64_t offset, std::uint64_t at,
                               std::uint64_t bytes) {
    constexpr int over = MAP_FIXED | MAP_NORESERVE | MAP_PRIVATE;
    void *mapped = ::mmap(base_ + at, bytes, access, over, descriptor, static_cast<off_t>(offset));
    return mapped == MAP_FAILED ? error_number() : 0;
}

std::uint32_t Region::read_file(int descriptor, std::uint64_t offset, std::uint64_t at,
                                std::uint64_t bytes) {
    return read_fully(descriptor, {base_ + at, bytes}, offset);
}

// If it fails, the memory stays: it is zero as it should be.
void Region::return_memory(std::uint64_t end) {
    if (!discard_zeros(end, std::max(used_, next_) - end)) return;
    used_ = end;
    next_ = 0;
}

bool Region::discard_zeros(std::uint64_t offset, std::uint64_t bytes) {
    if (map_zeros(offset, bytes) != 0) return false;
    for (std::uint64_t at = offset / least_discard; at * least_discard < offset + bytes; ++at) {
        discarded_[at] = true;
    }
    return true;
}

void Region::add_discarded(std::uint64_t end, UnsharedPages &own) const {
    for (std::uint64_t piece = 0; piece < discarded_.size(); ++piece) {
        if (!discarded_[piece]) continue;
        const std::uint64_t piece_end = std::min(end, (piece + 1) * least_discard);
        for (std::uint64_t at = piece * least_discard; at < piece_end; at += own.page_bytes) {
            own.offsets.push_back(at);
        }
    }
    std::sort(own.offsets.begin(), own.offsets.end());
    own.offsets.erase(std::unique(own.offsets.begin(), own.offsets.end()), own.offsets.end());
}

bool Region::contains(const void *address, std::uint64_t length) const {
    const auto offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(base_);
    return offset < mapped_ && length <= mapped_ - offset;
}

}  // namespace tarnbase::runtime
