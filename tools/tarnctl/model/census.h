// SPDX-License-Identifier: Apache-2.0
//
// How many records a table has, by source and by tenant.
#ifndef TARNCTL_MODEL_CENSUS_H
#define TARNCTL_MODEL_CENSUS_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "model/instance.h"

namespace tarnctl {

struct Census {
    uint64_t records = 0;
    uint64_t pending = 0;                 // of these, those that await their destruction
    std::map<uint8_t, uint64_t> sources;  // KEL_SOURCE_SHADOW: the shadows
    std::map<uint16_t, uint64_t> tenants;
};

// Counts the records one by one, since a table block has no counters by tenant, and calls `counted`
// after each. Reads only the records' own blocks, so that it works for those of any process.
Census count_records(const Instance &instance, const std::function<void()> &counted);

// "1", and "shadow" of a key's shadow.
std::string source_name(uint8_t source);

}  // namespace tarnctl

#endif
