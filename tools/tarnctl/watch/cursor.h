// SPDX-License-Identifier: Apache-2.0
//
// A file that says which transactions of a store a reader has seen.
#ifndef TARNCTL_WATCH_CURSOR_H
#define TARNCTL_WATCH_CURSOR_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tarnctl {

class Cursor {
 public:
    // "": there is no file, and `write` does nothing.
    explicit Cursor(std::string path) : path_(std::move(path)) {}

    // The number of the last transaction seen; none if the file doesn't exist. Failure `data` if
    // it is no cursor, `store` if it can't be read.
    std::optional<uint64_t> read() const;
    // Replaces the file as a whole. Failure `store`.
    void write(uint64_t sequence);

 private:
    std::string path_;
    std::optional<uint64_t> written_;
};

}  // namespace tarnctl

#endif
