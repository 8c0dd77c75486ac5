// SPDX-License-Identifier: Apache-2.0
//
// Wire bytes taken apart: every byte of the input lies in exactly one piece, in order, what is
// known of it beside it. docs/formats.md gives the forms.
#ifndef TARNCTL_DECODE_PIECES_H
#define TARNCTL_DECODE_PIECES_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/schema.h"

namespace tarnctl {

using Bytes = std::span<const uint8_t>;

struct Piece {
    std::size_t offset;  // from the start of the input
    std::size_t length;  // 0: a heading, or a problem at this place
    unsigned depth;      // how deep in objects it lies
    std::string name;    // of the item or the field
    std::string value;
    bool problem = false;  // the bytes aren't what they should be
};

// What the bytes are.
struct Form {
    enum class Kind { frames, objects, keys, document };
    Kind kind = Kind::frames;
    const Table *table = nullptr;          // of keys; of frames: null for the one their LUID names
    const Structure *structure = nullptr;  // of objects
};

// Takes all of `bytes` apart, one form after the other until none is left. Arrays are cut in
// pieces of `row` elements.
std::vector<Piece> take_apart(Bytes bytes, const Form &form, std::size_t row);

}  // namespace tarnctl

#endif
