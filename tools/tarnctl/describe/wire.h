// SPDX-License-Identifier: Apache-2.0
//
// How many bytes things take on the wire (docs/formats.md), without looking at any.
#ifndef TARNCTL_DESCRIBE_WIRE_H
#define TARNCTL_DESCRIBE_WIRE_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/schema.h"

namespace tarnctl {

struct WireSize {
    uint64_t fixed = 0;                 // bytes that it has in any case
    uint64_t state = 0;                 // further ones if the object tracks its state
    std::vector<std::string> variable;  // paths of the strings and addresses that add to it
};

WireSize wire_size(const Field &field);
WireSize wire_size(const Structure &structure, int variant);
// A whole record, of the highest variants, with its headers.
WireSize wire_size(const Table &table);

// "10 bytes", or "from 10 bytes" where something adds to it.
std::string size_text(const WireSize &size);

}  // namespace tarnctl

#endif
