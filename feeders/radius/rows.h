// SPDX-License-Identifier: Apache-2.0
//
// The values of tbl_aaa_servers that are kept, and how they are made from statistics.
#ifndef FEEDERS_RADIUS_ROWS_H
#define FEEDERS_RADIUS_ROWS_H

#include <cstdint>
#include <optional>

#include "packet.h"

#define RADIUS_AUTHEN_NUMBERS(X) \
    X(requests)                  \
    X(transactions)              \
    X(retransmissions)           \
    X(accepts)                   \
    X(rejects)                   \
    X(challenges)                \
    X(transaction_successes)     \
    X(transaction_failures)

#define RADIUS_SERVER_NUMBERS(X)      \
    X(status) /* SHOW_AAA_SERVER_* */ \
    X(dead_count)                     \
    X(acct_requests)                  \
    X(acct_transactions)              \
    X(acct_retransmissions)           \
    X(acct_transaction_successes)     \
    X(acct_transaction_failures)      \
    X(est_outstanding_taraxs_auth)    \
    X(est_outstanding_taraxs_acct)

namespace tarn_radius {

#define X(field) uint32_t field = 0;

struct AuthenRow {
    RADIUS_AUTHEN_NUMBERS(X)
    bool operator==(const AuthenRow &) const = default;
};

struct ServerRow {
    AuthenRow aaa_authen;
    RADIUS_SERVER_NUMBERS(X)
    bool operator==(const ServerRow &) const = default;
};

#undef X

// The row after a poll, from the stored one if there is one. `statistics` are those of the subject;
// none if the server didn't reply. Then counters stay as they are.
ServerRow next_row(const std::optional<ServerRow> &before, Subject::Kind kind,
                   const std::optional<Statistics> &statistics);

}  // namespace tarn_radius

#endif
