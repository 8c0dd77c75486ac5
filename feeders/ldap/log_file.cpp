// SPDX-License-Identifier: Apache-2.0
#include "log_file.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "lines.h"

namespace tarn_ldap {
namespace {

constexpr size_t kBlock = 65536;

[[noreturn]] void fail_with(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

struct stat status_of(const Descriptor &file, const std::string &path) {
    struct stat status {};
    if (fstat(file.number(), &status) != 0) fail_with(path);
    return status;
}

// Shorter only at the end of the file.
std::string read_block(const Descriptor &file, uint64_t offset, size_t length) {
    std::string bytes(length, '\0');
    size_t done = 0;
    while (done < length) {
        const ssize_t now =
            pread(file.number(), bytes.data() + done, length - done, off_t(offset + done));
        if (now < 0) fail_with("a log file");
        if (now == 0) break;
        done += size_t(now);
    }
    bytes.resize(done);
    return bytes;
}

}  // namespace

LogFile::LogFile(const std::string &path, const Begin &begin_where, Warn warn)
    : path_(path),
      files_(path),
      warn_(std::move(warn)),
      notices_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    const auto folder = std::filesystem::absolute(path_).parent_path().string();
    if (notices_.number() < 0) fail_with(path_);
    if (inotify_add_watch(notices_.number(), folder.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) <
        0)
        fail_with(folder);
    begin(begin_where);
}

void LogFile::acknowledge() {
    std::array<char, 4096> bytes;
    while (read(notices_.number(), bytes.data(), bytes.size()) > 0) continue;
}

void LogFile::begin(const Begin &begin) {
    if (begin.position.empty()) {
        Descriptor file = files_.open_log();
        if (file.number() < 0) return;
        FilePosition where;
        if (begin.from_end) where.offset = uint64_t(status_of(file, path_).st_size);
        return begin_at(std::move(file), where);
    }
    const auto position = file_position(begin.position);
    if (!position) throw BadPosition("\"" + begin.position + "\" is no place in a log file");
    position_ = *position;
    find_again();
}

void LogFile::begin_at(Descriptor file, const FilePosition &position) {
    file_ = std::move(file);
    position_ = position;
    position_.inode = status_of(file_, path_).st_ino;
    const size_t length = std::min<uint64_t>(kMarkLength, position_.offset);
    before_ = read_block(file_, position_.offset - length, length);
    position_.mark = mark_of(before_);
    watch();
}

// Continues in the file that has what was read last.
void LogFile::find_again() {
    if (auto found = files_.find(position_)) return begin_at(std::move(*found), position_);
    if (position_.offset > 0)
        warn_(path_ + ": the file that was read to byte " + std::to_string(position_.offset) +
              " isn't there any more, nor a copy: lines at its end may be missing");
    new_text_ = true;
    file_ = Descriptor();
    open_first();
}

bool LogFile::open_first() {
    Descriptor file = files_.open_log();
    if (file.number() < 0) return false;
    begin_at(std::move(file), {});
    return true;
}

void LogFile::watch() {
    const std::string name = "/proc/self/fd/" + std::to_string(file_.number());
    const int number = inotify_add_watch(notices_.number(), name.c_str(), IN_MODIFY);
    if (number < 0) fail_with(path_);
    // The kernel has removed it if the file is gone.
    if (watched_ >= 0 && watched_ != number) inotify_rm_watch(notices_.number(), watched_);
    watched_ = number;
}

std::optional<Piece> LogFile::next() {
    for (;;) {
        if (file_.number() < 0 && !open_first()) return std::nullopt;
        if (mark_before(file_, position_.offset) != mark_of(before_)) {
            find_again();
            continue;
        }
        // Watched before it is looked at, and looked at before the read: so neither the first lines
        // of the log nor the last ones of a renamed file are missed.
        inotify_add_watch(notices_.number(), path_.c_str(), IN_MODIFY);
        auto successor = files_.next_after(file_);
        if (auto piece = read_lines(successor.has_value())) return piece;
        if (!successor) return std::nullopt;
        new_text_ = true;
        begin_at(std::move(*successor), {});
    }
}

// Of a complete file also a last line without an end.
std::optional<Piece> LogFile::read_lines(bool is_complete) {
    for (size_t length = kBlock;; length *= 2) {
        std::string bytes = read_block(file_, position_.offset, length);
        const bool is_end = bytes.size() < length;
        const size_t whole = bytes.rfind('\n') + 1;
        if (is_end && is_complete && !bytes.empty()) {
            Piece piece = take(std::move(bytes));
            if (piece.bytes.back() != '\n') piece.bytes += '\n';
            return piece;
        }
        if (whole > 0) return take(bytes.substr(0, whole));
        if (is_end) return std::nullopt;
        if (length > kLongestLine) return take(std::move(bytes));
    }
}

Piece LogFile::take(std::string bytes) {
    Piece piece{{}, std::exchange(new_text_, false), {}, position_.lines + 1};
    position_.offset += bytes.size();
    position_.lines += uint64_t(std::count(bytes.begin(), bytes.end(), '\n'));
    before_ += bytes;
    before_.erase(0, before_.size() - std::min(before_.size(), kMarkLength));
    position_.mark = mark_of(before_);
    piece.position = to_text(position_);
    piece.bytes = std::move(bytes);
    return piece;
}

}  // namespace tarn_ldap
