// SPDX-License-Identifier: Apache-2.0
//
// The files of a log that is rotated: the log itself, and the earlier ones next to it, whose names
// are the log's with a number or a date: slapd.log.1, slapd.log-20260131.
#ifndef FEEDERS_LDAP_ROTATED_FILES_H
#define FEEDERS_LDAP_ROTATED_FILES_H

#include <optional>
#include <string>

#include "input.h"
#include "position.h"

namespace tarn_ldap {

class RotatedFiles {
 public:
    explicit RotatedFiles(std::string path) : path_(std::move(path)) {}

    // Has no number if there is none of the log's name. Throws std::system_error if it can't be
    // opened.
    Descriptor open_log() const;
    // The file that has this place, whatever its name is now.
    std::optional<Descriptor> find(const FilePosition &position) const;
    // The one that was written after `present` until the log has lines: none as long as `present`
    // may still be written.
    std::optional<Descriptor> next_after(const Descriptor &present) const;

 private:
    std::string path_;
};

// What an open file has before this offset, as a mark; none if it isn't so long.
std::optional<uint64_t> mark_before(const Descriptor &file, uint64_t offset);

}  // namespace tarn_ldap

#endif
