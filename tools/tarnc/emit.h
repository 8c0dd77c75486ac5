// SPDX-License-Identifier: Apache-2.0
// From the checked schema to the files of the output folder:
//
//   include/tarnbase/   public headers: types/, enums/, tables/, tarnbase.h, schema.h;
//                       in C++: tarn.hpp, and tarn/ as in face.h
//   model/<item>.h      the constant models that the workers read
//   stamps/<item>.cpp   descriptors, vectors, and the exported functions, a call each
//   shard_<n>.cpp       the stamps in as many files as the build compiles
//   module.cpp          descriptor list, directory
//   layout_check.cpp    the computed layout against the C++ compiler's
//   layout.txt          the same, to read
//   exports.txt         exported symbols: F function, W weak function, D data
//   exports.map         linker version script
//   gdb_schema.py       fields and enumerators, for the printers in gdb/
//   wireshark_schema.lua  the same and the tables, for the dissector in wireshark/
//   mib_map.cpp         the objects that SNMP shows, for tools/agentx
//   <MODULE>-MIB.txt    the same as a MIB, if the tables have a place in it
//   <module>.yang       the same as a YANG module, for the form yang-json of documents
//   schema.pyi          the same as types of Python, for type checkers
#ifndef TARNC_EMIT_H
#define TARNC_EMIT_H

#include "model.h"
#include "output.h"
#include "source.h"

namespace tarnc {

// All files. Reports two exported symbols of one name.
Files emit(const Schema &schema, std::size_t shards, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
