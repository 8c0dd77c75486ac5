// SPDX-License-Identifier: Apache-2.0
//
// Which request is answered by what, and who may send one.
#ifndef TOOLS_EXPORTER_ROUTES_H
#define TOOLS_EXPORTER_ROUTES_H

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "exporter/message.h"
#include "exporter/metrics.h"
#include "exporter/past.h"

namespace exporter {

struct RouteSettings {
    std::string token;  // empty: everybody may read
    uint64_t most_series;
    uint64_t most_streams;
    PastLimits past;
    std::string version;
};

class Routes {
 public:
    Routes(const Stores &stores, RouteSettings settings)
        : stores_(stores), settings_(std::move(settings)), past_(settings_.past) {}

    // Any thread may call it. Throws nothing.
    Response answer(const Request &request);
    // Ends requests that take long.
    void stop() { past_.stop(); }

 private:
    Response route(const Request &request);
    Response metrics_response(const Request &request);
    Response route_api(const Request &request, const std::vector<std::string> &path);
    // The path is that after /api/v1.
    Response route_tables(const Request &request, const std::vector<std::string> &path);
    Response answer_about_past(const Request &request, const std::vector<std::string> &path);
    Response stream(const Request &request);
    bool is_allowed(const Request &request) const;

    const Stores &stores_;
    const RouteSettings settings_;
    Past past_;
    std::atomic<uint64_t> streams_ = 0;
};

// The parts of a path between slashes, decoded. Throws ApiError for one that can't be.
std::vector<std::string> parts_of(const std::string &path);

}  // namespace exporter

#endif
