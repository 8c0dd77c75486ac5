// SPDX-License-Identifier: Apache-2.0
#include "job.h"

#include <filesystem>
#include <utility>

namespace tarn_ldap {
namespace {

// The name of a server whose log ends before its first connection.
constexpr const char *kUnnamed = "slapd";

// Other programs may write lines of these kinds.
bool only_slapd_writes(LineKind kind) {
    return kind != LineKind::blank && kind != LineKind::other && kind != LineKind::continuation;
}

}  // namespace

std::string label_of(const std::string &log, const LineRange &lines) {
    const std::string place =
        std::filesystem::path(log).filename().string() + ":" + std::to_string(lines.first);
    if (lines.first == lines.last) return place + ": " + lines.excerpt;
    return place + "-" + std::to_string(lines.last);
}

Job::Job(JobOptions options, std::ostream &messages)
    : options_(std::move(options)), messages_(messages) {}

void Job::take(const Piece &batch) {
    const auto sink = [this](const NumberedLine &line) { take_line(line); };
    if (batch.new_text) lines_.finish(sink);
    if (batch.first_line > 0) lines_.number_from(batch.first_line);
    lines_.add(batch.bytes, sink);
    position_ = batch.position;
    store_batch();
}

std::string Job::resume() {
    recognised_ = true;
    if (!keeper_) keeper_.emplace(feeder::open_store(options_.store));
    const auto place = keeper_->place(options_.source);
    if (place && !options_.server) options_.server = place->server;
    return place ? place->position : "";
}

void Job::observe_connections(std::optional<uint32_t> count) {
    observed_connections_ = count;
    if (name_ && line_count_ == stored_line_count_ && keeper_->read(*name_) != server())
        keeper_->write(*name_, server(), {.label = "cn=Monitor"});
}

void Job::finish() {
    lines_.finish([this](const NumberedLine &line) { take_line(line); });
    if (!recognised_ && line_count_ > 0) refuse();
    if (recognised_ && !options_.server && !tally_.name()) options_.server = kUnnamed;
    store_batch();
}

void Job::take_line(const NumberedLine &line) {
    if (!line.text.empty()) note_line(line);
    if (line.too_long) {
        report_malformed(
            line.number,
            {excerpt(line.text), "a line of at most " + std::to_string(kLongestLine) + " bytes"});
        return;
    }
    const auto parsed = parse_line(line.text);
    if (const auto *error = std::get_if<LineError>(&parsed)) {
        report_malformed(line.number, *error);
        return;
    }
    const LogLine &known = std::get<LogLine>(parsed);
    const LineKind before = std::exchange(last_kind_, known.kind);
    if (known.kind == LineKind::blank) return;
    if (known.kind == LineKind::continuation && before != LineKind::banner &&
        before != LineKind::continuation) {
        report_malformed(line.number, {excerpt(line.text), "a line that only continues a banner"});
        return;
    }
    ++line_count_;
    understood(known.kind);
    tally_.count(known);
}

// Numbers start again in a new text: of two texts, the lines of the second are noted.
void Job::note_line(const NumberedLine &line) {
    const bool is_first = batch_.first == 0 || line.number < batch_.last;
    batch_ = {is_first ? line.number : batch_.first, line.number, excerpt(line.text)};
}

void Job::understood(LineKind kind) {
    if (recognised_ || !only_slapd_writes(kind)) return;
    recognised_ = true;
    for (const std::string &text : held_) messages_ << text;
    held_.clear();
}

void Job::report_malformed(uint64_t number, const LineError &error) {
    last_kind_ = LineKind::other;
    ++line_count_;
    ++malformed_;
    std::string text = options_.log + ":" + std::to_string(number) + ": found \"" + error.found +
                       "\", expected " + error.expected + "\n";
    if (recognised_) {
        messages_ << text;
        return;
    }
    held_.push_back(std::move(text));
    if (held_.size() >= kLinesBeforeRefusal) refuse();
}

void Job::refuse() const {
    std::string text = options_.log + " is no slapd log: none of its first " +
                       std::to_string(line_count_) +
                       " lines is about the server's start, a connection or an operation, "
                       "as slapd writes them with \"loglevel stats\"";
    if (!held_.empty()) text += "\n" + held_.front().substr(0, held_.front().size() - 1);
    throw NotASlapdLog(text);
}

void Job::store_batch() {
    if (!recognised_ || line_count_ == stored_line_count_) return;
    const std::optional<std::string> &name = options_.server ? options_.server : tally_.name();
    if (!name) return;  // stored when the server's name is found
    const uint64_t count = line_count_ - stored_line_count_;
    try {
        store_as(*name);
    } catch (const tarn::error &error) {
        throw tarn::error(error.number(), options_.store.path + ": " + error.what() +
                                              "; the last batch, of " + std::to_string(count) +
                                              " lines, is not stored");
    }
    stored_line_count_ = line_count_;
    batch_ = {};
    if (options_.verbose)
        messages_ << "stored " << line_count_ << " lines as " << *name << std::endl;
}

// Continues from what the store has.
void Job::open(const std::string &name) {
    if (name_) return;
    if (!keeper_) keeper_.emplace(feeder::open_store(options_.store));
    const auto stored = options_.recount ? std::nullopt : keeper_->read(name);
    if (stored) tally_.adopt(*stored);
    name_ = name;
}

void Job::store_as(const std::string &name) {
    open(name);
    keeper_->write(name, server(), {label_of(options_.log, batch_), options_.source, position_});
}

Server Job::server() const {
    Server server = tally_.server();
    if (options_.timeout) server.req_timeout = *options_.timeout;
    // A server that has stopped counts none, though it may not have been queried since.
    if (observed_connections_ && server.status) server.num_conns = *observed_connections_;
    return server;
}

Report Job::report() const {
    Report report{.lines = line_count_, .malformed = malformed_, .name = name_, .server = {}};
    if (name_) report.server = keeper_->read(*name_).value_or(Server{});
    return report;
}

}  // namespace tarn_ldap
