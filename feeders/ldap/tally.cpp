// SPDX-License-Identifier: Apache-2.0
#include "tally.h"

#include <algorithm>
#include <limits>

namespace tarn_ldap {
namespace {

constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
constexpr int64_t kSuccess = 0;
constexpr int64_t kSaslBindInProgress = 14;
constexpr int64_t kNoSuchAttribute = 16;

uint32_t gauge(uint64_t value) { return uint32_t(std::min(value, kMost)); }

}  // namespace

void Tally::adopt(const Server &stored) {
    // The number of delays in the stored average isn't stored. It is the number of results, unless
    // the server sent notices.
    const uint64_t delays = stored.stats.total_msg_rcvd - stored.stats.total_search_resentry;
    delay_sum_ += delays * stored.stats.avg_resp_delay;
    delay_count_ += delays;
    const uint32_t longest = std::max(stats_.max_resp_delay, stored.stats.max_resp_delay);
#define X(name) stats_.name += stored.stats.name;
    LDAP_STATS_COUNTERS(X)
#undef X
    stats_.max_resp_delay = longest;
    req_timeout_ = stored.req_timeout;
    if (!connections_known_) connections_.adopt(stored.num_conns);
    stored_status_ = stored.status;
}

void Tally::count(const LogLine &line) {
    switch (line.kind) {
        case LineKind::starting:
        case LineKind::stopping:
        case LineKind::stopped:
            count_start_or_stop(line.kind);
            return;
        case LineKind::accepted:
            connections_.opened(line.connection);
            if (!name_) name_ = name_of_listener(line.listener);
            break;
        case LineKind::closed:
            connections_.closed(line.connection);
            break;
        case LineKind::request:
            count_request(line.operation);
            break;
        case LineKind::result:
            count_result(line);
            break;
        case LineKind::notice:
            ++stats_.total_msg_rcvd;
            break;
        default:
            return;
    }
    // In a log that begins after the server's start, its operations show that it runs.
    if (!running_) running_ = true;
}

Server Tally::server() const {
    Server server{.stats = stats_,
                  .req_timeout = req_timeout_,
                  .status = running_.value_or(stored_status_),
                  .num_conns = gauge(connections_.count())};
    server.stats.avg_resp_delay =
        delay_count_ == 0 ? 0 : uint32_t((delay_sum_ + delay_count_ / 2) / delay_count_);
    return server;
}

void Tally::count_request(Operation operation) {
    ++stats_.total_msg_sent;
    switch (operation) {
        case Operation::bind:
            ++stats_.total_bind_req;
            break;
        case Operation::search:
            ++stats_.total_search_req;
            break;
        case Operation::compare:
            ++stats_.total_compare_req;
            break;
        case Operation::extended:
            ++stats_.total_extended_req;
            break;
        case Operation::other:
            break;
    }
}

void Tally::count_result(const LogLine &line) {
    ++stats_.total_msg_rcvd;
    if (line.error == kNoSuchAttribute) ++stats_.missing_attr;
    if (line.delay_us) count_delay(*line.delay_us);
    switch (line.operation) {
        case Operation::bind:
            ++stats_.total_bind_resp;
            if (line.error == kSuccess) ++stats_.bind_success;
            else if (line.error != kSaslBindInProgress) ++stats_.bind_fail;
            break;
        case Operation::search:
            ++stats_.total_search_resdone;
            stats_.total_search_resentry += line.entries;
            stats_.total_msg_rcvd += line.entries;
            ++(line.error == kSuccess ? stats_.search_success : stats_.search_fail);
            break;
        case Operation::compare:
            ++stats_.total_compare_resp;
            break;
        case Operation::extended:
            ++stats_.total_extended_resp;
            break;
        case Operation::other:
            break;
    }
}

void Tally::count_delay(uint64_t microseconds) {
    stats_.max_resp_delay = std::max(stats_.max_resp_delay, gauge(microseconds));
    delay_sum_ += gauge(microseconds);
    ++delay_count_;
}

void Tally::count_start_or_stop(LineKind kind) {
    running_ = kind == LineKind::starting;
    if (kind == LineKind::stopping) return;
    connections_.clear();
    connections_known_ = true;
}

std::optional<std::string> name_of_listener(std::string_view listener) {
    constexpr std::string_view address_signs = ".:[]%-_";
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    if (listener.starts_with("IP=")) {
        const std::string_view address = listener.substr(3);
        for (const char c : address)
            if (!is_letter(c) && !is_digit(c) && address_signs.find(c) == std::string_view::npos)
                return std::nullopt;
        return (address.ends_with(":636") ? "ldaps://" : "ldap://") + std::string(address);
    }
    if (!listener.starts_with("PATH=")) return std::nullopt;
    std::string name = "ldapi://";
    for (const char c : listener.substr(5)) {
        const unsigned byte = static_cast<unsigned char>(c);
        if (is_letter(c) || is_digit(c) || c == '.' || c == '-' || c == '_') name += c;
        else name.append({'%', "0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]});
    }
    return name;
}

}  // namespace tarn_ldap
