// SPDX-License-Identifier: Apache-2.0
//
// Answers about the past of a store. Requires: this process has no store open.
#ifndef TOOLS_EXPORTER_PAST_ANSWER_H
#define TOOLS_EXPORTER_PAST_ANSWER_H

#include "exporter/message.h"
#include "exporter/past.h"

namespace exporter {

// Whether the path, after /api/v1, is the history of a record: the values of its key come before.
bool is_history(const std::vector<std::string> &path);
// Throws ApiError and Failure.
Response past_response(const PastRequest &asked);

}  // namespace exporter

#endif
