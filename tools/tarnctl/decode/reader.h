// SPDX-License-Identifier: Apache-2.0
//
// The reading position in the input, and the pieces found so far.
#ifndef TARNCTL_DECODE_READER_H
#define TARNCTL_DECODE_READER_H

#include <optional>

#include "decode/pieces.h"

namespace tarnctl {

// Thrown if decoding can't go on, after the problem was added as a piece.
struct Stuck {};

class Reader {
 public:
    explicit Reader(Bytes bytes) : bytes_(bytes), end_(bytes.size()) {}

    std::size_t at() const { return at_; }
    std::size_t left() const { return end_ - at_; }
    bool done() const { return at_ == bytes_.size(); }
    // The next bytes, without reading them. Throws Stuck, after a problem for `name`, if there are
    // fewer.
    Bytes peek(std::size_t length, const std::string &name);
    uint64_t peek_number(std::size_t length, const std::string &name);

    // Reads the next bytes as a piece.
    void take(std::size_t length, const std::string &name, const std::string &value,
              bool problem = false);
    void heading(const std::string &name, const std::string &value);
    void problem(const std::string &name, const std::string &text);
    // Reads the rest up to `end` as a piece, if there is any.
    void take_unknown(std::size_t end, const std::string &why, bool problem);

    // Sets the end of reading; returns the previous one.
    std::size_t limit(std::size_t end);

    void descend() { ++depth_; }
    void ascend() { --depth_; }
    void ascend_to(unsigned depth) { depth_ = depth; }

    std::vector<Piece> take_pieces() { return std::move(pieces_); }

 private:
    Bytes bytes_;
    std::size_t at_ = 0;
    std::size_t end_;
    unsigned depth_ = 0;
    std::vector<Piece> pieces_;
};

}  // namespace tarnctl

#endif
