// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <nlohmann/json.hpp>

namespace tarn_ldap {
namespace {

using Json = nlohmann::ordered_json;

std::string count(uint64_t number, const char *unit) { return std::to_string(number) + " " + unit; }

std::string outcome(uint32_t success, uint32_t fail) {
    return ", " + std::to_string(success) + " succeeded, " + std::to_string(fail) + " failed";
}

}  // namespace

std::string to_text(const Report &report) {
    std::string text = "read        " + count(report.lines, "lines, ") +
                       count(report.malformed, "malformed") + "\n";
    if (!report.name) return text + "nothing to store\n";
    const Server &server = report.server;
    const Stats &stats = server.stats;
    text += "server      " + *report.name + (server.status ? ", runs" : ", stopped") + ", " +
            count(server.num_conns, "connections open") + ", request timeout " +
            std::to_string(server.req_timeout) + "\n";
    text += "messages    " + count(stats.total_msg_sent, "sent, ") +
            count(stats.total_msg_rcvd, "received") + "\n";
    text += "binds       " + count(stats.total_bind_req, "requests, ") +
            count(stats.total_bind_resp, "results") + outcome(stats.bind_success, stats.bind_fail) +
            "\n";
    text += "searches    " + count(stats.total_search_req, "requests, ") +
            count(stats.total_search_resdone, "results, ") +
            count(stats.total_search_resentry, "entries") +
            outcome(stats.search_success, stats.search_fail) + "\n";
    text += "compares    " + count(stats.total_compare_req, "requests, ") +
            count(stats.total_compare_resp, "results, ") +
            count(stats.missing_attr, "missing attributes") + "\n";
    text += "extended    " + count(stats.total_extended_req, "requests, ") +
            count(stats.total_extended_resp, "results") + "\n";
    text += "delay       " + count(stats.avg_resp_delay, "us on average, ") +
            count(stats.max_resp_delay, "us at most") + "\n";
    return text;
}

std::string to_json(const Report &report) {
    Json json;
    json["server"] = report.name ? Json(*report.name) : Json(nullptr);
    json["lines"] = report.lines;
    json["malformed"] = report.malformed;
    if (report.name) {
        const Server &server = report.server;
        Json &stats = json["tbl_ldap_stats"];
#define X(field) stats[#field] = server.stats.field;
        LDAP_STATS_COUNTERS(X)
#undef X
        json["tbl_ldap_summary"] = {{"req_timeout", server.req_timeout}, {"status", server.status}};
        json["tbl_ldap_conn"] = {{"num_conns", server.num_conns}};
    }
    // A name may have any bytes; those that aren't UTF-8 are replaced.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace tarn_ldap
