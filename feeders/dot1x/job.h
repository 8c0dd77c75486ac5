// SPDX-License-Identifier: Apache-2.0
//
// The job: each poll queries all ports and stores their answers in one transaction.
#ifndef FEEDERS_DOT1X_JOB_H
#define FEEDERS_DOT1X_JOB_H

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "common/store.h"
#include "keeper.h"
#include "problem.h"
#include "source.h"

namespace tarn_dot1x {

struct JobOptions {
    feeder::StoreSettings store;
    ServerNames servers = {};
    bool verbose = false;  // print each poll
};

// The result: counts, and the stored rows.
struct Report {
    uint64_t polls = 0;
    uint64_t malformed = 0;
    Observation stored;
};

class Job {
 public:
    Job(JobOptions options, Source &source, std::ostream &messages);

    // Throws SourceError and PortError, with nothing stored, and tarn::error.
    void poll();
    // Requires: a poll was stored.
    Report report() const;

 private:
    void report_problems(const Problems &problems);

    JobOptions options_;
    Source &source_;
    std::ostream &messages_;
    std::optional<Keeper> keeper_;   // opened at the first poll
    std::vector<Problem> reported_;  // in the last poll
    std::vector<PortRows> ports_;    // of the last poll
    uint64_t polls_ = 0;
    uint64_t malformed_ = 0;
};

// Makes rows from the answers. Nothing here depends on the store.
Observation understand(const std::vector<PortAnswers> &answers, const ServerNames &names,
                       Problems &problems);

}  // namespace tarn_dot1x

#endif
