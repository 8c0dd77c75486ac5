// SPDX-License-Identifier: Apache-2.0
#include "agentx/settings.h"

#include <charconv>

#include "agentx/map.h"
#include "base/failure.h"
#include "cli/config_file.h"

namespace agentx {
namespace {

// So that most of an object identifier is left to indices.
constexpr std::size_t longest_base = 32;

constexpr const char *notes = R"(
STORE is the folder of a store. One that doesn't exist yet is opened when it does. The
program reads the store's files and changes nothing: nobody waits for it.

It connects to the SNMP agent of this machine, for which snmpd needs the line `master
agentx`, and connects again when the agent was restarted. The agent answers then for
the tables of IEEE8021-PAE-MIB, RADIUS-AUTH-CLIENT-MIB and RADIUS-ACC-CLIENT-MIB that
fields of the store follow, and for TARNBASE-MIB, in which all tables are. Nothing can
be set.

SOCKET is as in snmpd's `agentXSocket`: a path, or `tcp:localhost:705`.

A counter of failed authentications that rises is a notification, which the agent sends
where its `trap2sink` and `trapsess` lines say. SIGTERM and SIGINT end the program; its
exit status is then 0.

Examples:
  tarn-agentx /var/lib/tarnbase/net.store
  tarn-agentx --config /etc/tarnbase/tarn-agentx.toml
  snmptable -v2c -c public -m +TARNBASE-MIB localhost tarnbaseLdapStatsTable)";

Oid base_of(const std::string &word) {
    Oid base;
    const char *at = word.data();
    const char *const end = at + word.size();
    while (at < end) {
        uint32_t number = 0;
        const auto [next, error] = std::from_chars(at, end, number);
        const bool is_last = next == end;
        if (error != std::errc() || (!is_last && (*next != '.' || next + 1 == end))) break;
        base.push_back(number);
        at = is_last ? end : next + 1;
        if (is_last && base.size() >= 2 && base[0] <= 2 && base.size() <= longest_base) return base;
    }
    throw cli::UsageError("expected an object identifier such as 1.3.6.1.4.1.8072.9999.9999.1");
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Settings &settings) {
    auto program = std::make_unique<cli::Command>(
        "tarn-agentx", "Shows the contents of a tarnbase store in SNMP, as an AgentX subagent.");
    program->add_help("tarn-agentx " TARNBASE_VERSION);
    settings.base.assign(map.base.begin(), map.base.end());
    const auto take_base = [&settings](const std::string &word) { settings.base = base_of(word); };
    program->argument("STORE", cli::into(settings.store), "Store to show")
        .named("-s,--store")
        .required();
    program->option("-x,--agentx-socket", "SOCKET", cli::into(settings.socket),
                    "Where the agent listens; /var/agentx/master by default");
    program->option("--base", "OID", {take_base, {}, false},
                    "Object identifier of TARNBASE-MIB, if not that of its file");
    program->option("--tenant", "NUMBER", cli::number_into(settings.tenant, 0, UINT16_MAX),
                    "Tenant whose records the standard MIBs show; 0 by default");
    program->option("--max-notifications", "NUMBER",
                    cli::number_into(settings.most_notifications, 0, 1'000'000),
                    "Notifications in a minute at most; 60 by default");
    program->flag("--trace", settings.traces, "Write what is sent and received");
    cli::add_config_option(*program);
    program->notes = notes;
    program->statuses = tarnctl::exit_statuses();
    return program;
}

}  // namespace agentx
