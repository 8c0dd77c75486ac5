// SPDX-License-Identifier: Apache-2.0
#include "rotated_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <compare>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace tarn_ldap {
namespace {

struct WriteTime {
    time_t seconds;
    long nanoseconds;
    auto operator<=>(const WriteTime &) const = default;
};

struct OpenFile {
    Descriptor file;
    struct stat status;
    int64_t rank = 0;  // of earlier files: that of older ones is less

    WriteTime written() const { return {status.st_mtim.tv_sec, status.st_mtim.tv_nsec}; }
    bool is(const struct stat &other) const {
        return status.st_ino == other.st_ino && status.st_dev == other.st_dev;
    }
};

[[noreturn]] void fail(int reason, const std::string &path) {
    throw std::system_error(reason, std::generic_category(), path);
}

struct stat status_of(const Descriptor &file) {
    struct stat status {};
    if (fstat(file.number(), &status) != 0) fail(errno, "a log file");
    return status;
}

// Has no number if it can't be opened, as errno says.
Descriptor open_file(const std::string &path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

// Of an earlier file's name. Numbers count backwards, dates forwards: 20260131,
// 20260131-1769850000.
std::optional<int64_t> rank_of(std::string_view name, std::string_view log) {
    constexpr size_t date_length = 8;
    if (name.size() < log.size() + 2 || !name.starts_with(log)) return std::nullopt;
    name.remove_prefix(log.size());
    if (name[0] != '.' && name[0] != '-') return std::nullopt;
    std::string digits(name.substr(1));
    std::erase(digits, '-');
    int64_t number = 0;
    const char *end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return digits.size() < date_length ? -number : number;
}

// The earlier files, the oldest one first.
std::vector<OpenFile> earlier_files(const std::filesystem::path &log) {
    std::vector<OpenFile> files;
    const auto folder = log.has_parent_path() ? log.parent_path() : std::filesystem::path(".");
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        const auto rank = rank_of(entry.path().filename().string(), log.filename().string());
        if (!rank) continue;
        Descriptor file = open_file(entry.path().string());
        if (file.number() < 0) continue;  // removed meanwhile, or not readable
        const struct stat status = status_of(file);
        if (S_ISREG(status.st_mode)) files.push_back({std::move(file), status, *rank});
    }
    std::sort(files.begin(), files.end(),
              [](const OpenFile &a, const OpenFile &b) { return a.rank < b.rank; });
    return files;
}

bool has(const Descriptor &file, const FilePosition &position) {
    if (position.offset == 0) return status_of(file).st_ino == position.inode;
    return mark_before(file, position.offset) == position.mark;
}

}  // namespace

std::optional<uint64_t> mark_before(const Descriptor &file, uint64_t offset) {
    std::string bytes(std::min<uint64_t>(offset, kMarkLength), '\0');
    const ssize_t length =
        pread(file.number(), bytes.data(), bytes.size(), off_t(offset - bytes.size()));
    if (length < 0) fail(errno, "a log file");
    if (size_t(length) < bytes.size()) return std::nullopt;
    return mark_of(bytes);
}

Descriptor RotatedFiles::open_log() const {
    Descriptor file = open_file(path_);
    if (file.number() < 0 && errno != ENOENT) fail(errno, path_);
    if (file.number() >= 0 && !S_ISREG(status_of(file).st_mode)) fail(EINVAL, path_);
    return file;
}

std::optional<Descriptor> RotatedFiles::find(const FilePosition &position) const {
    std::vector<OpenFile> all = earlier_files(path_);
    Descriptor log = open_log();
    if (log.number() >= 0) {
        const struct stat status = status_of(log);
        all.push_back({std::move(log), status});
    }
    // A file that was only renamed before one that begins with the same bytes.
    std::stable_partition(all.begin(), all.end(), [&](const OpenFile &each) {
        return each.status.st_ino == position.inode;
    });
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const OpenFile &each) { return has(each.file, position); });
    if (found == all.end()) return std::nullopt;
    return std::move(found->file);
}

std::optional<Descriptor> RotatedFiles::next_after(const Descriptor &present) const {
    const OpenFile here{Descriptor(), status_of(present)};
    Descriptor log = open_log();
    if (log.number() < 0) return std::nullopt;
    const struct stat there = status_of(log);
    // Until the log has a line, the file before it may still get some.
    if (here.is(there) || there.st_size == 0) return std::nullopt;
    std::vector<OpenFile> earlier = earlier_files(path_);
    const auto self = std::find_if(earlier.begin(), earlier.end(),
                                   [&](const OpenFile &each) { return each.is(here.status); });
    // Of the names alone, some may be left from another way of rotating.
    const auto is_later = [&](const OpenFile &each) {
        if (each.is(there) || each.status.st_size == 0) return false;
        return self == earlier.end() ? each.written() > here.written()
                                     : each.written() >= here.written();
    };
    const auto next =
        std::find_if(self == earlier.end() ? earlier.begin() : self + 1, earlier.end(), is_later);
    return next == earlier.end() ? std::move(log) : std::move(next->file);
}

}  // namespace tarn_ldap
