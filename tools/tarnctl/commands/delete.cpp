// SPDX-License-Identifier: Apache-2.0
//
// tarnctl delete: deletes records.
#include "commands/command.h"
#include "commands/writing.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
There is no confirmation; the number of deleted records is printed unless one was
chosen by its key. Only the replication engine deletes the records of a table that
is marked for replication. Batches are written as for insert.

--json prints what insert --json prints.

Examples:
  tarnctl delete ldap_conn ldap1.example.net --store net.store
  tarnctl delete ldap_conn --where num_conns=0 --dry-run --store net.store
  tarnctl delete ldap_conn --all --store net.store)";

}  // namespace

void declare_delete(cli::Command &program, Exit & /*status*/) {
    declare_writing(program,
                    {Verb::erase, "delete", "Delete records, or do a batch of orders", footer});
}

}  // namespace tarnctl
