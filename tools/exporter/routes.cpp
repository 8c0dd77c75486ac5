// SPDX-License-Identifier: Apache-2.0
#include "exporter/routes.h"

#include <fmt/core.h>

#include <memory>
#include <utility>

#include "base/failure.h"
#include "base/hex.h"
#include "exporter/api.h"

namespace exporter {
namespace {

using tarnctl::Exit;

int status_of(Exit code) {
    switch (code) {
        case Exit::usage:
        case Exit::data:
            return 400;
        case Exit::difference:
            return 404;
        default:
            return 503;
    }
}

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
    try {
        return route(request);
    } catch (const ApiError &error) {
        return error_response(error.status(), error.what());
    } catch (const tarnctl::Failure &failure) {
        return error_response(status_of(failure.code()), failure.what());
    } catch (const std::exception &error) {
        return error_response(500, error.what());
    }
}

Response Routes::route(const Request &request) {
    if (request.method != "GET" && request.method != "HEAD") {
        Response response = error_response(405, "only GET and HEAD are answered");
        response.headers["Allow"] = "GET, HEAD";
        return response;
    }
    if (request.target == "/healthz") return health_response(stores_);
    if (!is_allowed(request)) {
        Response response = error_response(401, "the token is missing or wrong");
        response.headers["WWW-Authenticate"] = "Bearer";
        return response;
    }
    if (request.target == "/metrics")
        return {.type = "text/plain; version=0.0.4; charset=utf-8",
                .body = metrics_text(stores_, settings_.most_series, settings_.version)};
    const std::vector<std::string> path = parts_of(request.target);
    if (path.size() > 2 && path[0] == "api" && path[1] == "v1") return route_api(request, path);
    throw ApiError(404, "nothing is here; see /metrics, /healthz and /api/v1/tables");
}

Response Routes::route_api(const Request &request, const std::vector<std::string> &path) {
    const std::string &what = path[2];
    if (what == "tables" && path.size() == 3) return tables_response(stores_, request);
    if (what == "tables" && path.size() == 4) return records_response(stores_, request, path[3]);
    if (what == "tables")
        return record_response(stores_, request, path[3], {path.begin() + 4, path.end()});
    if (what == "schema" && path.size() == 3) return schema_response();
    if (what == "changes" && path.size() == 3) return stream(request);
    throw ApiError(404, "nothing is here; see /api/v1/tables, schema and changes");
}

Response Routes::stream(const Request &request) {
    Response response = changes_response(stores_, request);
    // Counts the stream until its response is destroyed.
    const std::shared_ptr<void> counted(nullptr, [this](void *) { --streams_; });
    if (++streams_ > settings_.most_streams) {
        Response refused = error_response(503, "there are too many streams; try again later");
        refused.headers["Retry-After"] = "5";
        return refused;
    }
    response.next_piece = [counted, next = std::move(response.next_piece)](std::string &piece) {
        return next(piece);
    };
    return response;
}

}  // namespace exporter
