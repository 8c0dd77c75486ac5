// SPDX-License-Identifier: Apache-2.0
//
// Requests about the past of a store. A process can have only one state of a store in its memory,
// and this one follows the present, so each of them is answered by a process of its own.
#ifndef TOOLS_EXPORTER_PAST_H
#define TOOLS_EXPORTER_PAST_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "exporter/message.h"

namespace exporter {

// The name under which this program answers one of these requests, on standard output.
inline constexpr const char *past_program = "tarn-exporter-past";

struct PastRequest {
    std::string folder;             // of the store
    std::string store;              // its name
    std::vector<std::string> path;  // the parts after /api/v1
    Request request;
};

struct PastLimits {
    uint64_t processes;         // at once
    std::chrono::seconds time;  // of each
};

class Past {
 public:
    explicit Past(PastLimits limits) : limits_(limits) {}

    // Any thread may call it. Throws ApiError: 503 if it takes too long.
    Response answer(const PastRequest &request);
    // Ends the processes.
    void stop() { is_stopping_ = true; }

 private:
    const PastLimits limits_;
    std::atomic<uint64_t> processes_ = 0;
    std::atomic<bool> is_stopping_ = false;
};

// The request as bytes, and back. Throws ApiError for other bytes.
std::string bytes_of(const PastRequest &request);
PastRequest past_request_of(const std::string &bytes);

// Answers the request of standard input on standard output. Returns the program's status.
int answer_about_past();

}  // namespace exporter

#endif
