/* SPDX-License-Identifier: Apache-2.0 */
// The positions of a frame's items, for mutations of specific items.
#ifndef TARNBASE_TESTS_FUZZ_WIRE_ITEMS_H
#define TARNBASE_TESTS_FUZZ_WIRE_ITEMS_H

#include <vector>

#include "frame/schema.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

enum class WireKind : u8 {
    frame,   // a whole frame
    object,  // a whole object
    header,
    luid,
    variant,
    flags,
    ra_data,
    jump,
    value,
    text_length,
    family,
    state,
};

struct WireItem {
    WireKind kind;
    u32 offset;
    u32 length;
};

// The table with the frame's LUID; null if there is none, or if the frame is too short.
const Table *table_of_frame(Bytes frame);

// The items of all frames in a stream, as far as they can be read.
std::vector<WireItem> items_of_stream(Bytes stream);

}  // namespace tarnbase::fuzz

#endif
