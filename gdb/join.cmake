# SPDX-License-Identifier: Apache-2.0
# Appends the printers to the tables of a schema, in one file that gdb can load alone.
#   cmake -DSCHEMA=file.py -DPRINTERS=file.py -DOUT=file.py -P join.cmake
file(READ ${SCHEMA} schema)
file(READ ${PRINTERS} printers)
string(REPLACE "# SPDX-License-Identifier: Apache-2.0\n" "" printers "${printers}")
file(WRITE ${OUT} "${schema}\n${printers}")
