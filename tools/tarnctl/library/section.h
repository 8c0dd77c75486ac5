// SPDX-License-Identifier: Apache-2.0
//
// A section of a file that a linker made.
#ifndef TARNCTL_LIBRARY_SECTION_H
#define TARNCTL_LIBRARY_SECTION_H

#include <string>

namespace tarnctl {

// The bytes of a section of an ELF file. Failure `store` if the file can't be read, `data` if it
// isn't an ELF file, is damaged or has no such section.
std::string read_section(const std::string &path, const char *name);

}  // namespace tarnctl

#endif
