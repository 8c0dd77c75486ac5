// SPDX-License-Identifier: Apache-2.0
#include "position.h"

#include <ios>
#include <sstream>

namespace tarn_ldap {

// FNV-1a
uint64_t mark_of(std::string_view bytes) {
    uint64_t mark = 0xcbf29ce484222325;
    for (const char c : bytes) mark = (mark ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return mark;
}

std::string to_text(const FilePosition &position) {
    std::ostringstream text;
    text << "file " << position.inode << ' ' << position.offset << ' ' << position.lines << ' '
         << std::hex << position.mark;
    return text.str();
}

std::optional<FilePosition> file_position(const std::string &text) {
    std::istringstream words(text);
    std::string kind;
    FilePosition position;
    words >> kind >> position.inode >> position.offset >> position.lines >> std::hex >>
        position.mark;
    if (words.fail() || kind != "file" || to_text(position) != text) return std::nullopt;
    return position;
}

}  // namespace tarn_ldap
