// SPDX-License-Identifier: Apache-2.0
//
// What is under /api/v1 of the present, as JSON. A failure is thrown as `ApiError` or as
// `tarnctl::Failure`.
#ifndef TOOLS_EXPORTER_API_H
#define TOOLS_EXPORTER_API_H

#include <string>
#include <vector>

#include "exporter/failure.h"
#include "exporter/message.h"
#include "exporter/metrics.h"

namespace exporter {

// The store that the request names; of a single one it needn't.
FollowedStore &store_of(const Stores &stores, const Request &request);

// The tables of the stores, with their numbers of records.
Response tables_response(const Stores &stores, const Request &request);
// The records of a table, chosen as `tarnctl show` does.
Response records_response(const Stores &stores, const Request &request, const std::string &table);
// The records of one key.
Response record_response(const Stores &stores, const Request &request, const std::string &table,
                         const std::vector<std::string> &key);
// The tables, structures and enumerations of the schema, and the figures of each table.
Response schema_response();
// The changes of a store, as server-sent events.
Response changes_response(const Stores &stores, const Request &request);
// Whether all stores are open.
Response health_response(const Stores &stores);

}  // namespace exporter

#endif
