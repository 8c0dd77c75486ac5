// SPDX-License-Identifier: Apache-2.0
//
// A file that is replaced as a whole or not at all.
#ifndef TARNCTL_BASE_OUTPUT_FILE_H
#define TARNCTL_BASE_OUTPUT_FILE_H

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace tarnctl {

// Writes to a temporary file in the folder of `path` and renames it when everything is written. A
// pipe or a device is written directly; "" or "-" is standard output.
class OutputFile {
 public:
    // Failure `store` that names the file, here and below.
    explicit OutputFile(const std::string &path);
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    // Removes the temporary file unless everything was written.
    ~OutputFile();

    std::ostream &stream() { return stream_; }
    void finish();

 private:
    void open();
    [[noreturn]] void fail() const;

    std::string path_;
    std::string temporary_;  // empty: written directly
    int descriptor_ = -1;
    std::unique_ptr<std::streambuf> buffer_;
    std::ostream stream_{nullptr};
};

// The part of the file's name after its last point; empty if it has none.
std::string_view suffix_of(std::string_view path);

}  // namespace tarnctl

#endif
