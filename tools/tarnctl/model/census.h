// SPDX-License-Identifier: Apache-2.0
//
// How many records a table holds, and whose they are.
#ifndef TARNCTL_MODEL_CENSUS_H
#define TARNCTL_MODEL_CENSUS_H

#include <cstdint>
#include <map>
#include <string>

#include "model/instance.h"

namespace tarnctl {

struct Census {
    uint64_t records = 0;
    uint64_t pending = 0;                 // of these, waiting to be destroyed
    std::map<uint8_t, uint64_t> sources;  // KEL_SOURCE_SHADOW: the shadows
    std::map<uint16_t, uint64_t> tenants;
};

// Counts the records themselves: the counters in a table block tell nothing of tenants. Reads the
// records' own blocks alone, so that it works for those of any process.
Census count_records(const Instance &instance);

// "1", and "shadow" of a key's shadow.
std::string source_name(uint8_t source);

}  // namespace tarnctl

#endif
