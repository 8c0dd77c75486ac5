// SPDX-License-Identifier: Apache-2.0
//
// tarnctl insert: records that are new.
#include "commands/command.h"
#include "commands/writing.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
All fields of the key must be given. An enumeration takes an enumerator or its
number, an array all of its elements with blanks between them, or one as
minute[5]=7; a field of a structure is written as aaa_authen.requests=3, and a
string of any bytes as FIELD:hex=00ff.

With --create a table that the store doesn't hold is made, under the name given
as TABLE:NAME or else under the usual one, as for `tarnctl table create`.

With --or-update a record that is there gets the fields that are given and keeps
the others, and FIELD+=NUMBER adds to what it has; a new record starts at 0.

A batch has one order a line, as `insert TABLE FIELD=VALUE...`, `set TABLE
KEY... FIELD=VALUE...` or `delete TABLE KEY...`. A line takes the options of its
command that choose records, --source, --tenant, --where and --all, and an
insert takes --create and --or-update, a set --if-exists. `tarnctl insert` gives
its --create and --or-update to all inserts of a batch, `tarnctl set` its
--if-exists to all sets. Words are quoted as in a shell, and # begins a comment.
If one order can't be carried out, none is, and the line is named.

--json prints {"dry_run", "inserted", "changed", "deleted", "tables",
"changes"}: counts, the tables that were made, and a list of changes, each
{"change", "table", "tenant", "source", "key", "fields"} with {"old", "new"}
for each field.

A key that the table has already is an error of exit status 3.

Examples:
  tarnctl insert ldap_conn sname=ldap9.example.net num_conns=3 --store net.store
  tarnctl insert ldap_conn sname=ldap8 num_conns+=1 --or-update -s net.store
  tarnctl insert - --store net.store < orders.txt)";

}  // namespace

void declare_insert(cli::Command &program, Exit & /*status*/) {
    declare_writing(program,
                    {Verb::insert, "insert", "Insert a record, or do a batch of orders", footer});
}

}  // namespace tarnctl
