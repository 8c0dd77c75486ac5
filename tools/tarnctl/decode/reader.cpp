// SPDX-License-Identifier: Apache-2.0
#include "decode/reader.h"

#include <fmt/core.h>

#include <algorithm>

namespace tarnctl {

Bytes Reader::peek(std::size_t length, const std::string &name) {
    if (length > left()) {
        problem(name,
                fmt::format("takes {} byte{}, {} left", length, length == 1 ? "" : "s", left()));
        throw Stuck{};
    }
    return bytes_.subspan(at_, length);
}

uint64_t Reader::peek_number(std::size_t length, const std::string &name) {
    const Bytes bytes = peek(length, name);
    uint64_t number = 0;
    for (std::size_t i = length; i-- > 0;) number = number << 8 | bytes[i];
    return number;
}

void Reader::take(std::size_t length, const std::string &name, const std::string &value,
                  bool problem) {
    pieces_.push_back({at_, length, depth_, name, value, problem});
    at_ += length;
}

void Reader::heading(const std::string &name, const std::string &value) {
    pieces_.push_back({at_, 0, depth_, name, value, false});
}

void Reader::problem(const std::string &name, const std::string &text) {
    pieces_.push_back({at_, 0, depth_, name, text, true});
}

void Reader::take_unknown(std::size_t end, const std::string &why, bool problem) {
    const std::size_t stop = std::min(end, bytes_.size());
    if (stop > at_) take(stop - at_, "unknown", why, problem);
}

std::size_t Reader::limit(std::size_t end) {
    const std::size_t before = end_;
    end_ = std::max(at_, std::min(end, bytes_.size()));
    return before;
}

}  // namespace tarnctl
