/* SPDX-License-Identifier: Apache-2.0 */
// The stores in the same folder as a new one. A process is likely to open several of them, so the
// new one gets an address that none of them has.
#ifndef TARNBASE_RUNTIME_STORE_NEIGHBOURS_H
#define TARNBASE_RUNTIME_STORE_NEIGHBOURS_H

#include <cstdint>
#include <vector>

#include "runtime/control/control.h"

namespace tarnbase::runtime {

// The ranges of the stores in the folder that contains `path`. In a folder with many entries only
// some are looked at.
std::vector<AddressRange> ranges_of_neighbours(const char *path);

bool overlaps(const std::vector<AddressRange> &ranges, AddressRange range);

}  // namespace tarnbase::runtime

#endif
