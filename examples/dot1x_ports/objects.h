// SPDX-License-Identifier: Apache-2.0
//
// Rows and the objects that hold them.
#ifndef EXAMPLES_DOT1X_PORTS_OBJECTS_H
#define EXAMPLES_DOT1X_PORTS_OBJECTS_H

#include "records.h"
#include "rows.h"
#include "tables.h"

namespace dot1x_ports {

void put(Access access, st_dot1xAuthConfigEntry_op *object, const ConfigRow &row);
void put(Access access, st_dot1xAuthStatsEntry_op *object, const StatsRow &row);
void put(Access access, st_aaa_servers *object, const ServerRow &row);
void put(Access access, st_radius_stats *object, const RadiusRow &row);

ConfigRow read(Access access, st_dot1xAuthConfigEntry_op *object);
StatsRow read(Access access, st_dot1xAuthStatsEntry_op *object);
ServerRow read(Access access, st_aaa_servers *object);
RadiusRow read(Access access, st_radius_stats *object);

}  // namespace dot1x_ports

#endif
