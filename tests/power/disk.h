/* SPDX-License-Identifier: Apache-2.0 */
// What a power loss leaves of a folder: each page of a file, and each name, as it was when it was
// last flushed, or as it is now, by chance.
#ifndef TESTS_POWER_DISK_H
#define TESTS_POWER_DISK_H

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace power {

using Content = std::vector<char>;
using Random = std::mt19937_64;
// Of a file as long as it exists: its number and when it was made.
using FileId = std::pair<std::uint64_t, std::int64_t>;
using Names = std::map<std::string, FileId>;

class Disk {
 public:
    // All that the folder contains now is flushed.
    explicit Disk(std::string folder);

    // The state of a file or of the folder before a flush, and that the flush is done. A descriptor
    // of anything else is ignored.
    struct Flush {
        bool is_folder = false;
        bool is_file = false;
        FileId file;
        Content content;
        Names names;
    };
    Flush begin_flush(int descriptor) const;
    void end_flush(Flush flush);
    // A name is about to be removed or replaced.
    void forget(const std::string &name);

    // Makes a folder with what a power loss now leaves.
    void cut(Random &random, const std::string &into) const;

 private:
    Names names() const;
    Content live_content(const FileId &file, const Names &current) const;
    Content flushed_content(const FileId &file) const;

    std::string folder_;
    FileId folder_id_;
    Names flushed_names_;
    std::map<FileId, Content> flushed_;
    std::map<FileId, Content> gone_;  // the last content of files without a name
};

}  // namespace power

#endif
