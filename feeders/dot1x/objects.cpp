// SPDX-License-Identifier: Apache-2.0
#include "objects.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace tarn_dot1x {
namespace {

// A row's number in the type of a field.
template <class Field>
Field as(uint32_t number) {
    if constexpr (std::is_same_v<Field, int32_t>)
        return int32_t(std::min(number, uint32_t(std::numeric_limits<int32_t>::max())));
    else return static_cast<Field>(number);
}

#define PUT_NUMBER(field)                                                                    \
    if (const auto value = as<decltype(object.field())>(row.field); object.field() != value) \
        object.set_##field(value);
#define PUT_TEXT(field) \
    if (object.field() != row.field) object.set_##field(row.field);
#define READ_NUMBER(field) row.field = uint32_t(object.field());
#define READ_TEXT(field) row.field = object.field();

void put(tarn::aaa_type object, const AuthenRow &row) { DOT1X_AUTHEN_NUMBERS(PUT_NUMBER); }

AuthenRow read(const tarn::aaa_type &object) {
    AuthenRow row;
    DOT1X_AUTHEN_NUMBERS(READ_NUMBER);
    return row;
}

void put(tarn::type_stats object, const TrafficRow &row) {
    DOT1X_TRAFFIC_SIGNED(PUT_NUMBER);
    DOT1X_TRAFFIC_UNSIGNED(PUT_NUMBER);
}

TrafficRow read(const tarn::type_stats &object) {
    TrafficRow row;
    DOT1X_TRAFFIC_SIGNED(READ_NUMBER);
    DOT1X_TRAFFIC_UNSIGNED(READ_NUMBER);
    return row;
}

}  // namespace

void put(tarn::dot1xAuthConfigEntry_op object, const ConfigRow &row) {
    DOT1X_CONFIG_NUMBERS(PUT_NUMBER);
}

ConfigRow read(const tarn::dot1xAuthConfigEntry_op &object) {
    ConfigRow row;
    DOT1X_CONFIG_NUMBERS(READ_NUMBER);
    return row;
}

void put(tarn::dot1xAuthStatsEntry_op object, const StatsRow &row) {
    DOT1X_STATS_NUMBERS(PUT_NUMBER);
    DOT1X_STATS_TEXTS(PUT_TEXT);
}

StatsRow read(const tarn::dot1xAuthStatsEntry_op &object) {
    StatsRow row;
    DOT1X_STATS_NUMBERS(READ_NUMBER);
    DOT1X_STATS_TEXTS(READ_TEXT);
    return row;
}

void put(tarn::pexSessionEntry_op object, const SessionRow &row) {
    DOT1X_SESSION_NUMBERS(PUT_NUMBER);
    DOT1X_SESSION_TEXTS(PUT_TEXT);
}

SessionRow read(const tarn::pexSessionEntry_op &object) {
    SessionRow row;
    DOT1X_SESSION_NUMBERS(READ_NUMBER);
    DOT1X_SESSION_TEXTS(READ_TEXT);
    READ_NUMBER(next_if_index);

    return row;
}

void put(tarn::aaa_servers object, const ServerRow &row) {
    DOT1X_SERVER_NUMBERS(PUT_NUMBER);
    put(object.aaa_authen(), row.aaa_authen);
}

ServerRow read(const tarn::aaa_servers &object) {
    ServerRow row;
    DOT1X_SERVER_NUMBERS(READ_NUMBER);
    row.aaa_authen = read(object.aaa_authen());
    return row;
}

void put(tarn::radius_stats object, const RadiusRow &row) {
    PUT_NUMBER(access_rejects);

    put(object.radius_auth_stats(), row.radius_auth_stats);
    put(object.radius_acct_stats(), row.radius_acct_stats);
}

RadiusRow read(const tarn::radius_stats &object) {
    RadiusRow row;
    READ_NUMBER(access_rejects);

    row.radius_auth_stats = read(object.radius_auth_stats());
    row.radius_acct_stats = read(object.radius_acct_stats());
    return row;
}

}  // namespace tarn_dot1x
