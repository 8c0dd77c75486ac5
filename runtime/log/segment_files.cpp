/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/segment_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <optional>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"
#include "runtime/base/folder_entries.h"
#include "runtime/base/working_file.h"

namespace tarnbase::runtime {

namespace {

constexpr std::string_view name_prefix = "log-";
constexpr std::string_view compressed_suffix = ".zst";
constexpr std::size_t name_digits = 16;

enum class Form { plain, compressed, working };

struct LogName {
    std::uint64_t first;
    Form form;
};

std::optional<Form> form_of(std::string_view suffix) {
    if (suffix.empty()) return Form::plain;
    if (suffix == compressed_suffix) return Form::compressed;
    if (suffix.starts_with(compressed_suffix)) suffix.remove_prefix(compressed_suffix.size());
    if (suffix.starts_with(working_suffix)) return Form::working;
    return std::nullopt;
}

// What the name of a segment's file says.
std::optional<LogName> parse_log_name(std::string_view name) {
    if (!name.starts_with(name_prefix) || name.size() < name_prefix.size() + name_digits) return {};
    name.remove_prefix(name_prefix.size());
    const std::optional<Form> form = form_of(name.substr(name_digits));
    if (!form) return {};
    std::uint64_t first = 0;
    const char *end = name.data() + name_digits;
    const auto [stop, error] = std::from_chars(name.data(), end, first, 16);
    if (error != std::errc() || stop != end) return {};
    return LogName{first, *form};
}

// Calls `visit(entry name)` for each file of the folder.
template <typename Visit>
void each_file(int folder, Visit visit) {
    const FolderEntries entries = entries_of(folder);
    while (const dirent *entry = entries != nullptr ? ::readdir(entries.get()) : nullptr) {
        visit(entry->d_name);
    }
}

// Removes each segment's file of which `is_wanted(LogName)`, and those that aren't complete.
template <typename Wanted>
void remove_files(int folder, Wanted is_wanted) {
    each_file(folder, [&](const char *name) {
        const std::optional<LogName> file = parse_log_name(name);
        const bool is_removed = file ? file->form == Form::working || is_wanted(*file)
                                     : name == std::string_view(working_segment_name);
        if (is_removed) ::unlinkat(folder, name, 0);
    });
}

// A segment that was removed meanwhile needs no writing. One that was compressed is on the disk.
std::uint32_t sync_segment(int folder, std::uint64_t first) {
    const std::string name = segment_name(first);
    const File file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.is_open()) return errno == ENOENT ? 0 : error_number();
    return ::fsync(file.descriptor()) == 0 ? 0 : error_number();
}

}  // namespace

std::string segment_name(std::uint64_t position) {
    char name[name_prefix.size() + name_digits + 1];
    std::snprintf(name, sizeof name, "log-%016llx", static_cast<unsigned long long>(position));
    return name;
}

std::string compressed_segment_name(std::uint64_t position) {
    return segment_name(position) + std::string(compressed_suffix);
}

bool is_log_file(std::string_view name) { return name.starts_with(name_prefix); }

std::vector<SegmentFile> list_segments(int folder) {
    constexpr std::uint64_t block_unit = 512;  // of stat(2)
    std::vector<SegmentFile> files;
    each_file(folder, [&](const char *name) {
        const std::optional<LogName> file = parse_log_name(name);
        struct stat status;
        if (!file || file->form == Form::working ||
            ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return;
        }
        files.push_back({file->first, static_cast<std::uint64_t>(status.st_blocks) * block_unit,
                         file->form == Form::plain, file->form == Form::compressed});
    });
    std::ranges::sort(files, {}, &SegmentFile::first);
    std::vector<SegmentFile> segments;
    for (const SegmentFile &each : files) {
        if (segments.empty() || segments.back().first != each.first) {
            segments.push_back(each);
            continue;
        }
        SegmentFile &same = segments.back();
        same.disk_bytes += each.disk_bytes;
        same.is_plain |= each.is_plain;
        same.is_compressed |= each.is_compressed;
    }
    return segments;
}

// One that a dead writer left may begin between, so the one before the range is no exception.
std::uint32_t sync_segments(int folder, std::uint64_t from, std::uint64_t to) {
    const std::vector<SegmentFile> segments = list_segments(folder);
    for (std::size_t i = 0; i < segments.size() && segments[i].first < to; ++i) {
        const bool has_range = i + 2 >= segments.size() || segments[i + 2].first > from;
        if (!has_range) continue;
        if (const std::uint32_t error = sync_segment(folder, segments[i].first)) return error;
    }
    return ::fsync(folder) == 0 ? 0 : error_number();
}

void remove_later_segments(int folder, std::uint64_t position) {
    remove_files(folder, [&](const LogName &file) {
        return file.first > position || (file.first == position && file.form == Form::compressed);
    });
}

void remove_segments(int folder, std::uint64_t position, std::uint64_t keep) {
    // Segments follow one another, so those before the one of `position` end before it. One
    // that begins between is a dead writer's, and its frames were written again elsewhere.
    remove_files(folder,
                 [&](const LogName &file) { return file.first < position && file.first != keep; });
}

void remove_working_compressed(int folder) {
    each_file(folder, [&](const char *name) {
        const std::optional<LogName> file = parse_log_name(name);
        if (file && file->form == Form::working) ::unlinkat(folder, name, 0);
    });
}

}  // namespace tarnbase::runtime
