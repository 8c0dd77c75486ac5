// SPDX-License-Identifier: Apache-2.0
//
// Keeps rows in the table tbl_aaa_servers of a store, by the names of servers.
#ifndef FEEDERS_RADIUS_KEEPER_H
#define FEEDERS_RADIUS_KEEPER_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "rows.h"
#include "tarnbase/tarn/tables/aaa_servers.hpp"

namespace tarn_radius {

// The name under which the program opens its table.
constexpr const char *kTableName = "radius";

using ServerTable = tarn::table<tarn::aaa_servers>;

class Keeper {
 public:
    // Opens the table, or creates it. Throws tarn::error, as all members do.
    explicit Keeper(tarn::store store);

    std::optional<ServerRow> read(const std::string &name) const;
    // In one transaction, whose label names the servers. If that fails the store is as it was
    // before.
    void write(const std::map<std::string, ServerRow> &rows,
               const std::vector<std::string> &servers);

 private:
    tarn::store store_;
    tarn::session session_;
    ServerTable servers_;
};

}  // namespace tarn_radius

#endif
