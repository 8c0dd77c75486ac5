// SPDX-License-Identifier: Apache-2.0
#include "lines.h"

namespace tarn_ldap {

void Lines::append(std::string_view part) {
    const size_t space = kLongestLine - begun_.size();
    too_long_ = too_long_ || part.size() > space;
    begun_.append(part.substr(0, space));
}

void Lines::add(std::string_view piece, const Sink &sink) {
    for (size_t end; (end = piece.find('\n')) != std::string_view::npos;) {
        append(piece.substr(0, end));
        piece.remove_prefix(end + 1);
        sink({number_++, begun_, too_long_});
        begun_.clear();
        too_long_ = false;
    }
    append(piece);
}

void Lines::finish(const Sink &sink) {
    if (!begun_.empty()) sink({number_, begun_, too_long_});
    *this = Lines();
}

}  // namespace tarn_ldap
