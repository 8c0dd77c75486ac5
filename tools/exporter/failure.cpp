// SPDX-License-Identifier: Apache-2.0
#include "exporter/failure.h"

#include "base/failure.h"

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

}  // namespace

Response json_response(const tarnctl::Json &json) {
    return {.body = json.dump() + "\n", .headers = {{"Cache-Control", "no-store"}}};
}

Response error_response(int status, const std::string &text) {
    Response response = json_response({{"error", text}});
    response.status = status;
    return response;
}

Response failure_response() {
    try {
        throw;
    } catch (const ApiError &error) {
        return error_response(error.status(), error.what());
    } catch (const tarnctl::Failure &failure) {
        return error_response(status_of(failure.code()), failure.what());
    } catch (const std::exception &error) {
        return error_response(500, error.what());
    }
}

Response busy_response(const std::string &text) {
    Response response = error_response(503, text);
    response.headers["Retry-After"] = "5";
    return response;
}

}  // namespace exporter
