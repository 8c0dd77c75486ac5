// SPDX-License-Identifier: Apache-2.0
//
// tarnctl insert: inserts records.
#include "commands/command.h"
#include "commands/writing.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
All fields of the key must be given. The value of an enumeration is an enumerator
or its number, that of an array all elements with blanks between them; an element
is written as minute[5]=7, a field of a structure as aaa_authen.requests=3, and a
string of any bytes as FIELD:hex=00ff.

With --create a table that the store doesn't have is made, with the NAME of
TABLE:NAME or else the usual name, as by `tarnctl table create`.

With --or-update an existing record gets the given fields and keeps the others,
and FIELD+=NUMBER adds to its value; a new record starts at 0.

A batch has one order a line, as `insert TABLE FIELD=VALUE...`, `set TABLE
KEY... FIELD=VALUE...` or `delete TABLE KEY...`. A line can have the options of
its command that choose records, --source, --tenant, --where and --all, an insert
also --create and --or-update, a set --if-exists. --create and --or-update of
`tarnctl insert` apply to all inserts of a batch, --if-exists of `tarnctl set` to
all sets. Words are quoted as in a shell, and # begins a comment. If one order
fails, none is carried out, and the error names the line.

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
