// SPDX-License-Identifier: Apache-2.0
#include "job.h"

#include <algorithm>
#include <utility>

namespace tarn_dot1x {

Observation understand(const std::vector<PortAnswers> &answers, const ServerNames &names,
                       Problems &problems) {
    Observation found;
    for (const PortAnswers &port : answers) {
        std::vector<Block> stations;
        for (const Text &text : port.stations)
            for (Block &station : parse_stations(text, port.stations_a_text, problems))
                stations.push_back(std::move(station));
        const Block status = parse_status(port.status, problems);
        found.ports.push_back(map_port(port.port, status, stations, problems));
        add_servers(parse_mib(port.mib, problems), names, found.radius, problems);
    }
    return found;
}

Job::Job(JobOptions options, Source &source, std::ostream &messages)
    : options_(std::move(options)), source_(source), messages_(messages) {}

// Problems that the last poll had too aren't reported again.
void Job::report_problems(const Problems &problems) {
    for (const Problem &problem : problems.list()) {
        if (std::find(reported_.begin(), reported_.end(), problem) != reported_.end()) continue;
        messages_ << to_text(problem) << '\n';
        ++malformed_;
    }
    reported_ = problems.list();
}

void Job::poll() {
    Problems problems;
    Observation found = understand(source_.poll(), options_.servers, problems);
    report_problems(problems);
    try {
        if (!keeper_) keeper_.emplace(feeder::open_store(options_.store));
        keeper_->write(found);
    } catch (const tarn::error &error) {
        throw tarn::error(error.number(), options_.store.path + ": " + error.what() +
                                              "; nothing of poll " + std::to_string(polls_ + 1) +
                                              " is stored");
    }
    ports_ = std::move(found.ports);
    ++polls_;
    if (options_.verbose)
        messages_ << "poll " << polls_ << ": " << ports_.size() << " ports stored" << std::endl;
}

Report Job::report() const {
    Report report{.polls = polls_, .malformed = malformed_, .stored = {}};
    for (const PortRows &port : ports_) {
        report.stored.ports.push_back(keeper_->read_port(port.port));
        report.stored.ports.back().state = port.state;
    }
    report.stored.radius = keeper_->read_radius();
    return report;
}

}  // namespace tarn_dot1x
