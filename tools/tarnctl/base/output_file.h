// SPDX-License-Identifier: Apache-2.0
//
// A file that is written whole, or stays as it was.
#ifndef TARNCTL_BASE_OUTPUT_FILE_H
#define TARNCTL_BASE_OUTPUT_FILE_H

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace tarnctl {

// Writes to a temporary file beside `path`, which takes its place when all is written. What is no
// regular file, a pipe or a device, is written directly; "" or "-" is standard output.
class OutputFile {
 public:
    // Failure `store` that names the file, here and below.
    explicit OutputFile(const std::string &path);
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    // Takes the temporary file away unless all was written.
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

// What follows the last point of the file's name; empty if there is none.
std::string_view suffix_of(std::string_view path);

}  // namespace tarnctl

#endif
