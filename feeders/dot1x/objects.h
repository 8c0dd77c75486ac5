// SPDX-License-Identifier: Apache-2.0
//
// Rows and the objects that hold them.
#ifndef FEEDERS_DOT1X_OBJECTS_H
#define FEEDERS_DOT1X_OBJECTS_H

#include "rows.h"
#include "tables.h"

namespace tarn_dot1x {

// Fields that are equal already aren't set: that costs no log entry and marks nothing as modified.
// A signed field stops at its largest value.
void put(tarn::dot1xAuthConfigEntry_op object, const ConfigRow &row);
void put(tarn::dot1xAuthStatsEntry_op object, const StatsRow &row);
void put(tarn::pexSessionEntry_op object, const SessionRow &row);  // all but next_if_index
void put(tarn::aaa_servers object, const ServerRow &row);
void put(tarn::radius_stats object, const RadiusRow &row);

ConfigRow read(const tarn::dot1xAuthConfigEntry_op &object);
StatsRow read(const tarn::dot1xAuthStatsEntry_op &object);
SessionRow read(const tarn::pexSessionEntry_op &object);
ServerRow read(const tarn::aaa_servers &object);
RadiusRow read(const tarn::radius_stats &object);

}  // namespace tarn_dot1x

#endif
