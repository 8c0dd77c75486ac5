// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <nlohmann/json.hpp>

#include "tables.h"
#include "tarnbase/enums/server_state.h"

namespace tarn_dot1x {
namespace {

using Json = nlohmann::ordered_json;

#define X(field) json[#field] = row.field;

Json json_of(const ConfigRow &row) {
    Json json;
    DOT1X_CONFIG_NUMBERS(X)
    json["client_authorized"] = row.client_authorized != 0;
    return json;
}

Json json_of(const StatsRow &row) {
    Json json;
    DOT1X_STATS_NUMBERS(X)
    DOT1X_STATS_TEXTS(X)
    return json;
}

Json json_of(const SessionRow &row) {
    Json json;
    DOT1X_SESSION_TEXTS(X)
    DOT1X_SESSION_NUMBERS(X)
    json["match"] = row.match != 0;
    X(next_if_index)
    return json;
}

Json json_of(const AuthenRow &row) {
    Json json;
    DOT1X_AUTHEN_NUMBERS(X)
    return json;
}

Json json_of(const ServerRow &row) {
    Json json;
    DOT1X_SERVER_NUMBERS(X)
    json["aaa_authen"] = json_of(row.aaa_authen);
    return json;
}

Json json_of(const TrafficRow &row) {
    Json json;
    DOT1X_TRAFFIC_SIGNED(X)
    DOT1X_TRAFFIC_UNSIGNED(X)
    return json;
}

Json json_of(const RadiusRow &row) {
    Json json;
    X(access_rejects)
    json["radius_auth_stats"] = json_of(row.radius_auth_stats);
    json["radius_acct_stats"] = json_of(row.radius_acct_stats);
    return json;
}

#undef X

template <class Row>
Json json_or_null(const std::optional<Row> &row) {
    return row ? json_of(*row) : Json(nullptr);
}

Json json_of(const PortRows &rows) {
    Json json;
    json["name"] = rows.port.name;
    json["if_index"] = rows.port.if_index;
    json["state"] = rows.state;
    json[tarn::tbl_dot1xAuthConfigEntry_op::name] = json_or_null(rows.config);
    json[tarn::tbl_dot1xAuthStatsEntry_op::name] = json_or_null(rows.stats);
    json[tarn::tbl_dot1xPaePortEntry_op::name] = {{"init", rows.control.init != 0}};
    json[tarn::tbl_dot1xPaePortEntryInit_op::name] = {{"init", rows.control.init != 0}};
    json[tarn::tbl_dot1xPaePortEntryReauth_op::name] = {{"reauth", rows.control.reauth != 0}};
    Json &sessions = json[tarn::tbl_pexSessionEntry_op::name] = Json::array();
    for (const SessionRow &row : rows.sessions) sessions.push_back(json_of(row));
    return json;
}

constexpr const char *kStateNames[] = {
    "state unknown", "initialize", "disconnected", "connecting",  "authenticating", "authenticated",
    "aborting",      "held",       "forced open",  "forced shut", "restart"};

std::string line_of(const PortRows &rows) {
    std::string text = "port        " + rows.port.name + ", index " +
                       std::to_string(rows.port.if_index) + ", " + excerpt(rows.state);
    if (!rows.config || !rows.stats) return text + ", no client\n";
    const uint32_t state = rows.config->auth_state;
    text += state < std::size(kStateNames) ? std::string(", ") + kStateNames[state] : "";
    text += rows.config->client_authorized != 0 ? ", authorised" : ", not authorised";
    text += ", user \"" + excerpt(rows.stats->user_name) + "\" at " +
            excerpt(rows.stats->last_eapol_frame_source);
    text += ", " + std::to_string(rows.stats->eapol_frames_rx) + " frames in, " +
            std::to_string(rows.stats->eapol_frames_tx) + " out";
    return text + ", sessions: " + std::to_string(rows.sessions.size()) + "\n";
}

const char *status_name(uint32_t status) {
    if (status == SHOW_AAA_SERVER_ALIVE) return "alive";
    return status == SHOW_AAA_SERVER_DEAD ? "dead" : "not known yet";
}

std::string line_of(const std::string &name, const ServerRow &row) {
    const AuthenRow &authen = row.aaa_authen;
    return "server      " + excerpt(name) + ", " + status_name(row.status) + ", " +
           std::to_string(authen.requests) + " requests, " + std::to_string(authen.accepts) +
           " accepted, " + std::to_string(authen.rejects) + " rejected, " +
           std::to_string(authen.challenges) + " challenged, " + std::to_string(row.acct_requests) +
           " accounting requests\n";
}

}  // namespace

std::string to_text(const Report &report) {
    std::string text = "asked       " + std::to_string(report.polls) + " times, " +
                       std::to_string(report.malformed) + " malformed\n";
    for (const PortRows &rows : report.stored.ports) text += line_of(rows);
    for (const auto &[name, row] : report.stored.radius.servers) text += line_of(name, row);
    return text;
}

std::string to_json(const Report &report) {
    Json json;
    json["polls"] = report.polls;
    json["malformed"] = report.malformed;
    Json &ports = json["ports"] = Json::array();
    for (const PortRows &rows : report.stored.ports) ports.push_back(json_of(rows));
    Json &servers = json[tarn::tbl_aaa_servers::name] = Json::object();
    for (const auto &[name, row] : report.stored.radius.servers) servers[name] = json_of(row);
    json[tarn::tbl_radius_stats::name] = json_of(report.stored.radius.client);
    // A name may have any bytes; those that aren't UTF-8 are replaced.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace tarn_dot1x
