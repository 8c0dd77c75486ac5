# SPDX-License-Identifier: Apache-2.0
# Appends the dissector to the tables of a schema, in one file that Wireshark can load.
#   cmake -DSCHEMA=file.lua -DDISSECTOR=file.lua -DOUT=file.lua -P join.cmake
file(READ ${SCHEMA} schema)
file(READ ${DISSECTOR} dissector)
string(REPLACE "-- SPDX-License-Identifier: Apache-2.0\n" "" dissector "${dissector}")
file(WRITE ${OUT} "${schema}\n${dissector}")
