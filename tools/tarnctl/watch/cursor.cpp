// SPDX-License-Identifier: Apache-2.0
#include "watch/cursor.h"

#include <fmt/core.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string_view>

#include "base/failure.h"
#include "base/output_file.h"

namespace tarnctl {
namespace {

// The file is this, the number, and the end of the line.
constexpr std::string_view head = "tarnctl cursor 1: transaction ";

std::optional<uint64_t> parse(std::string_view text) {
    if (!text.starts_with(head)) return std::nullopt;
    uint64_t sequence = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data() + head.size(), end, sequence);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return sequence;
}

}  // namespace

std::optional<uint64_t> Cursor::read() const {
    if (path_.empty()) return std::nullopt;
    errno = 0;
    std::ifstream file(path_);
    if (!file && errno == ENOENT) return std::nullopt;
    std::string line;
    if (!file || !std::getline(file, line)) {
        if (errno == 0) throw Failure(Exit::data, fmt::format("{}: no cursor of a watch", path_));
        throw Failure(Exit::store, fmt::format("{}: {}", path_, std::strerror(errno)));
    }
    const std::optional<uint64_t> sequence = parse(line);
    if (!sequence) throw Failure(Exit::data, fmt::format("{}: no cursor of a watch", path_));
    return sequence;
}

void Cursor::write(uint64_t sequence) {
    if (path_.empty() || written_ == sequence) return;
    OutputFile file(path_);
    file.stream() << head << sequence << '\n';
    file.finish();
    written_ = sequence;
}

}  // namespace tarnctl
