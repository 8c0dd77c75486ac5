// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include <limits>

#include "cli/config_file.h"
#include "common/service.h"
#include "exit_code.h"

namespace tarn_ldap {
namespace {

constexpr const char *kNotes = R"(
What is counted, seen from the server's clients, all taken as one:
  sent       requests: BIND, SRCH, CMP, EXT, ADD, DEL, MOD, MODRDN, ABANDON,
             UNBIND, one each whatever its number of lines
  received   results, the entries of searches (nentries), and intermediate,
             referral and disconnection messages
  success    result 0; fail: any other, but for a bind result 14, after which
             more steps follow
  missing    results 16, noSuchAttribute
  delays     etime of the results, in microseconds
  conns      connections accepted and not yet closed
  status     true while slapd runs, until a shutdown is requested
Counters wrap at 2^32; connections and delays stay at 2^32 - 1.

The name of the server is --server, or else the listener of the first connection in the log, such
as ldap://127.0.0.1:389, or else "slapd". Counting continues from the stored values of that name, so
a log must not be given twice, unless --recount replaces them: with it, a program that was killed
can be started again on the same log.

With --service the store also has the place to which the log is counted, so each line is counted
once, whenever the service is stopped or killed, and however the log is rotated meanwhile.

Examples:
  tarn-ldap -s ldap.store slapd.log
  tarn-ldap -s ldap.store --follow /var/log/slapd.log
  tarn-ldap --service --config /etc/tarnbase/tarn-ldap.toml)";

void add_input_options(cli::Command &program, Settings &settings) {
    program
        .argument("LOG", cli::into(settings.input.path),
                  "slapd log, loglevel stats; - or none: standard input")
        .named("--slapd-log");
    program.flag("-f,--follow", settings.input.follow,
                 "Continue as the log grows, until SIGINT or SIGTERM");
    program.flag("--from-end", settings.input.from_end,
                 "Follow, or serve at first, from the present end of the log");
    program
        .option("--exit-idle", "SECONDS", cli::seconds_into(settings.idle_seconds, 0.001, 1e6),
                "Stop following after so many seconds without new lines")
        .needs("follow");
}

void add_record_options(cli::Command &program, Settings &settings) {
    const auto name_server = [&settings](const std::string &name) { settings.job.server = name; };
    program.option("--server", "NAME", {name_server, {}, false},
                   "Name of the server, the key of its records");
    program.option("--timeout", "SECONDS",
                   cli::number_into(settings.job.timeout, 0, std::numeric_limits<uint32_t>::max()),
                   "Request timeout to record; 0 at first, stays if not given");
    program.flag("--recount", settings.job.recount,
                 "Replace the stored values by those of this log");
    feeder::add_store_options(program, settings.job.store);
}

void add_output_options(cli::Command &program, Settings &settings) {
    program.flag("--strict", settings.strict, "Exit with 1 if a line was malformed");
    program.flag("--json", settings.json, "Print the result as JSON");
    program.flag("-v,--verbose", settings.job.verbose, "Print each batch on standard error");
}

#ifdef TARN_LDAP_HAS_MONITOR
void add_monitor_options(cli::Command &program, MonitorSettings &monitor) {
    program
        .option("--monitor", "URL", cli::into(monitor.url),
                "Query cn=Monitor of this server: ldap://, ldaps:// or ldapi://")
        .needs("service");
    program
        .option("--monitor-interval", "SECONDS", cli::seconds_into(monitor.interval, 0.01, 86400),
                "Time between two queries, by default 10")
        .needs("monitor");
    program.flag("--monitor-start-tls", monitor.start_tls, "Query over TLS, by StartTLS")
        .needs("monitor");
    program
        .option("--monitor-certificates", "FILE", cli::into(monitor.certificates),
                "Certificates of authorities, by default the system's")
        .needs("monitor");
    program.flag("--monitor-external", monitor.external, "Bind with SASL EXTERNAL")
        .needs("monitor")
        .excludes("monitor-user");
    program
        .option("--monitor-user", "DN", cli::into(monitor.user),
                "Bind as this user, by default as none")
        .needs("monitor-password-file");
    program
        .option("--monitor-password-file", "FILE", cli::into(monitor.password_file),
                "File whose first line is the user's password")
        .needs("monitor-user");
}
#endif

void add_service_options(cli::Command &program, Settings &settings) {
    auto &service = program.flag("--service", settings.service,
                                 "Run as a service, which keeps its place in the log");
    for (const char *each : {"follow", "recount", "strict", "json", "verbose"})
        service.excludes(each);
#ifdef TARN_LDAP_HAS_JOURNAL
    program
        .option("--unit", "UNIT", cli::into(settings.unit),
                "Read the log of this systemd unit in the system's journal")
        .needs("service")
        .excludes("slapd-log");
    program
        .option("--journal-directory", "DIRECTORY", cli::into(settings.journal_directory),
                "Read the journal's files in this folder")
        .needs("unit");
#endif
#ifdef TARN_LDAP_HAS_MONITOR
    add_monitor_options(program, settings.monitor);
#endif
    cli::add_config_option(program);
    feeder::add_log_options(program, settings.log);
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Settings &settings) {
    auto program = std::make_unique<cli::Command>(
        "tarn-ldap",
        "Keeps the counters of an OpenLDAP server's log in the LDAP tables of a store.");
    program->add_help(std::string("tarn-ldap ") + TARNBASE_VERSION);
    program->notes = kNotes;
    program->statuses = {{kDone, "done"},
                         {kMalformed, "malformed lines, with --strict"},
                         {kUsage, "the arguments are wrong"},
                         {kNoSlapdLog, "the input is no slapd log, nothing was stored"},
                         {kUnreadable, "the log can't be read"},
                         {kStore, "the store failed, its last batch is undone"}};
    add_input_options(*program, settings);
    add_record_options(*program, settings);
    add_output_options(*program, settings);
    add_service_options(*program, settings);
    return program;
}

void check(const Settings &settings) {
    const InputOptions &input = settings.input;
    if (input.from_end && !input.follow && !settings.service)
        throw cli::UsageError("--from-end needs --follow or --service");
    const bool has_log = !input.path.empty() || !settings.unit.empty();
    if (settings.service && input.path == "-")
        throw cli::UsageError("--service can't keep its place in standard input");
    if (settings.service && !has_log && settings.monitor.url.empty())
        throw cli::UsageError("--service needs a log, --unit or --monitor");
}

}  // namespace tarn_ldap
