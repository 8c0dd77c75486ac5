// SPDX-License-Identifier: Apache-2.0
//
// The rows of the tables, as plain values. Fields have the names of the tables' fields; the
// lists are in field order and name the fields that hostapd reports. The others stay 0 or empty.
#ifndef FEEDERS_DOT1X_ROWS_H
#define FEEDERS_DOT1X_ROWS_H

#include <cstdint>
#include <string>

// tbl_dot1xAuthConfigEntry_op
#define DOT1X_CONFIG_NUMBERS(X) \
    X(auth_state)               \
    X(auth_bend_state)          \
    X(client_authorized)        \
    X(oper_ctrl_dir)            \
    X(reauth_period_oper)       \
    X(time_to_next_reauth)

// tbl_dot1xAuthStatsEntry_op
#define DOT1X_STATS_NUMBERS(X)    \
    X(eapol_frames_rx)            \
    X(eapol_frames_tx)            \
    X(eapol_start_frames_rx)      \
    X(eapol_logoff_frames_rx)     \
    X(eapol_resp_id_frames_rx)    \
    X(eapol_resp_frames_rx)       \
    X(eapol_req_id_frames_tx)     \
    X(eapol_req_frames_tx)        \
    X(invalid_eapol_frames_rx)    \
    X(eap_length_error_frames_rx) \
    X(last_eapol_frame_version)
#define DOT1X_STATS_TEXTS(X)   \
    X(last_eapol_frame_source) \
    X(user_name)

// tbl_pexSessionEntry_op
#define DOT1X_SESSION_NUMBERS(X) \
    X(session_id_len)            \
    X(session_state)             \
    X(oper_port_mode)            \
    X(control_direction)         \
    X(session_reauth_interval)   \
    X(match)
#define DOT1X_SESSION_TEXTS(X) \
    X(session_id)              \
    X(mac_addr)                \
    X(user_name)               \
    X(authorized_by)

// st_aaa_type, in tbl_aaa_servers as aaa_authen
#define DOT1X_AUTHEN_NUMBERS(X) \
    X(requests)                 \
    X(transactions)             \
    X(request_timeouts)         \
    X(retransmissions)          \
    X(accepts)                  \
    X(rejects)                  \
    X(challenges)               \
    X(unexpected_responses)     \
    X(incorrect_responses)      \
    X(transaction_successes)

// tbl_aaa_servers
#define DOT1X_SERVER_NUMBERS(X)    \
    X(status)                      \
    X(dead_count)                  \
    X(acct_requests)               \
    X(acct_transactions)           \
    X(acct_request_timeouts)       \
    X(acct_retransmissions)        \
    X(acct_unexpected_responses)   \
    X(acct_incorrect_responses)    \
    X(acct_transaction_successes)  \
    X(est_outstanding_taraxs_auth) \
    X(est_outstanding_taraxs_acct)

// st_type_stats, in tbl_radius_stats as radius_auth_stats and radius_acct_stats. The fields of the
// first list are signed in the table and stay at 2^31 - 1.
#define DOT1X_TRAFFIC_SIGNED(X) \
    X(responses_seen)           \
    X(with_response)            \
    X(without_response)         \
    X(timeouts)
#define DOT1X_TRAFFIC_UNSIGNED(X) \
    X(response_time_max)          \
    X(malformed_responses)        \
    X(bad_authenticators)         \
    X(unknown_responses)

namespace tarn_dot1x {

#define NUMBER(name) uint32_t name = 0;
#define TEXT(name) std::string name;

struct ConfigRow {
    DOT1X_CONFIG_NUMBERS(NUMBER)
    bool operator==(const ConfigRow &) const = default;
};

struct StatsRow {
    DOT1X_STATS_NUMBERS(NUMBER)
    DOT1X_STATS_TEXTS(TEXT)
    bool operator==(const StatsRow &) const = default;
};

struct SessionRow {
    DOT1X_SESSION_NUMBERS(NUMBER)
    DOT1X_SESSION_TEXTS(TEXT)
    uint32_t next_if_index = 0;  // of the next row in the table, set by the keeper
    bool operator==(const SessionRow &) const = default;
};

// tbl_dot1xPaePortEntry_op, tbl_dot1xPaePortEntryInit_op and tbl_dot1xPaePortEntryReauth_op
struct ControlRow {
    uint32_t init = 0;
    uint32_t reauth = 0;
    bool operator==(const ControlRow &) const = default;
};

struct AuthenRow {
    DOT1X_AUTHEN_NUMBERS(NUMBER)
    bool operator==(const AuthenRow &) const = default;
};

struct ServerRow {
    DOT1X_SERVER_NUMBERS(NUMBER)
    AuthenRow aaa_authen;
    bool operator==(const ServerRow &) const = default;
};

struct TrafficRow {
    DOT1X_TRAFFIC_SIGNED(NUMBER)
    DOT1X_TRAFFIC_UNSIGNED(NUMBER)
    bool operator==(const TrafficRow &) const = default;
};

// tbl_radius_stats
struct RadiusRow {
    uint32_t access_rejects = 0;  // signed in the table
    TrafficRow radius_auth_stats;
    TrafficRow radius_acct_stats;
    bool operator==(const RadiusRow &) const = default;
};

#undef NUMBER
#undef TEXT

}  // namespace tarn_dot1x

#endif
