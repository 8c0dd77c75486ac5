// SPDX-License-Identifier: Apache-2.0
//
// Responses in JSON, and what went wrong as one.
#ifndef TOOLS_EXPORTER_FAILURE_H
#define TOOLS_EXPORTER_FAILURE_H

#include <stdexcept>
#include <string>

#include "exporter/message.h"
#include "json/document.h"

namespace exporter {

class ApiError : public std::runtime_error {
 public:
    ApiError(int status, const std::string &text) : std::runtime_error(text), status_(status) {}
    int status() const { return status_; }

 private:
    int status_;
};

Response json_response(const tarnctl::Json &json);
// {"error": "..."}
Response error_response(int status, const std::string &text);
// Of the exception that is being handled. Requires: called while it is.
Response failure_response();
// 503, to be tried again.
Response busy_response(const std::string &text);

}  // namespace exporter

#endif
