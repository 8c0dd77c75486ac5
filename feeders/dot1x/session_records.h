// SPDX-License-Identifier: Apache-2.0
//
// The records of tbl_pexSessionEntry_op. Their key is a structure: the port's index, the session's
// identifier, and a kind of search, which is 0 in all records of this program.
#ifndef FEEDERS_DOT1X_SESSION_RECORDS_H
#define FEEDERS_DOT1X_SESSION_RECORDS_H

#include <set>
#include <vector>

#include "mapping.h"
#include "rows.h"
#include "tables.h"

namespace tarn_dot1x {

class SessionRecords {
 public:
    explicit SessionRecords(const tarn::session &session);

    // Stores the sessions of these ports, and erases those that these ports no longer have.
    void write(const std::vector<PortRows> &ports);
    // Erases the sessions of all ports but those with these indexes.
    void erase_all_but(const std::set<uint32_t> &present);
    std::vector<SessionRow> read(uint32_t if_index) const;

 private:
    void erase_vanished(const std::vector<PortRows> &ports);
    void link();

    SessionTable table_;
};

}  // namespace tarn_dot1x

#endif
