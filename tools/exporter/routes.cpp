// SPDX-License-Identifier: Apache-2.0
#include "exporter/routes.h"

#include <fmt/core.h>
#include <prometheus/text_serializer.h>

#include <memory>
#include <utility>

#include "base/hex.h"
#include "exporter/api.h"
#include "exporter/assets.h"
#include "exporter/open_metrics.h"
#include "exporter/past_answer.h"

namespace exporter {
namespace {

constexpr const char *text_type = "text/plain; version=0.0.4; charset=utf-8";

// Takes as long wherever the texts differ.
bool are_equal(const std::string &a, const std::string &b) {
    unsigned difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < a.size() && !b.empty(); ++i)
        difference |=
            static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i % b.size()]);
    return difference == 0;
}

std::string decoded(const std::string &part) {
    std::string text;
    for (std::size_t i = 0; i < part.size(); ++i) {
        if (part[i] != '%') {
            text += part[i];
            continue;
        }
        const int high = i + 2 < part.size() ? tarnctl::hex_digit_value(part[i + 1]) : -1;
        const int low = high < 0 ? -1 : tarnctl::hex_digit_value(part[i + 2]);
        if (low < 0) throw ApiError(400, "expected two hexadecimal digits after a % of the path");
        text += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return text;
}

}  // namespace

std::vector<std::string> parts_of(const std::string &path) {
    std::vector<std::string> parts;
    for (std::size_t at = 1; at <= path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        parts.push_back(decoded(path.substr(at, end - at)));
        at = end + 1;
    }
    return parts;
}

bool Routes::is_allowed(const Request &request) const {
    return settings_.token.empty() || are_equal(request.authorization, "Bearer " + settings_.token);
}

Response Routes::answer(const Request &request) {
    Response response;
    try {
        response = route(request);
    } catch (...) {
        response = failure_response();
    }
    // A browser must not take data for a page or a script, nor let another site have them.
    response.headers["X-Content-Type-Options"] = "nosniff";
    response.headers["Cross-Origin-Resource-Policy"] = "same-origin";
    return response;
}

Response Routes::route(const Request &request) {
    if (request.method != "GET" && request.method != "HEAD") {
        Response response = error_response(405, "only GET and HEAD are answered");
        response.headers["Allow"] = "GET, HEAD";
        return response;
    }
    if (request.target == "/healthz") return health_response(stores_);
    // The files of the page have no data, and the token is typed into it.
    if (const Asset *asset = asset_at(request.target)) return asset_response(*asset, request);
    if (!is_allowed(request)) {
        Response response = error_response(401, "the token is missing or wrong");
        response.headers["WWW-Authenticate"] = "Bearer";
        return response;
    }
    if (request.target == "/metrics") return metrics_response(request);
    const std::vector<std::string> path = parts_of(request.target);
    if (path.size() > 2 && path[0] == "api" && path[1] == "v1") return route_api(request, path);
    throw ApiError(404, "nothing is here; see /, /metrics, /healthz and /api/v1/tables");
}

Response Routes::metrics_response(const Request &request) {
    const auto response = [&](const char *type, const prometheus::Serializer &form) {
        return Response{
            .type = type,
            .body = metrics_text(stores_, settings_.most_series, settings_.version, form),
            .headers = {{"Vary", "Accept"}}};
    };
    return prefers_open_metrics(request.accept)
               ? response(open_metrics_type, OpenMetricsSerializer())
               : response(text_type, prometheus::TextSerializer());
}

Response Routes::route_api(const Request &request, const std::vector<std::string> &path) {
    const std::string &what = path[2];
    if (what == "tables") return route_tables(request, {path.begin() + 2, path.end()});
    if (path.size() == 3) {
        if (what == "schema") return schema_response();
        if (what == "changes") return stream(request);
        if (what == "moments") return answer_about_past(request, {what});
    }
    throw ApiError(404, "nothing is here; see /api/v1/tables, schema, changes and moments");
}

Response Routes::route_tables(const Request &request, const std::vector<std::string> &path) {
    if (request.parameter("at") || is_history(path)) return answer_about_past(request, path);
    if (path.size() == 1) return tables_response(stores_, request);
    if (path.size() == 2) return records_response(stores_, request, path[1]);
    return record_response(stores_, request, path[1], {path.begin() + 2, path.end()});
}

Response Routes::answer_about_past(const Request &request, const std::vector<std::string> &path) {
    const FollowedStore &store = store_of(stores_, request);
    return past_.answer({store.folder(), store.name(), path, request});
}

Response Routes::stream(const Request &request) {
    Response response = changes_response(stores_, request);
    // Counts the stream until its response is destroyed.
    const std::shared_ptr<void> counted(nullptr, [this](void *) { --streams_; });
    if (++streams_ > settings_.most_streams)
        return busy_response("there are too many streams; try again later");
    response.next_piece = [counted, next = std::move(response.next_piece)](std::string &piece) {
        return next(piece);
    };
    return response;
}

}  // namespace exporter
