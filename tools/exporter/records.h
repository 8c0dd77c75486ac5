// SPDX-License-Identifier: Apache-2.0
//
// Tables and records of a store, as it is or as it was, in JSON.
#ifndef TOOLS_EXPORTER_RECORDS_H
#define TOOLS_EXPORTER_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "exporter/message.h"
#include "json/document.h"
#include "model/instance.h"
#include "model/store.h"

namespace exporter {

// A parameter that is a number, or `usual` without one. Throws ApiError.
uint64_t number_of(const Request &request, const std::string &name, uint64_t usual, uint64_t most);
// The table of this name in a path. Throws ApiError.
tarnctl::TableReference reference_of(const std::string &name);

// Adds the tables of a store to an array.
void add_tables(const tarnctl::Store &store, const std::string &name, uint64_t transaction,
                tarnctl::Json &list);
// The tables that the name means, with the records that the request chooses. Those that only the
// process that made them can read are counted as "unreadable". Throws ApiError and Failure.
tarnctl::Json records_of(const tarnctl::Store &store, const Request &request,
                         const std::string &table);
// "records", those of one key, of all tenants and sources, and "unreadable" as above. Throws
// ApiError if there is none, and Failure.
tarnctl::Json records_of_key(const tarnctl::Store &store, const std::string &table,
                             const std::vector<std::string> &key);

}  // namespace exporter

#endif
