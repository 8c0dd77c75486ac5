// SPDX-License-Identifier: Apache-2.0
#include "tests/power/disk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace power {

namespace {

constexpr std::size_t page = 4096;

FileId identify(int folder, const char *path, int flags) {
    struct statx status {};
    if (::statx(folder, path, flags, STATX_INO | STATX_BTIME, &status) != 0) return {};
    return {status.stx_ino, status.stx_btime.tv_sec * 1'000'000'000 + status.stx_btime.tv_nsec};
}

Content read_file(const std::string &path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return {};
    struct stat status {};
    ::fstat(file, &status);
    Content content(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t got =
            ::pread(file, content.data() + done, content.size() - done, static_cast<off_t>(done));
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    ::close(file);
    return content;
}

void write_file(const std::string &path, const Content &content) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) throw std::runtime_error(path);
    const ssize_t put = ::write(file, content.data(), content.size());
    ::close(file);
    if (put != static_cast<ssize_t>(content.size())) throw std::runtime_error(path);
}

// How often the newer state has survived: never, always, or by chance.
class Chance {
 public:
    explicit Chance(Random &random) : random_(random), most_(random() % 5) {}
    bool is_newer() { return most_ == 4 || random_() % 4 < most_; }

 private:
    Random &random_;
    std::uint64_t most_;
};

// Chooses between the pages of two states of a file.
Content mix(Content older, const Content &newer, Chance &pages, Chance &sizes) {
    const std::size_t size = sizes.is_newer() ? newer.size() : older.size();
    older.resize(size);
    for (std::size_t at = 0; at < std::min(size, newer.size()); at += page) {
        const std::size_t length = std::min({page, size - at, newer.size() - at});
        if (std::memcmp(&older[at], &newer[at], length) == 0 || !pages.is_newer()) continue;
        std::memcpy(&older[at], &newer[at], length);
    }
    return older;
}

}  // namespace

Disk::Disk(std::string folder)
    : folder_(std::move(folder)), folder_id_(identify(AT_FDCWD, folder_.c_str(), 0)) {
    flushed_names_ = names();
    for (const auto &[name, file] : flushed_names_)
        flushed_[file] = read_file(folder_ + "/" + name);
}

Names Disk::names() const {
    Names found;
    for (const auto &entry : std::filesystem::directory_iterator(folder_)) {
        const FileId file = identify(AT_FDCWD, entry.path().c_str(), AT_SYMLINK_NOFOLLOW);
        if (file != FileId{}) found[entry.path().filename().string()] = file;
    }
    return found;
}

Disk::Flush Disk::begin_flush(int descriptor) const {
    Flush flush;
    flush.file = identify(descriptor, "", AT_EMPTY_PATH);
    flush.names = names();
    flush.is_folder = flush.file == folder_id_;
    for (const auto &[name, file] : flush.names) {
        if (file != flush.file) continue;
        flush.is_file = true;
        flush.content = read_file(folder_ + "/" + name);
    }
    return flush;
}

void Disk::end_flush(Flush flush) {
    if (flush.is_folder) flushed_names_ = std::move(flush.names);
    if (flush.is_file) flushed_[flush.file] = std::move(flush.content);
}

void Disk::forget(const std::string &name) {
    const std::string path = folder_ + "/" + name;
    const FileId file = identify(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
    if (file != FileId{}) gone_[file] = read_file(path);
}

Content Disk::live_content(const FileId &file, const Names &current) const {
    for (const auto &[name, each] : current) {
        if (each == file) return read_file(folder_ + "/" + name);
    }
    const auto found = gone_.find(file);
    return found != gone_.end() ? found->second : flushed_content(file);
}

Content Disk::flushed_content(const FileId &file) const {
    const auto found = flushed_.find(file);
    return found != flushed_.end() ? found->second : Content{};
}

void Disk::cut(Random &random, const std::string &into) const {
    std::filesystem::create_directory(into);
    const Names current = names();
    Names all = flushed_names_;
    all.insert(current.begin(), current.end());
    Chance of_names(random), of_pages(random), of_sizes(random);
    for (const auto &[name, ignored] : all) {
        const Names &from = of_names.is_newer() ? current : flushed_names_;
        const auto found = from.find(name);
        if (found == from.end()) continue;
        const FileId &file = found->second;
        write_file(into + "/" + name,
                   mix(flushed_content(file), live_content(file, current), of_pages, of_sizes));
    }
}

}  // namespace power
