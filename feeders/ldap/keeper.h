// SPDX-License-Identifier: Apache-2.0
//
// Keeps servers in the tables tbl_ldap_stats, tbl_ldap_summary and tbl_ldap_conn of a store.
#ifndef FEEDERS_LDAP_KEEPER_H
#define FEEDERS_LDAP_KEEPER_H

#include <optional>
#include <string>
#include <utility>

#include "counters.h"
#include "tables.h"

namespace tarn_ldap {

// What a transaction is from.
struct Origin {
    std::string label = {};     // recorded by the journal if there is one
    std::string source = {};    // a log with a place that is kept; empty if none is
    std::string position = {};  // the place to which that log is counted
};

// How far a source is counted, and for which server.
struct Place {
    std::string position;
    std::string server;
};

class Keeper {
 public:
    // Opens the tables, or creates them. Throws tarn::error, as all members do.
    explicit Keeper(tarn::store store);

    // The stored values of a server; none if no table has it.
    std::optional<Server> read(const std::string &name) const;
    // Stores a server and the place of its source, in one transaction. If that fails the store is
    // as it was before.
    void write(const std::string &name, const Server &server, const Origin &origin = {});
    // None if no place of the source is kept.
    std::optional<Place> place(const std::string &source) const;

    const tarn::store &store() const { return store_; }

 private:
    tarn::store store_;
    tarn::session session_;
    StatsTable stats_;
    SummaryTable summary_;
    ConnTable conn_;
    std::optional<PlacesTable> places_;  // made with the first place
};

}  // namespace tarn_ldap

#endif
