// SPDX-License-Identifier: Apache-2.0
// The names of checkpoints, and their removal.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "runtime/base/folder_entries.h"
#include "runtime/base/working_file.h"
#include "runtime/checkpoint/checkpoint_format.h"

namespace tarnbase::runtime {

namespace {

constexpr std::string_view prefix = "checkpoint-";
constexpr std::size_t digits = 16;

std::optional<std::uint64_t> parse_position(std::string_view text) {
    std::uint64_t position = 0;
    for (const char digit : text) {
        const std::size_t value = std::string_view("0123456789abcdef").find(digit);
        if (value == std::string_view::npos) return std::nullopt;
        position = position << 4 | value;
    }
    return position;
}

}  // namespace

std::string checkpoint_name(std::uint64_t position) {
    char name[prefix.size() + digits + 1];
    std::snprintf(name, sizeof name, "%s%016" PRIx64, prefix.data(), position);
    return name;
}

std::optional<CheckpointFile> parse_checkpoint_name(std::string_view name) {
    if (!name.starts_with(prefix) || name.size() < prefix.size() + digits) return std::nullopt;
    name.remove_prefix(prefix.size());
    const std::string_view suffix = name.substr(digits);
    if (!suffix.empty() && !suffix.starts_with(working_suffix)) return std::nullopt;
    const std::optional<std::uint64_t> position = parse_position(name.substr(0, digits));
    if (!position) return std::nullopt;
    return CheckpointFile{*position, !suffix.empty()};
}

std::vector<std::uint64_t> checkpoint_positions(int folder) {
    std::vector<std::uint64_t> positions;
    const FolderEntries entries = entries_of(folder);
    if (entries == nullptr) return positions;
    while (const dirent *entry = ::readdir(entries.get())) {
        const std::optional<CheckpointFile> file = parse_checkpoint_name(entry->d_name);
        if (file && !file->is_working) positions.push_back(file->position);
    }
    std::sort(positions.begin(), positions.end());
    return positions;
}

void remove_checkpoint(int folder, std::uint64_t position) {
    ::unlinkat(folder, checkpoint_name(position).c_str(), 0);
}

std::vector<CheckpointEntry> list_checkpoints(int folder) {
    constexpr std::uint64_t block_unit = 512;  // of stat(2)
    std::vector<CheckpointEntry> found;
    const FolderEntries entries = entries_of(folder);
    while (const dirent *entry = entries != nullptr ? ::readdir(entries.get()) : nullptr) {
        const std::optional<CheckpointFile> file = parse_checkpoint_name(entry->d_name);
        struct stat status;
        if (!file || file->is_working ||
            ::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        found.push_back({file->position, static_cast<std::uint64_t>(status.st_blocks) * block_unit,
                         static_cast<std::uint64_t>(status.st_mtim.tv_sec) * 1'000'000'000 +
                             static_cast<std::uint64_t>(status.st_mtim.tv_nsec)});
    }
    std::ranges::sort(found, {}, &CheckpointEntry::position);
    return found;
}

namespace {

// Removes the files of which `is_wanted(file)`.
template <typename Wanted>
void remove_files(int folder, Wanted is_wanted) {
    const FolderEntries entries = entries_of(folder);
    while (const dirent *entry = entries != nullptr ? ::readdir(entries.get()) : nullptr) {
        const std::optional<CheckpointFile> file = parse_checkpoint_name(entry->d_name);
        if (file && is_wanted(*file)) ::unlinkat(folder, entry->d_name, 0);
    }
}

}  // namespace

void remove_working_checkpoints(int folder) {
    remove_files(folder, [](const CheckpointFile &file) { return file.is_working; });
}

void remove_checkpoints(int folder, std::uint64_t position) {
    remove_files(folder, [&](const CheckpointFile &file) {
        return file.is_working || file.position < position;
    });
}

}  // namespace tarnbase::runtime
