// SPDX-License-Identifier: Apache-2.0
#include "exporter/assets.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

namespace exporter {
namespace {

constexpr std::pair<std::string_view, std::string_view> types[] = {
    {".html", "text/html; charset=utf-8"}, {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},   {".svg", "image/svg+xml"},
    {".txt", "text/plain; charset=utf-8"},
};

// Only files of this program, and nobody else's frame.
constexpr const char *policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for "
    "'script'";

std::string type_of(std::string_view path) {
    for (const auto &[ending, type] : types) {
        if (path.ends_with(ending)) return std::string(type);
    }
    return "application/octet-stream";
}

}  // namespace

const Asset *asset_at(std::string_view path) {
    if (path == "/") path = "/page/index.html";
    const std::span<const Asset> all = all_assets();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Asset &each) { return each.path == path; });
    return found == all.end() ? nullptr : &*found;
}

Response asset_response(const Asset &asset, const Request &request) {
    const std::string tag = fmt::format("\"{}\"", asset.digest);
    Response response{.type = type_of(asset.path),
                      .body = std::string(asset.text),
                      .headers = {{"ETag", tag},
                                  {"Cache-Control", "no-cache"},
                                  {"Content-Security-Policy", policy},
                                  {"Referrer-Policy", "no-referrer"}}};
    if (request.if_none_match == tag) {
        response.status = 304;
        response.body.clear();
    }
    return response;
}

}  // namespace exporter
