// SPDX-License-Identifier: Apache-2.0
#include "service.h"

#include <filesystem>
#include <memory>
#include <sstream>
#include <utility>

#include "common/service.h"
#include "job.h"
#include "log_file.h"
#ifdef TARN_LDAP_HAS_JOURNAL
#include "journal_log.h"
#endif
#ifdef TARN_LDAP_HAS_MONITOR
#include "monitor_thread.h"
#endif

namespace tarn_ldap {
namespace {

constexpr const char *kProgram = "tarn-ldap";
// So many pieces are read before the other events.
constexpr int kPiecesAtOnce = 16;

// The log's name in messages and, with its kind, in the store.
struct LogName {
    std::string text;
    std::string key;
};

LogName log_name(const Settings &settings) {
    if (!settings.unit.empty()) return {settings.unit, "journal:" + settings.unit};
    if (settings.input.path.empty()) return {};
    const std::string path = std::filesystem::absolute(settings.input.path).lexically_normal();
    return {path, "file:" + path};
}

JobOptions job_options(const Settings &settings) {
    JobOptions options = settings.job;
    const LogName name = log_name(settings);
    options.log = name.text;
    options.source = name.key;
    return options;
}

std::unique_ptr<LogSource> make_source(const Settings &settings, const std::string &position,
                                       Warn warn) {
    const Begin begin{position, settings.input.from_end};
#ifdef TARN_LDAP_HAS_JOURNAL
    if (!settings.unit.empty())
        return std::make_unique<JournalLog>(
            JournalSettings{settings.unit, settings.journal_directory}, begin, std::move(warn));
#endif
    return std::make_unique<LogFile>(log_name(settings).text, begin, std::move(warn));
}

// Reads the log as it grows.
class LogReader {
 public:
    LogReader(feeder::Service &service, const Settings &settings)
        : service_(service), settings_(settings), job_(job_options(settings), messages_) {}

    void request() { reading_.request(); }
    Job &job() { return job_; }

 private:
    // Throws tarn::error if the store fails: then it is to be called again.
    void work();
    void begin();
    void pass_messages_on();

    feeder::Service &service_;
    const Settings &settings_;
    std::ostringstream messages_;
    Job job_;
    std::unique_ptr<LogSource> source_;
    bool has_warned_ = false;
    feeder::Work reading_{service_, [this] { work(); }};
};

void LogReader::begin() {
    const std::string position = job_.resume();
    source_ = make_source(settings_, position,
                          [this](const std::string &text) { service_.log.warning(text); });
    service_.loop.watch(source_->descriptor(), [this] {
        source_->acknowledge();
        request();
    });
    service_.log.info("reads " + log_name(settings_).text +
                      (position.empty() ? "" : " from where it was read to"));
    service_.ready();
}

void LogReader::work() {
    if (!source_) begin();
    job_.store_rest();
    for (int pieces = 0; pieces < kPiecesAtOnce; ++pieces) {
        const auto piece = source_->next();
        if (!piece) return service_.status("follows " + log_name(settings_).text);
        job_.take(*piece);
        pass_messages_on();
    }
    request();
}

// A line that isn't slapd's may be this program's own, so only the first one is worth a warning.
void LogReader::pass_messages_on() {
    std::istringstream lines(messages_.str());
    messages_.str("");
    for (std::string line; getline(lines, line);) {
        if (!std::exchange(has_warned_, true))
            service_.log.warning(line + "; further lines like it are skipped without a message");
        else service_.log.debug(line);
    }
}

#ifdef TARN_LDAP_HAS_MONITOR
// Keeps what the server counts itself: all that it has of a server without a log, and the number of
// connections of one with a log.
class MonitorReader {
 public:
    MonitorReader(feeder::Service &service, const Settings &settings, LogReader *log);

 private:
    void work();
    void note(const Observation &observation);
    void store();

    feeder::Service &service_;
    const Settings &settings_;
    LogReader *log_;  // null if there is none
    std::optional<Keeper> keeper_;
    Observation last_;
    bool is_first_ = true;
    feeder::Work storing_{service_, [this] { store(); }};
    MonitorThread thread_;
};

MonitorReader::MonitorReader(feeder::Service &service, const Settings &settings, LogReader *log)
    : service_(service), settings_(settings), log_(log), thread_(settings.monitor) {
    service_.loop.watch(thread_.descriptor(), [this] { work(); });
    storing_.request();
}

void MonitorReader::work() {
    auto observation = thread_.take();
    if (!observation) return;
    note(*observation);
    last_ = std::move(*observation);
    is_first_ = false;
    storing_.request();
}

void MonitorReader::note(const Observation &observation) {
    const bool changes = is_first_ || last_.server.has_value() != observation.server.has_value();
    if (!changes) return;
    if (observation.server) service_.log.info("reads cn=Monitor of " + settings_.monitor.url);
    else service_.log.warning(observation.failure + "; trying again");
}

void MonitorReader::store() {
    if (log_ != nullptr) {
        if (is_first_) return;
        std::optional<uint32_t> count;
        if (last_.server) count = last_.server->num_conns;
        return log_->job().observe_connections(count);
    }
    if (!keeper_) keeper_.emplace(feeder::open_store(settings_.job.store));
    service_.ready();
    if (is_first_) return;
    service_.status(last_.server ? "queries " + settings_.monitor.url : last_.failure);
    const std::string name = settings_.job.server.value_or(settings_.monitor.url);
    const auto stored = keeper_->read(name);
    Server server = last_.server ? *last_.server : stored.value_or(Server{});
    server.status = last_.server.has_value();
    server.req_timeout = settings_.job.timeout.value_or(stored ? stored->req_timeout : 0);
    if (!server.status) server.num_conns = 0;
    if (stored != server) keeper_->write(name, server, {.label = "cn=Monitor"});
}
#endif

// The readers, from the moment at which the store is owned.
class Readers {
 public:
    Readers(feeder::Service &service, const Settings &settings)
        : ownership_(settings.job.store.path, kProgram) {
        if (!log_name(settings).text.empty()) log_.emplace(service, settings);
        if (log_) log_->request();
#ifdef TARN_LDAP_HAS_MONITOR
        if (!settings.monitor.url.empty())
            monitor_.emplace(service, settings, log_ ? &*log_ : nullptr);
#endif
    }

 private:
    feeder::Ownership ownership_;
    std::optional<LogReader> log_;
#ifdef TARN_LDAP_HAS_MONITOR
    std::optional<MonitorReader> monitor_;
#endif
};

}  // namespace

ExitCode serve(const Settings &settings) {
    feeder::Service service(kProgram, settings.log);
    try {
        std::optional<Readers> readers;
        feeder::Work begin(service, [&] { readers.emplace(service, settings); });
        begin.request();
        service.run();
        return kDone;
    } catch (const std::exception &failure) {
        service.log.error(failure.what());
        return exit_code_of(failure);
    }
}

}  // namespace tarn_ldap
