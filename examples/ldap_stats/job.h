// SPDX-License-Identifier: Apache-2.0
//
// The job: pieces of a log come in, each a batch; their lines are counted, and the server's
// records are brought up to date in one transaction a batch.
//
// A line that can't be understood is reported and skipped. The store is not touched before a line
// was met that only slapd writes: a text without any is refused.
#ifndef EXAMPLES_LDAP_STATS_JOB_H
#define EXAMPLES_LDAP_STATS_JOB_H

#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "input.h"
#include "keeper.h"
#include "lines.h"
#include "tally.h"

namespace ldap_stats {

// So many lines that can't be understood, and none before them that can: it is no slapd log.
constexpr size_t kLinesBeforeRefusal = 20;

struct JobOptions {
    std::string store;
    std::string log;                    // the log's name in messages
    std::optional<std::string> server;  // the key of the records; by default from the log
    std::optional<uint32_t> timeout;    // req_timeout; what is stored stays if not given
    bool verbose = false;               // print each batch
};

// What was read, and what the store holds after it.
struct Report {
    uint64_t lines = 0;
    uint64_t malformed = 0;
    std::optional<std::string> name;  // none if nothing was stored
    Server server;
};

class NotASlapdLog : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

class Job {
 public:
    Job(JobOptions options, std::ostream &messages);

    // Throws NotASlapdLog or tarn::error; the latter after the batch was rolled back.
    void take(const Piece &batch);
    void finish();
    Report report() const;

 private:
    void take_line(const NumberedLine &line);
    void understood(LineKind kind);
    void report_malformed(uint64_t number, const LineError &error);
    void refuse() const;
    void store_batch();
    void store_as(const std::string &name);

    JobOptions options_;
    std::ostream &messages_;
    Lines lines_;
    Tally tally_;
    std::optional<Keeper> keeper_;
    std::optional<std::string> name_;
    uint64_t line_count_ = 0;
    uint64_t stored_line_count_ = 0;
    uint64_t malformed_ = 0;
    LineKind last_kind_ = LineKind::other;
    bool recognised_ = false;
    std::vector<std::string> held_;  // reports of lines, until the log is recognised
};

}  // namespace ldap_stats

#endif
