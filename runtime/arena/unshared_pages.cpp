// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/unshared_pages.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"

namespace tarnbase::runtime {

namespace {

// Bits of an entry of /proc/PID/pagemap.
constexpr std::uint64_t is_present = 1ULL << 63;
constexpr std::uint64_t is_swapped = 1ULL << 62;
constexpr std::uint64_t is_of_file = 1ULL << 61;

constexpr std::size_t entries_at_once = 4096;

bool is_own(std::uint64_t entry) {
    return (entry & is_swapped) != 0 || (entry & (is_present | is_of_file)) == is_present;
}

}  // namespace

std::uint32_t find_unshared_pages(std::span<const char> memory, UnsharedPages &found) {
    found.page_bytes = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    found.offsets.clear();
    const File map(::open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC));
    if (!map.is_open()) return error_number();
    const std::uint64_t first = reinterpret_cast<std::uintptr_t>(memory.data()) / found.page_bytes;
    const std::uint64_t pages = memory.size() / found.page_bytes;
    std::vector<std::uint64_t> entries(entries_at_once);
    for (std::uint64_t page = 0; page < pages; page += entries.size()) {
        entries.resize(std::min(entries.size(), pages - page));
        const std::span<char> bytes(reinterpret_cast<char *>(entries.data()), entries.size() * 8);
        const std::uint32_t error = read_fully(map.descriptor(), bytes, (first + page) * 8);
        if (error != 0) return error;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (is_own(entries[i])) found.offsets.push_back((page + i) * found.page_bytes);
        }
    }
    return 0;
}

}  // namespace tarnbase::runtime
