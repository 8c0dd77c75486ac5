// SPDX-License-Identifier: Apache-2.0
// The schema manifest: a section of the library file, `.orvan`, which the loader
// doesn't map, for tools that read the file.
//
//   section = records, each padded with zeros to a multiple of 4 bytes
//
//   record, offset  size
//                0     4  length of the payload, its closing NUL included
//                4     4  type: 2 the manifest, 1 the build note, in this order
//                8        payload: text and a NUL
//
// The manifest is the line "# <module>.minime" and then a line of 79 characters an
// item, first structures and enumerations by name, then tables and records by LUID:
//
//   column  width
//        0     32  LUID
//       32      1  ':'
//       33     32  second digest
//       65      4  kind: enum, type, tabl or trec
//       69      3  the highest variant
//       72      1  ':'
//       73      5  size: 16 of an enumeration; of a structure what its highest variant
//                  uses, rounded up to a multiple of 8; 0 of tables and records
//       78      1  'N'
#ifndef TARNC_MANIFEST_H
#define TARNC_MANIFEST_H

#include <string>

#include "model.h"

namespace tarnc {

// About a build.
struct Build {
    std::string output;  // path of what is built
    std::string target;  // its name
};

std::string manifest(const Schema &schema);
// User, host, process, time and output. SOURCE_DATE_EPOCH replaces the time, and
// then everything that differs from build to build is left empty.
std::string build_note(const Schema &schema, const Build &build);
// The bytes of the section.
std::string manifest_section(const Schema &schema, const Build &build);

}  // namespace tarnc

#endif
