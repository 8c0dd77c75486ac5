// SPDX-License-Identifier: Apache-2.0
#include "radius.h"

#include <algorithm>

#include "read_block.h"
#include "tarnbase/enums/server_state.h"

namespace tarn_dot1x {
namespace {

std::string name_of(const ServerIdentity &server, const ServerNames &names) {
    for (const std::string &key : {with_port(server.address, server.port), server.address}) {
        const auto found = names.by_address.find(key);
        if (found != names.by_address.end()) return found->second;
    }
    return names.others.value_or(server.address);
}

template <size_t N, size_t M>
void add_traffic(const Block &block, const NumberEntry<TrafficRow> (&entries)[N],
                 const NumberEntry<Exchange> (&exchange_entries)[M], TrafficRow &row,
                 Problems &problems) {
    TrafficRow here;
    add_numbers(block, entries, here, problems);
    Exchange exchange;
    add_numbers(block, exchange_entries, exchange, problems);
    row.responses_seen += here.responses_seen;
    row.with_response += here.with_response;
    const uint32_t open_or_answered = here.with_response + exchange.pending;
    // A server that took over from another one responds to requests that weren't sent to it first.
    row.without_response += exchange.requests - std::min(exchange.requests, open_or_answered);
    row.timeouts += here.timeouts;
    row.response_time_max = std::max(row.response_time_max, exchange.round_trip_time);
    row.malformed_responses += here.malformed_responses;
    row.bad_authenticators += here.bad_authenticators;
    row.unknown_responses += here.unknown_responses;
}

uint32_t requests(const ServerRow &row) { return row.aaa_authen.requests + row.acct_requests; }

uint32_t responses(const ServerRow &row) {
    return row.aaa_authen.transaction_successes + row.acct_transaction_successes;
}

uint32_t timeouts(const ServerRow &row) {
    return row.aaa_authen.request_timeouts + row.acct_request_timeouts;
}

uint32_t status_after(const ServerRow &before, const ServerRow &now) {
    if (responses(now) != responses(before)) return SHOW_AAA_SERVER_ALIVE;
    if (timeouts(now) != timeouts(before)) return SHOW_AAA_SERVER_DEAD;
    return before.status;
}

}  // namespace

std::string with_port(const std::string &address, uint32_t port) {
    const bool ipv6 = address.find(':') != std::string::npos;
    return (ipv6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

void add_servers(const std::vector<Block> &servers, const ServerNames &names, RadiusRows &rows,
                 Problems &problems) {
    for (const Block &block : servers) {
        ServerIdentity identity;
        read_texts(block, kServerAddresses, identity);
        add_numbers(block, kServerPorts, identity, problems);
        if (identity.address.empty()) {
            problems.add(block.source, block.line, "a RADIUS server",
                         "a RADIUS server with its address");
            continue;
        }
        ServerRow &row = rows.servers[name_of(identity, names)];
        add_numbers(block, kAuthenNumbers, row.aaa_authen, problems);
        add_numbers(block, kServerNumbers, row, problems);
        RadiusRow &client = rows.client;
        add_numbers(block, kRadiusNumbers, client, problems);
        add_traffic(block, kAuthTrafficNumbers, kAuthExchangeNumbers, client.radius_auth_stats,
                    problems);
        add_traffic(block, kAcctTrafficNumbers, kAcctExchangeNumbers, client.radius_acct_stats,
                    problems);
    }
}

void carry_on(const std::optional<ServerRow> &before, ServerRow &row) {
    ServerRow start;
    start.status = SHOW_AAA_SERVER_UNKNOWN;
    if (before) {
        // Fewer requests than before: hostapd was restarted, and counts from 0.
        const bool restarted = requests(row) < requests(*before);
        if (!restarted) start = *before;
        start.status = before->status;
        start.dead_count = before->dead_count;
    }
    row.status = status_after(start, row);
    const bool marked = row.status == SHOW_AAA_SERVER_DEAD && start.status != SHOW_AAA_SERVER_DEAD;
    row.dead_count = start.dead_count + (marked ? 1 : 0);
}

void carry_on(const std::optional<RadiusRow> &before, RadiusRow &row) {
    if (!before) return;
    const auto keep = [](const TrafficRow &old, TrafficRow &now) {
        now.response_time_max = std::max(now.response_time_max, old.response_time_max);
    };
    keep(before->radius_auth_stats, row.radius_auth_stats);
    keep(before->radius_acct_stats, row.radius_acct_stats);
}

}  // namespace tarn_dot1x
