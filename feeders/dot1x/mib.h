// SPDX-License-Identifier: Apache-2.0
//
// The mapping from hostapd's variables to fields, as tables.
//
// The variables are objects of the IEEE 802.1X PAE MIB and of the RADIUS client MIBs (RFC 4668,
// RFC 4670), under their MIB names. A field of several variables gets their sum. Values that
// depend on more than one variable are in mapping.cpp and radius.cpp.
#ifndef FEEDERS_DOT1X_MIB_H
#define FEEDERS_DOT1X_MIB_H

#include <span>
#include <string_view>

#include "rows.h"
#include "tarnbase/enums/auth_bend_state.h"
#include "tarnbase/enums/auth_mgr_ctrl_dir.h"
#include "tarnbase/enums/auth_state.h"

namespace tarn_dot1x {

// A value as hostapd writes it, and the number that is stored for it.
struct Choice {
    std::string_view text;
    uint32_t stored;
};

// A variable for a number: one of the choices, or any number if there are none.
template <class Row>
struct NumberEntry {
    std::string_view variable;
    uint32_t Row::*field;
    std::span<const Choice> choices = {};
};

template <class Row>
struct TextEntry {
    std::string_view variable;
    std::string Row::*field;
};

// ---- Values ----

constexpr Choice kPaeStates[] = {
    {"1", KEL_DOT1X_AUTH_STATE_INITIALIZE},    {"2", KEL_DOT1X_AUTH_STATE_DISCONNECTED},
    {"3", KEL_DOT1X_AUTH_STATE_CONNECTING},    {"4", KEL_DOT1X_AUTH_STATE_AUTHENTICATING},
    {"5", KEL_DOT1X_AUTH_STATE_AUTHENTICATED}, {"6", KEL_DOT1X_AUTH_STATE_ABORTING},
    {"7", KEL_DOT1X_AUTH_STATE_HELD},          {"8", KEL_DOT1X_AUTH_STATE_FORCE_AUTH},
    {"9", KEL_DOT1X_AUTH_STATE_FORCE_UNAUTH},  {"10", KEL_DOT1X_AUTH_STATE_RESTART},
};

constexpr Choice kBackendStates[] = {
    {"1", KEL_DOT1X_AUTH_BEND_STATE_REQUEST},    {"2", KEL_DOT1X_AUTH_BEND_STATE_RESPONSE},
    {"3", KEL_DOT1X_AUTH_BEND_STATE_SUCCESS},    {"4", KEL_DOT1X_AUTH_BEND_STATE_FAIL},
    {"5", KEL_DOT1X_AUTH_BEND_STATE_TIMEOUT},    {"6", KEL_DOT1X_AUTH_BEND_STATE_IDLE},
    {"7", KEL_DOT1X_AUTH_BEND_STATE_INITIALIZE}, {"8", KEL_DOT1X_AUTH_BEND_STATE_IGNORE},
};

constexpr Choice kDirections[] = {
    {"0", KEL_MGR_CTRL_DIR_BOTH},
    {"1", KEL_MGR_CTRL_DIR_IN},
};

// authorized(1), unauthorized(2)
constexpr Choice kPortStatus[] = {{"1", 1}, {"2", 0}};

// forceUnauthorized(1), auto(2), forceAuthorized(3)
constexpr Choice kPortControl[] = {{"1", 1}, {"2", 2}, {"3", 3}};

constexpr Choice kTruth[] = {{"FALSE", 0}, {"TRUE", 1}, {"0", 0}, {"1", 1}};

// ---- A station ----

constexpr NumberEntry<ConfigRow> kConfigNumbers[] = {
    {"dot1xAuthPaeState", &ConfigRow::auth_state, kPaeStates},
    {"dot1xAuthBackendAuthState", &ConfigRow::auth_bend_state, kBackendStates},
    {"dot1xAuthAuthControlledPortStatus", &ConfigRow::client_authorized, kPortStatus},
    {"dot1xAuthOperControlledDirections", &ConfigRow::oper_ctrl_dir, kDirections},
};

constexpr NumberEntry<StatsRow> kStatsNumbers[] = {
    {"dot1xAuthEapolFramesRx", &StatsRow::eapol_frames_rx},
    {"dot1xAuthEapolFramesTx", &StatsRow::eapol_frames_tx},
    {"dot1xAuthEapolStartFramesRx", &StatsRow::eapol_start_frames_rx},
    {"dot1xAuthEapolLogoffFramesRx", &StatsRow::eapol_logoff_frames_rx},
    {"dot1xAuthEapolRespIdFramesRx", &StatsRow::eapol_resp_id_frames_rx},
    {"dot1xAuthEapolRespFramesRx", &StatsRow::eapol_resp_frames_rx},
    {"dot1xAuthEapolReqIdFramesTx", &StatsRow::eapol_req_id_frames_tx},
    {"dot1xAuthEapolReqFramesTx", &StatsRow::eapol_req_frames_tx},
    {"dot1xAuthInvalidEapolFramesRx", &StatsRow::invalid_eapol_frames_rx},
    {"dot1xAuthEapLengthErrorFramesRx", &StatsRow::eap_length_error_frames_rx},
    {"dot1xAuthLastEapolFrameVersion", &StatsRow::last_eapol_frame_version},
};

constexpr TextEntry<StatsRow> kStatsTexts[] = {
    {"dot1xAuthLastEapolFrameSource", &StatsRow::last_eapol_frame_source},
    {"dot1xAuthSessionUserName", &StatsRow::user_name},
};

// session_state has the numbers of auth_state, control_direction those of auth_mgr_ctrl_dir, and
// oper_port_mode those of dot1xAuthAuthControlledPortControl.
constexpr NumberEntry<SessionRow> kSessionNumbers[] = {
    {"dot1xAuthPaeState", &SessionRow::session_state, kPaeStates},
    {"dot1xAuthAuthControlledPortControl", &SessionRow::oper_port_mode, kPortControl},
    {"dot1xAuthOperControlledDirections", &SessionRow::control_direction, kDirections},
};

constexpr TextEntry<SessionRow> kSessionTexts[] = {
    {"dot1xAuthSessionId", &SessionRow::session_id},
    {"dot1xAuthSessionUserName", &SessionRow::user_name},
};

constexpr NumberEntry<ControlRow> kControlNumbers[] = {
    {"dot1xPaePortInitialize", &ControlRow::init, kTruth},
    {"dot1xPaePortReauthenticate", &ControlRow::reauth, kTruth},
};

// The sources of the reauthentication fields.
struct Timing {
    uint32_t authorized = 0;
    uint32_t reauth_enabled = 0;
    uint32_t reauth_period = 0;
    uint32_t session_time = 0;
};

constexpr NumberEntry<Timing> kTimingNumbers[] = {
    {"dot1xAuthAuthControlledPortStatus", &Timing::authorized, kPortStatus},
    {"dot1xAuthReAuthEnabled", &Timing::reauth_enabled, kTruth},
    {"dot1xAuthReAuthPeriod", &Timing::reauth_period},
    {"dot1xAuthSessionTime", &Timing::session_time},
};

// The source of authorized_by: the names of the values in the MIB.
constexpr Choice kAuthenticMethods[] = {{"1", 1}, {"2", 2}};
constexpr std::string_view kAuthenticMethodNames[] = {"", "remoteAuthServer", "localAuthServer"};

struct Method {
    uint32_t number = 0;
};

constexpr NumberEntry<Method> kMethodNumbers[] = {
    {"dot1xAuthSessionAuthenticMethod", &Method::number, kAuthenticMethods},
};

// ---- A RADIUS server ----

// Authentication. A transaction is a request with its response.
constexpr NumberEntry<AuthenRow> kAuthenNumbers[] = {
    {"radiusAuthClientAccessRequests", &AuthenRow::requests},
    {"radiusAuthClientAccessRequests", &AuthenRow::transactions},
    {"radiusAuthClientTimeouts", &AuthenRow::request_timeouts},
    {"radiusAuthClientAccessRetransmissions", &AuthenRow::retransmissions},
    {"radiusAuthClientAccessAccepts", &AuthenRow::accepts},
    {"radiusAuthClientAccessRejects", &AuthenRow::rejects},
    {"radiusAuthClientAccessChallenges", &AuthenRow::challenges},
    {"radiusAuthClientUnknownTypes", &AuthenRow::unexpected_responses},
    {"radiusAuthClientMalformedAccessResponses", &AuthenRow::incorrect_responses},
    {"radiusAuthClientBadAuthenticators", &AuthenRow::incorrect_responses},
    {"radiusAuthClientAccessAccepts", &AuthenRow::transaction_successes},
    {"radiusAuthClientAccessRejects", &AuthenRow::transaction_successes},
    {"radiusAuthClientAccessChallenges", &AuthenRow::transaction_successes},
};

constexpr NumberEntry<ServerRow> kServerNumbers[] = {
    {"radiusAccClientRequests", &ServerRow::acct_requests},
    {"radiusAccClientRequests", &ServerRow::acct_transactions},
    {"radiusAccClientTimeouts", &ServerRow::acct_request_timeouts},
    {"radiusAccClientRetransmissions", &ServerRow::acct_retransmissions},
    {"radiusAccClientUnknownTypes", &ServerRow::acct_unexpected_responses},
    {"radiusAccClientMalformedResponses", &ServerRow::acct_incorrect_responses},
    {"radiusAccClientBadAuthenticators", &ServerRow::acct_incorrect_responses},
    {"radiusAccClientResponses", &ServerRow::acct_transaction_successes},
    {"radiusAuthClientPendingRequests", &ServerRow::est_outstanding_taraxs_auth},
    {"radiusAccClientPendingRequests", &ServerRow::est_outstanding_taraxs_acct},
};

constexpr NumberEntry<RadiusRow> kRadiusNumbers[] = {
    {"radiusAuthClientAccessRejects", &RadiusRow::access_rejects},
};

constexpr NumberEntry<TrafficRow> kAuthTrafficNumbers[] = {
    {"radiusAuthClientAccessAccepts", &TrafficRow::responses_seen},
    {"radiusAuthClientAccessRejects", &TrafficRow::responses_seen},
    {"radiusAuthClientAccessChallenges", &TrafficRow::responses_seen},
    {"radiusAuthClientMalformedAccessResponses", &TrafficRow::responses_seen},
    {"radiusAuthClientBadAuthenticators", &TrafficRow::responses_seen},
    {"radiusAuthClientUnknownTypes", &TrafficRow::responses_seen},
    {"radiusAuthClientPacketsDropped", &TrafficRow::responses_seen},
    {"radiusAuthClientAccessAccepts", &TrafficRow::with_response},
    {"radiusAuthClientAccessRejects", &TrafficRow::with_response},
    {"radiusAuthClientAccessChallenges", &TrafficRow::with_response},
    {"radiusAuthClientTimeouts", &TrafficRow::timeouts},
    {"radiusAuthClientMalformedAccessResponses", &TrafficRow::malformed_responses},
    {"radiusAuthClientBadAuthenticators", &TrafficRow::bad_authenticators},
    {"radiusAuthClientUnknownTypes", &TrafficRow::unknown_responses},
};

constexpr NumberEntry<TrafficRow> kAcctTrafficNumbers[] = {
    {"radiusAccClientResponses", &TrafficRow::responses_seen},
    {"radiusAccClientMalformedResponses", &TrafficRow::responses_seen},
    {"radiusAccClientBadAuthenticators", &TrafficRow::responses_seen},
    {"radiusAccClientUnknownTypes", &TrafficRow::responses_seen},
    {"radiusAccClientPacketsDropped", &TrafficRow::responses_seen},
    {"radiusAccClientResponses", &TrafficRow::with_response},
    {"radiusAccClientTimeouts", &TrafficRow::timeouts},
    {"radiusAccClientMalformedResponses", &TrafficRow::malformed_responses},
    {"radiusAccClientBadAuthenticators", &TrafficRow::bad_authenticators},
    {"radiusAccClientUnknownTypes", &TrafficRow::unknown_responses},
};

// The sources of without_response and response_time_max. The time is the latest one, in
// hundredths of a second.
struct Exchange {
    uint32_t requests = 0;
    uint32_t pending = 0;
    uint32_t round_trip_time = 0;
};

constexpr NumberEntry<Exchange> kAuthExchangeNumbers[] = {
    {"radiusAuthClientAccessRequests", &Exchange::requests},
    {"radiusAuthClientPendingRequests", &Exchange::pending},
    {"radiusAuthClientRoundTripTime", &Exchange::round_trip_time},
};

constexpr NumberEntry<Exchange> kAcctExchangeNumbers[] = {
    {"radiusAccClientRequests", &Exchange::requests},
    {"radiusAccClientPendingRequests", &Exchange::pending},
    {"radiusAccClientRoundTripTime", &Exchange::round_trip_time},
};

// The server itself. The accounting MIB of hostapd has its own names for the same two.
struct ServerIdentity {
    std::string address;
    uint32_t port = 0;
};

constexpr TextEntry<ServerIdentity> kServerAddresses[] = {
    {"radiusAuthServerAddress", &ServerIdentity::address},
    {"radiusAccServerAddress", &ServerIdentity::address},
};

constexpr NumberEntry<ServerIdentity> kServerPorts[] = {
    {"radiusAuthClientServerPortNumber", &ServerIdentity::port},
    {"radiusAccClientServerPortNumber", &ServerIdentity::port},
};

}  // namespace tarn_dot1x

#endif
