// SPDX-License-Identifier: Apache-2.0
//
// tarnctl set: sets fields of records.
#include "commands/command.h"
#include "commands/writing.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
A word of the form FIELD=VALUE sets a field, any other one is a value of the key.
A value of the key that contains = or is in [ ] is written with its field's name,
as sname=a=b. Values and batches are written as for insert. The key of a record
can't be changed: delete the record and insert another.

FIELD+=NUMBER adds to an integer, FIELD-=NUMBER subtracts from it; a result out of
the field's range is an error, and the field keeps its value.

--json prints what insert --json prints.

A field that the variant of the record's object lacks is an error of exit status
3.

Examples:
  tarnctl set ldap_conn ldap1.example.net num_conns=8 --store net.store
  tarnctl set ldap_conn ldap1.example.net num_conns+=1 --store net.store
  tarnctl set ldap_conn --where num_conns=2 num_conns=3 -v --store net.store
  tarnctl set aaa_servers radius1 status=ALIVE 'minute[5]=7' --store net.store)";

}  // namespace

void declare_set(cli::Command &program, Exit & /*status*/) {
    declare_writing(program,
                    {Verb::set, "set", "Set fields of records, or do a batch of orders", footer});
}

}  // namespace tarnctl
