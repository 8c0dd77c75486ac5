// SPDX-License-Identifier: Apache-2.0
//
// A place in a log file, which is found again after the file was renamed or copied.
#ifndef FEEDERS_LDAP_POSITION_H
#define FEEDERS_LDAP_POSITION_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn_ldap {

// So many bytes before a place identify the file.
constexpr size_t kMarkLength = 256;

struct FilePosition {
    uint64_t inode = 0;  // tells files apart of which nothing was read
    uint64_t offset = 0;
    uint64_t lines = 0;  // before the place
    uint64_t mark = 0;   // mark_of what is before it
    bool operator==(const FilePosition &) const = default;
};

// Of up to kMarkLength bytes.
uint64_t mark_of(std::string_view bytes);

// "file 4711 81204 903 93a4b0c2d1e0f567"
std::string to_text(const FilePosition &position);
std::optional<FilePosition> file_position(const std::string &text);

}  // namespace tarn_ldap

#endif
