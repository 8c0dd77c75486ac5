// SPDX-License-Identifier: Apache-2.0
//
// The sizes of wire forms (docs/formats.md), from the schema.
#ifndef TARNCTL_DESCRIBE_WIRE_H
#define TARNCTL_DESCRIBE_WIRE_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/schema.h"

namespace tarnctl {

struct WireSize {
    uint64_t fixed = 0;                 // bytes of every one
    uint64_t state = 0;                 // further bytes of an object with state flags
    std::vector<std::string> variable;  // paths of the strings and addresses that add to it
};

WireSize wire_size(const Field &field);
WireSize wire_size(const Structure &structure, int variant);
// A whole record, of the highest variants, with its headers.
WireSize wire_size(const Table &table);

// "10 bytes", or "from 10 bytes" with strings or addresses.
std::string size_text(const WireSize &size);

}  // namespace tarnctl

#endif
