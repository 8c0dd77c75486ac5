// SPDX-License-Identifier: Apache-2.0
// The folder that the compiler writes to. A file is written only if it changes, so
// that a build makes again only what depends on the change.
#ifndef TARNC_OUTPUT_H
#define TARNC_OUTPUT_H

#include <map>
#include <string>
#include <vector>

namespace tarnc {

// Files to write: path below the output folder, content.
using Files = std::map<std::string, std::string>;

// Writes the files, and removes those that an earlier run wrote and this one
// doesn't. Throws std::runtime_error if a file can't be written.
void write_files(const std::string &folder, const Files &files);

// Writes a file, even if its content stays the same.
void write_file(const std::string &path, const std::string &content);

// The rule of a make-style dependency file: `target` is made from `sources`.
std::string dependency_rule(const std::string &target, const std::vector<std::string> &sources);

}  // namespace tarnc

#endif
