# SPDX-License-Identifier: Apache-2.0
# The example program, stopped as in docs/debugging.md.
set width 0
set style enabled off
set confirm off
set print pretty on
tbreak show_record
run
echo \n=== the record\n
print *record
echo \n=== the table\n
print *record->table
python gdb.selected_frame().older().select()
echo \n=== the key\n
print server
echo \n=== the object, by the pointer's type and by its descriptor\n
print (st_ldap_conn *)found->object
tarnbase found->object
