/* SPDX-License-Identifier: Apache-2.0 */
// Where the items of a frame stand, for mutations that know what they change.
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

// The table whose LUID the frame carries; null if none of ours does, or the frame is
// too short to carry one.
const Table *table_of_frame(Bytes frame);

// The items of all frames in a stream, as far as they can be made out.
std::vector<WireItem> items_of_stream(Bytes stream);

}  // namespace tarnbase::fuzz

#endif
