// SPDX-License-Identifier: Apache-2.0
//
// The records of tbl_pexSessionEntry_op. Their key is an object of its own: the port's index, the
// session's identifier, and a kind of search, which is 0 for all of ours.
#ifndef EXAMPLES_DOT1X_PORTS_SESSION_RECORDS_H
#define EXAMPLES_DOT1X_PORTS_SESSION_RECORDS_H

#include <vector>

#include "mapping.h"
#include "records.h"
#include "rows.h"

namespace dot1x_ports {

class SessionRecords {
 public:
    explicit SessionRecords(const example::Session &session);

    // Stores the sessions of these ports, and erases those that these ports have no more.
    void write(Access access, const std::vector<PortRows> &ports) const;
    std::vector<SessionRow> read(Access access, uint32_t if_index) const;

 private:
    void write_session(Access access, uint32_t if_index, const SessionRow &row) const;
    void erase_vanished(Access access, const std::vector<PortRows> &ports) const;
    void link(Access access) const;

    kel_table *table_;
};

}  // namespace dot1x_ports

#endif
