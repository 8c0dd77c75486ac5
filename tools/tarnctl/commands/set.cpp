// SPDX-License-Identifier: Apache-2.0
//
// tarnctl set: other values for fields of records that are there.
#include "commands/command.h"
#include "commands/writing.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
A word of the form FIELD=VALUE is a field, any other one a value of the key. A
value of the key that holds = or stands in [ ] is written with its field's
name, as sname=a=b. Values are written as for insert, and so are batches. A
record keeps its key as long as it lives: delete it and insert another to
change that.

FIELD+=NUMBER adds to an integer, FIELD-=NUMBER subtracts from it; a sum that
the field can't hold is an error, and the field keeps its value.

--json prints what insert --json prints.

A field that the record's object is too old for is an error of exit status 3.

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
