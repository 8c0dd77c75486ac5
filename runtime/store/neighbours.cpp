// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/neighbours.h"

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "runtime/base/file.h"

namespace tarnbase::runtime {

namespace {

constexpr int most_entries = 4096;

}  // namespace

std::vector<AddressRange> ranges_of_neighbours(const char *path) {
    namespace fs = std::filesystem;
    std::vector<AddressRange> ranges;
    const fs::path parent = fs::path(path).parent_path();
    std::error_code error;
    fs::directory_iterator entry(parent.empty() ? "." : parent, error);
    for (int i = 0; !error && entry != fs::directory_iterator() && i < most_entries; ++i) {
        std::error_code ignored;
        if (entry->symlink_status(ignored).type() == fs::file_type::directory) {
            const File folder(
                ::open(entry->path().c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
            const auto range =
                folder.is_open() ? Control::range_of(folder.descriptor()) : std::nullopt;
            if (range) ranges.push_back(*range);
        }
        entry.increment(error);
    }
    return ranges;
}

bool overlaps(const std::vector<AddressRange> &ranges, AddressRange range) {
    return std::ranges::any_of(ranges, [&](const AddressRange &each) {
        return each.base < range.base + range.bytes && range.base < each.base + each.bytes;
    });
}

}  // namespace tarnbase::runtime
