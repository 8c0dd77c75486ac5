// SPDX-License-Identifier: Apache-2.0
//
// The place in the input that is being read, and the pieces found so far.
#ifndef TARNCTL_DECODE_READER_H
#define TARNCTL_DECODE_READER_H

#include <optional>

#include "decode/pieces.h"

namespace tarnctl {

// Thrown where the bytes can't go on being read: the problem is a piece already.
struct Stuck {};

class Reader {
 public:
    explicit Reader(Bytes bytes) : bytes_(bytes), end_(bytes.size()) {}

    std::size_t at() const { return at_; }
    std::size_t left() const { return end_ - at_; }
    bool done() const { return at_ == bytes_.size(); }
    // The next bytes, not taken. Stuck, with a problem that names `name`, if there are fewer.
    Bytes peek(std::size_t length, const std::string &name);
    uint64_t peek_number(std::size_t length, const std::string &name);

    // Takes the next bytes as a piece.
    void take(std::size_t length, const std::string &name, const std::string &value,
              bool problem = false);
    void heading(const std::string &name, const std::string &value);
    void problem(const std::string &name, const std::string &text);
    // Takes what is left up to `end` as a piece, if anything is.
    void take_unknown(std::size_t end, const std::string &why, bool problem);

    // Nothing beyond `end` is read; answers where the end was before.
    std::size_t limit(std::size_t end);

    void descend() { ++depth_; }
    void ascend() { --depth_; }
    void ascend_to(unsigned depth) { depth_ = depth; }
    unsigned depth() const { return depth_; }

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
