// SPDX-License-Identifier: Apache-2.0
//
// tarn-ldap: keeps the counters of an OpenLDAP server's log in the LDAP tables of a store.
#include <iostream>
#include <limits>
#include <system_error>

#include "cli/start.h"
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

constexpr const char *kNotes = R"(
What is counted, seen from the server's clients, all taken as one:
  sent       requests: BIND, SRCH, CMP, EXT, ADD, DEL, MOD, MODRDN, ABANDON, UNBIND, one each
             whatever its number of lines
  received   results, the entries of searches (nentries), and intermediate, referral and
             disconnection messages
  success    result 0; fail: any other, but for a bind result 14 (more steps follow)
  missing    results 16, noSuchAttribute
  delays     etime of the results, in microseconds
  conns      connections accepted and not yet closed
  status     true while slapd runs, until a shutdown is requested
Counters wrap at 2^32; connections and delays stay at 2^32 - 1.

The name of the server is --server, or else the listener of the first connection in the log, such
as ldap://127.0.0.1:389, or else "slapd". Counting continues from the stored values of that name, so
a log must not be given twice, unless --recount replaces them: with it, a program that was killed
can be started again on the same log.)";

struct Arguments {
    tarn_ldap::JobOptions job;
    tarn_ldap::InputOptions input;
    double idle_seconds = 0;
    bool strict = false;
    bool json = false;
};

void describe(cli::Command &program, Arguments &arguments) {
    program.add_help(std::string("tarn-ldap ") + TARNBASE_VERSION);
    program.notes = kNotes;
    program.statuses = {{kDone, "done"},
                        {kMalformed, "malformed lines, with --strict"},
                        {kUsage, "the arguments are wrong"},
                        {kNoSlapdLog, "the input is no slapd log, nothing was stored"},
                        {kUnreadable, "the log can't be read"},
                        {kStore, "the store failed, its last batch is undone"}};
    program.argument("LOG", cli::into(arguments.input.path),
                     "slapd log, loglevel stats; - or none: standard input");
    program
        .option("-s,--store", "STORE", cli::into(arguments.job.store),
                "Store, created if it doesn't exist")
        .required();
    const auto name_server = [&arguments](const std::string &name) { arguments.job.server = name; };
    program.option("--server", "NAME", {name_server, {}, false},
                   "Name of the server, the key of its records");
    program.option("--timeout", "SECONDS",
                   cli::number_into(arguments.job.timeout, 0, std::numeric_limits<uint32_t>::max()),
                   "Request timeout to record; 0 at first, stays if not given");
    program.flag("--recount", arguments.job.recount,
                 "Replace the stored values by those of this log");
    program.flag("--journal", arguments.job.journal,
                 "Keep a journal of the store: each change with the lines it is from");
    program.flag("-f,--follow", arguments.input.follow,
                 "Continue as the log grows, until SIGINT or SIGTERM");
    program.flag("--from-end", arguments.input.from_end, "Follow from the present end of the log")
        .needs("follow");
    program
        .option("--exit-idle", "SECONDS", cli::seconds_into(arguments.idle_seconds, 0.001, 1e6),
                "Stop following after so many seconds without new lines")
        .needs("follow");
    program.flag("--strict", arguments.strict, "Exit with 1 if a line was malformed");
    program.flag("--json", arguments.json, "Print the result as JSON");
    program.flag("-v,--verbose", arguments.job.verbose, "Print each batch on standard error");
}

int run(Arguments &arguments) {
    if (arguments.idle_seconds > 0)
        arguments.input.idle = std::chrono::milliseconds(int64_t(arguments.idle_seconds * 1000));
    tarn_ldap::Input input(arguments.input);
    arguments.job.log = input.name();
    tarn_ldap::Job job(arguments.job, std::cerr);
    while (const auto piece = input.next()) job.take(*piece);
    job.finish();

    const tarn_ldap::Report report = job.report();
    std::cout << (arguments.json ? to_json(report) : to_text(report)) << std::flush;
    return arguments.strict && report.malformed > 0 ? kMalformed : kDone;
}

}  // namespace

int main(int argc, char **argv) {
    cli::Command program(
        "tarn-ldap",
        "Keeps the counters of an OpenLDAP server's log in the LDAP tables of a store.");
    Arguments arguments;
    describe(program, arguments);
    const cli::Start start = cli::start(program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return run(arguments);
    } catch (const tarn_ldap::NotASlapdLog &error) {
        std::cerr << "tarn-ldap: " << error.what() << '\n';
        return kNoSlapdLog;
    } catch (const tarn::error &error) {
        std::cerr << "tarn-ldap: " << error.what() << '\n';
        return kStore;
    } catch (const std::system_error &error) {
        std::cerr << "tarn-ldap: " << error.what() << '\n';
        return kUnreadable;
    }
}
