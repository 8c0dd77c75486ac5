// SPDX-License-Identifier: Apache-2.0
//
// The values of one LDAP server that the three tables contain.
//
// "Sent" and "received" are seen from the clients, all of them taken as one: sent are their
// requests, received slapd's responses.
#ifndef FEEDERS_LDAP_COUNTERS_H
#define FEEDERS_LDAP_COUNTERS_H

#include <cstdint>

// The counters of st_ldap_stats, in its field order.
#define LDAP_STATS_COUNTERS(X)                                           \
    X(total_msg_sent) /* requests of any kind */                         \
    X(total_msg_rcvd) /* results, search entries and notices */          \
    X(avg_resp_delay) /* microseconds */                                 \
    X(max_resp_delay) /* microseconds */                                 \
    X(total_search_req)                                                  \
    X(total_bind_req)                                                    \
    X(total_compare_req)                                                 \
    X(total_extended_req)                                                \
    X(total_search_resentry)                                             \
    X(total_search_resdone)                                              \
    X(total_bind_resp)                                                   \
    X(total_compare_resp)                                                \
    X(total_extended_resp)                                               \
    X(search_success) /* result 0 */                                     \
    X(search_fail)    /* any other */                                    \
    X(missing_attr)   /* result 16, noSuchAttribute, of any operation */ \
    X(bind_success)   /* result 0 */                                     \
    X(bind_fail)      /* any other but 14, saslBindInProgress */

namespace tarn_ldap {

struct Stats {
#define X(name) uint32_t name = 0;
    LDAP_STATS_COUNTERS(X)
#undef X
    bool operator==(const Stats &) const = default;
};

struct Server {
    Stats stats;
    uint32_t req_timeout = 0;
    bool status = false;  // slapd runs and no shutdown was requested
    uint32_t num_conns = 0;
    bool operator==(const Server &) const = default;
};

}  // namespace tarn_ldap

#endif
