// SPDX-License-Identifier: Apache-2.0
//
// Keeps servers in the tables tbl_ldap_stats, tbl_ldap_summary and tbl_ldap_conn of a store.
#ifndef FEEDERS_LDAP_KEEPER_H
#define FEEDERS_LDAP_KEEPER_H

#include <optional>
#include <string>

#include "counters.h"
#include "tables.h"

namespace tarn_ldap {

class Keeper {
 public:
    // Opens the store, or creates it, and its tables. Throws tarn::error, as all members do.
    explicit Keeper(const std::string &path);
    // Lets the store keep a journal from now on. One that it keeps stays as it is set.
    void keep_journal();

    // The stored values of a server; none if no table has it.
    std::optional<Server> read(const std::string &name) const;
    // Stores a server, in one transaction, with a label that the journal records if there is one.
    // If that fails the store is as it was before.
    void write(const std::string &name, const Server &server, const std::string &label = "");

    const tarn::store &store() const { return store_; }

 private:
    tarn::store store_;
    tarn::session session_;
    StatsTable stats_;
    SummaryTable summary_;
    ConnTable conn_;
};

}  // namespace tarn_ldap

#endif
