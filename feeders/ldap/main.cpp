// SPDX-License-Identifier: Apache-2.0
//
// tarn-ldap: keeps the counters of an OpenLDAP server's log in the LDAP tables of a store.
#include <exception>
#include <iostream>

#include "cli/start.h"
#include "exit_code.h"
#include "input.h"
#include "job.h"
#include "report.h"
#include "service.h"
#include "settings.h"

namespace {

using tarn_ldap::Settings;

int read_once(Settings &settings) {
    if (settings.idle_seconds > 0)
        settings.input.idle = std::chrono::milliseconds(int64_t(settings.idle_seconds * 1000));
    tarn_ldap::Input input(settings.input);
    settings.job.log = input.name();
    tarn_ldap::Job job(settings.job, std::cerr);
    while (const auto piece = input.next()) job.take(*piece);
    job.finish();

    const tarn_ldap::Report report = job.report();
    std::cout << (settings.json ? to_json(report) : to_text(report)) << std::flush;
    return settings.strict && report.malformed > 0 ? tarn_ldap::kMalformed : tarn_ldap::kDone;
}

int run(Settings &settings) {
    check(settings);
    return settings.service ? serve(settings) : read_once(settings);
}

}  // namespace

int main(int argc, char **argv) {
    Settings settings;
    const auto program = tarn_ldap::make_program(settings);
    const cli::Start start = cli::start(*program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return run(settings);
    } catch (const cli::UsageError &error) {
        return cli::report(*program, cli::LineError(*program, error.what()));
    } catch (const std::exception &failure) {
        std::cerr << "tarn-ldap: " << failure.what() << '\n';
        return tarn_ldap::exit_code_of(failure);
    }
}
