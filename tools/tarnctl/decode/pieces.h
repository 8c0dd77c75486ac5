// SPDX-License-Identifier: Apache-2.0
//
// Decoded wire bytes: pieces with their meaning, in order; every byte of the input is in exactly
// one. docs/formats.md describes the forms.
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
    unsigned depth;      // of nested objects
    std::string name;    // of the item or the field
    std::string value;
    bool problem = false;  // the bytes are malformed
};

// The kind of the bytes.
struct Form {
    enum class Kind { frames, objects, keys, document };
    Kind kind = Kind::frames;
    const Table *table = nullptr;          // of keys; of frames: null for the one their LUID names
    const Structure *structure = nullptr;  // of objects
};

// Decodes all of `bytes`, one item after the other. Arrays become pieces of `row` elements.
std::vector<Piece> take_apart(Bytes bytes, const Form &form, std::size_t row);

}  // namespace tarnctl

#endif
