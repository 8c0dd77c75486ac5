// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include "attributes.h"
#include "tarnbase/enums/server_state.h"

namespace tarn_radius {
namespace {

// The number of an attribute is added to a field.
template <class Row>
struct Entry {
    Attribute attribute;
    uint32_t Row::*field;
};

// Of a server, or of one of its clients. A request that has a reply or was dropped is a
// transaction. FreeRADIUS's own total of requests isn't used: Status-Server packets are in it.
constexpr Entry<AuthenRow> kAuthen[] = {
    {kAuthResponses, &AuthenRow::requests},
    {kAuthDroppedRequests, &AuthenRow::requests},
    {kAuthResponses, &AuthenRow::transactions},
    {kAuthDroppedRequests, &AuthenRow::transactions},
    {kAuthDuplicateRequests, &AuthenRow::retransmissions},
    {kAccessAccepts, &AuthenRow::accepts},
    {kAccessRejects, &AuthenRow::rejects},
    {kAccessChallenges, &AuthenRow::challenges},
    {kAuthResponses, &AuthenRow::transaction_successes},
    {kAuthDroppedRequests, &AuthenRow::transaction_failures},
};

constexpr Entry<ServerRow> kAcct[] = {
    {kAccountingResponses, &ServerRow::acct_requests},
    {kAcctDroppedRequests, &ServerRow::acct_requests},
    {kAccountingResponses, &ServerRow::acct_transactions},
    {kAcctDroppedRequests, &ServerRow::acct_transactions},
    {kAcctDuplicateRequests, &ServerRow::acct_retransmissions},
    {kAccountingResponses, &ServerRow::acct_transaction_successes},
    {kAcctDroppedRequests, &ServerRow::acct_transaction_failures},
};

// Of a home server: the client that counts is the server that was queried.
constexpr Entry<AuthenRow> kHomeAuthen[] = {
    {kProxyAccessRequests, &AuthenRow::requests},
    {kProxyAccessRequests, &AuthenRow::transactions},
    {kProxyAccessAccepts, &AuthenRow::accepts},
    {kProxyAccessRejects, &AuthenRow::rejects},
    {kProxyAccessChallenges, &AuthenRow::challenges},
    {kProxyAuthResponses, &AuthenRow::transaction_successes},
};

constexpr Entry<ServerRow> kHomeAcct[] = {
    {kProxyAccountingRequests, &ServerRow::acct_requests},
    {kProxyAccountingRequests, &ServerRow::acct_transactions},
    {kProxyAccountingResponses, &ServerRow::acct_transaction_successes},
};

template <class Row, size_t N>
void set_numbers(const Statistics &statistics, const Entry<Row> (&entries)[N], Row &row) {
    for (const Entry<Row> &each : entries) row.*each.field = 0;
    for (const Entry<Row> &each : entries) row.*each.field += statistics.value(each.attribute);
}

uint32_t home_status(const Statistics &statistics) {
    // The proxy has no such home server any more.
    if (!statistics.values.contains(kServerState)) return SHOW_AAA_SERVER_UNKNOWN;
    switch (statistics.value(kServerState)) {
        case kHomeAlive:
            return SHOW_AAA_SERVER_ALIVE;
        case kHomeDead:
            return SHOW_AAA_SERVER_DEAD;
        default:
            return SHOW_AAA_SERVER_UNKNOWN;
    }
}

void set_home(const Statistics &statistics, ServerRow &row) {
    set_numbers(statistics, kHomeAuthen, row.aaa_authen);
    set_numbers(statistics, kHomeAcct, row);
    const bool is_acct = statistics.values.contains(kProxyAccountingRequests);
    (is_acct ? row.est_outstanding_taraxs_acct : row.est_outstanding_taraxs_auth) =
        statistics.value(kOutstandingRequests);
}

void set_counters(Subject::Kind kind, const Statistics &statistics, ServerRow &row) {
    if (kind == Subject::Kind::home_server) return set_home(statistics, row);
    set_numbers(statistics, kAuthen, row.aaa_authen);
    set_numbers(statistics, kAcct, row);
}

uint32_t status_of(Subject::Kind kind, const std::optional<Statistics> &statistics) {
    if (kind != Subject::Kind::home_server)
        return statistics ? SHOW_AAA_SERVER_ALIVE : SHOW_AAA_SERVER_DEAD;
    return statistics ? home_status(*statistics) : uint32_t(SHOW_AAA_SERVER_UNKNOWN);
}

}  // namespace

ServerRow next_row(const std::optional<ServerRow> &before, Subject::Kind kind,
                   const std::optional<Statistics> &statistics) {
    ServerRow row = before.value_or(ServerRow{});
    const bool was_dead = before && before->status == SHOW_AAA_SERVER_DEAD;
    row.status = status_of(kind, statistics);
    if (row.status == SHOW_AAA_SERVER_DEAD && !was_dead) ++row.dead_count;
    if (statistics && !statistics->values.empty()) set_counters(kind, *statistics, row);
    return row;
}

}  // namespace tarn_radius
