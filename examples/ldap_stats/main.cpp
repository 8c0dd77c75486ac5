// SPDX-License-Identifier: Apache-2.0
//
// ldap_stats: keeps what an OpenLDAP server's log tells in the LDAP tables of a store.
#include <CLI/CLI.hpp>
#include <iostream>
#include <system_error>

#include "input.h"
#include "job.h"
#include "report.h"

namespace {

enum ExitCode {
    kDone = 0,
    kMalformed = 1,
    kUsage = 2,
    kNoSlapdLog = 3,
    kUnreadable = 4,
    kStore = 5
};

constexpr const char *kFooter = R"(
What is counted, seen from the server's clients, all taken as one:
  sent       requests: BIND, SRCH, CMP, EXT, ADD, DEL, MOD, MODRDN, ABANDON, UNBIND, one each
             however many lines tell of it
  received   results, the entries of searches (nentries), and intermediate, referral and
             disconnection messages
  success    result 0; fail: any other, but for a bind result 14 (more steps follow)
  missing    results 16, noSuchAttribute
  delays     etime of the results, in microseconds
  conns      connections accepted and not yet closed
  status     true while slapd runs, until it is told to stop
Counters wrap at 2^32; connections and delays stay at 2^32 - 1.

The server is named by --server, or else by the listener of the first connection that the log
tells of, such as ldap://127.0.0.1:389, or else "slapd". Counting goes on from what the store
holds under that name, so a log must not be given twice.

Exit code: 0 done; 1 malformed lines, with --strict; 2 wrong arguments; 3 the input is no slapd
log, nothing was stored; 4 the log can't be read; 5 the store failed, its last batch is undone.)";

struct Arguments {
    ldap_stats::JobOptions job;
    ldap_stats::InputOptions input;
    double idle_seconds = 0;
    bool strict = false;
    bool json = false;
};

void declare(CLI::App &app, Arguments &arguments) {
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("ldap_stats ") + TARNBASE_VERSION);
    app.add_option("log", arguments.input.path,
                   "slapd log, loglevel stats; - or none: standard input");
    app.add_option("-s,--store", arguments.job.store, "store file, made if it isn't there")
        ->required();
    app.add_option("--server", arguments.job.server, "name of the server, the key of its records");
    app.add_option("--timeout", arguments.job.timeout,
                   "request timeout to record; 0 at first, stays if not given");
    CLI::Option *follow = app.add_flag("-f,--follow", arguments.input.follow,
                                       "go on as the log grows, until SIGINT or SIGTERM");
    app.add_flag("--from-end", arguments.input.from_end, "follow from the log's end of now")
        ->needs(follow);
    app.add_option("--exit-idle", arguments.idle_seconds,
                   "stop following after so many seconds without news")
        ->needs(follow)
        ->check(CLI::Range(0.001, 1e6));
    app.add_flag("--strict", arguments.strict, "exit with 1 if a line was malformed");
    app.add_flag("--json", arguments.json, "tell the result as JSON");
    app.add_flag("-v,--verbose", arguments.job.verbose, "tell of each batch on standard error");
}

int run(Arguments &arguments) {
    if (arguments.idle_seconds > 0)
        arguments.input.idle = std::chrono::milliseconds(int64_t(arguments.idle_seconds * 1000));
    ldap_stats::Input input(arguments.input);
    arguments.job.log = input.name();
    ldap_stats::Job job(arguments.job, std::cerr);
    while (const auto piece = input.next()) job.take(*piece);
    job.finish();

    const ldap_stats::Report report = job.report();
    std::cout << (arguments.json ? to_json(report) : to_text(report)) << std::flush;
    return arguments.strict && report.malformed > 0 ? kMalformed : kDone;
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("Keeps what an OpenLDAP server's log tells in the LDAP tables of a store.",
                 "ldap_stats");
    Arguments arguments;
    declare(app, arguments);
    try {
        app.parse(argc, argv);
        return run(arguments);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    } catch (const ldap_stats::NotASlapdLog &error) {
        std::cerr << "ldap_stats: " << error.what() << '\n';
        return kNoSlapdLog;
    } catch (const example::StoreError &error) {
        std::cerr << "ldap_stats: " << error.what() << '\n';
        return kStore;
    } catch (const std::system_error &error) {
        std::cerr << "ldap_stats: " << error.what() << '\n';
        return kUnreadable;
    }
}
