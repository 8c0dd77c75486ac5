// SPDX-License-Identifier: Apache-2.0
//
// The job: counts the lines of a log in batches, and updates the server's records in one
// transaction a batch. The transaction's label says which lines these are.
//
// A malformed line is reported and skipped. The store isn't opened before the first line that only
// slapd writes: a text without one is refused.
#ifndef FEEDERS_LDAP_JOB_H
#define FEEDERS_LDAP_JOB_H

#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/store.h"
#include "input.h"
#include "keeper.h"
#include "lines.h"
#include "tally.h"

namespace tarn_ldap {

// A text that begins with so many malformed lines isn't a slapd log.
constexpr size_t kLinesBeforeRefusal = 20;

struct JobOptions {
    feeder::StoreSettings store;
    std::string log;                    // the log's name in messages
    std::optional<std::string> server;  // the key of the records; by default from the log
    std::optional<uint32_t> timeout;    // req_timeout; unchanged if not given
    bool recount = false;               // replace what is stored, instead of continuing it
    bool verbose = false;               // print each batch
    std::string source = {};            // under which the place in the log is kept; or empty
};

// The result: counts, and the stored values.
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

// Lines that weren't stored yet.
struct LineRange {
    uint64_t first = 0;
    uint64_t last = 0;
    std::string excerpt;  // of the last one
};

// What a transaction of these lines is for: "slapd.log:7: ...", or "slapd.log:7-9".
std::string label_of(const std::string &log, const LineRange &lines);

class Job {
 public:
    Job(JobOptions options, std::ostream &messages);

    // Opens the store, and continues with the server of the place that it has. Returns the place;
    // an empty text if there is none. Any text counts as slapd's log from here on. Throws
    // tarn::error.
    std::string resume();
    // Throws NotASlapdLog or tarn::error; the latter after the batch was rolled back.
    void take(const Piece &batch);
    // Stores what was taken but not stored yet, since the store failed.
    void store_rest() { store_batch(); }
    void finish();
    // The open connections that the server itself counts; none: it doesn't answer. They are stored
    // instead of those of the log.
    void observe_connections(std::optional<uint32_t> count);
    Report report() const;

 private:
    void take_line(const NumberedLine &line);
    void note_line(const NumberedLine &line);
    void understood(LineKind kind);
    void report_malformed(uint64_t number, const LineError &error);
    void refuse() const;
    void store_batch();
    void store_as(const std::string &name);
    void open(const std::string &name);
    Server server() const;

    JobOptions options_;
    std::ostream &messages_;
    Lines lines_;
    Tally tally_;
    std::optional<Keeper> keeper_;
    std::optional<std::string> name_;
    uint64_t line_count_ = 0;
    uint64_t stored_line_count_ = 0;
    LineRange batch_;       // the lines since then
    std::string position_;  // where the last piece ended
    std::optional<uint32_t> observed_connections_;
    uint64_t malformed_ = 0;
    LineKind last_kind_ = LineKind::other;
    bool recognised_ = false;
    std::vector<std::string> held_;  // reports of lines before the log is recognised
};

}  // namespace tarn_ldap

#endif
