/* SPDX-License-Identifier: Apache-2.0 */
// What a salvage has lost, as it is reported.
#ifndef TARNBASE_RUNTIME_SALVAGE_LOSS_H
#define TARNBASE_RUNTIME_SALVAGE_LOSS_H

#include <cstdint>
#include <functional>
#include <string>

#include "tarnbase/record.h"

namespace tarnbase::runtime {

// `records` records of a table that was salvaged, or of an unknown one if it is null; 0: damage.
using ReportLoss =
    std::function<void(const kel_table *table, std::uint64_t records, const std::string &text)>;

}  // namespace tarnbase::runtime

#endif
