// SPDX-License-Identifier: Apache-2.0
// The layout of an object.
//
//   object   header of 11 bytes, then the fields in order, each at the next byte
//            that suits its alignment
//   nested   takes its whole allocation inside its parent, since setting it
//            copies that many bytes
//   used     ends with the variant's last field, unrounded
//   size     of an allocation: used in the last variant, rounded up to 8, and 8
//            more, or 16 more if more than 64 bytes are used
//   run      numbers of one kind and one variant, each adjacent to the one before
//   state    one flag byte a field; after it the block of an embedded object or
//            the flags of an array's elements
#ifndef TARNC_LAYOUT_H
#define TARNC_LAYOUT_H

#include "model.h"

namespace tarnc {

// Fills in offsets, positions, sizes and runs.
// Requires: the structures nested in this one are laid out.
void lay_out(Structure &structure);

}  // namespace tarnc

#endif
