// SPDX-License-Identifier: Apache-2.0
#include "mapping.h"

#include <algorithm>

#include "read_block.h"

namespace tarn_dot1x {
namespace {

constexpr std::string_view kPaeState = "dot1xAuthPaeState";
constexpr std::string_view kSessionId = "dot1xAuthSessionId";

bool is_client(const Block &station) { return station.find(kPaeState) != nullptr; }

Timing timing_of(const Block &station, Problems &problems) {
    Timing timing;
    add_numbers(station, kTimingNumbers, timing, problems);
    // The period only applies if stations are reauthenticated.
    if (timing.reauth_enabled == 0) timing.reauth_period = 0;
    return timing;
}

// hostapd doesn't report the time left. Counted from the session's start, a reauthentication comes
// with each period; the session time of a station that isn't authorised has no meaning.
uint32_t time_to_next_reauth(const Timing &timing) {
    if (timing.authorized == 0 || timing.reauth_period == 0) return 0;
    return timing.reauth_period - timing.session_time % timing.reauth_period;
}

ConfigRow config_of(const Block &station, Problems &problems) {
    ConfigRow row;
    add_numbers(station, kConfigNumbers, row, problems);
    const Timing timing = timing_of(station, problems);
    row.reauth_period_oper = timing.reauth_period;
    row.time_to_next_reauth = time_to_next_reauth(timing);
    return row;
}

StatsRow stats_of(const Block &station, Problems &problems) {
    StatsRow row;
    add_numbers(station, kStatsNumbers, row, problems);
    read_texts(station, kStatsTexts, row);
    return row;
}

SessionRow session_of(const Block &station, Problems &problems) {
    SessionRow row;
    add_numbers(station, kSessionNumbers, row, problems);
    read_texts(station, kSessionTexts, row);
    row.session_id_len = uint32_t(row.session_id.size());
    row.mac_addr = station.address;
    const Timing timing = timing_of(station, problems);
    row.session_reauth_interval = timing.reauth_period;
    Method method;
    add_numbers(station, kMethodNumbers, method, problems);
    if (timing.authorized != 0) row.authorized_by = kAuthenticMethodNames[method.number];
    row.match = 1;  // the row matches its key
    return row;
}

// A session has one row; one without an identifier has none, since it has no key.
void add_session(const Block &station, std::vector<SessionRow> &sessions, Problems &problems) {
    SessionRow row = session_of(station, problems);
    const auto same = [&row](const SessionRow &other) {
        return other.session_id == row.session_id;
    };
    if (row.session_id.empty())
        problems.add(station.source, station.line, station.address,
                     "a station with a " + std::string(kSessionId));
    else if (std::any_of(sessions.begin(), sessions.end(), same))
        problems.add(station.source, station.line, station.address,
                     "a " + std::string(kSessionId) + " of its own, not " + row.session_id);
    else sessions.push_back(std::move(row));
}

// The controls are those of a station, stored for its port.
void add_controls(const Block &station, ControlRow &control, Problems &problems) {
    ControlRow row;
    add_numbers(station, kControlNumbers, row, problems);
    control.init |= row.init;
    control.reauth |= row.reauth;
}

std::string state_of(const Port &port, const Block &status, Problems &problems) {
    const Variable *name = status.find("bss[0]");
    if (name != nullptr && name->value != port.name)
        problems.add(status.source, name->line, "bss[0]=" + name->value, "bss[0]=" + port.name);
    const Variable *state = status.find("state");
    if (state != nullptr) return state->value;
    problems.add(status.source, status.line, "no state", "a line state=STATE");
    return "";
}

}  // namespace

PortRows map_port(const Port &port, const Block &status, const std::vector<Block> &stations,
                  Problems &problems) {
    PortRows rows{.port = port, .state = state_of(port, status, problems)};
    for (const Block &station : stations) {
        if (!is_client(station)) continue;
        const ConfigRow config = config_of(station, problems);
        const StatsRow stats = stats_of(station, problems);
        if (!rows.config || (config.client_authorized > rows.config->client_authorized)) {
            rows.config = config;
            rows.stats = stats;
        }
        add_controls(station, rows.control, problems);
        add_session(station, rows.sessions, problems);
    }
    return rows;
}

}  // namespace tarn_dot1x
