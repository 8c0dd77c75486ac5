// SPDX-License-Identifier: Apache-2.0
//
// The forms of a document of records, and how they are recognised.
#ifndef TARNCTL_EXCHANGE_FORMAT_H
#define TARNCTL_EXCHANGE_FORMAT_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tarnctl {

enum class Format { xml, json, yang_json, frames };

// Their names on the command line.
inline const std::map<std::string, Format> format_names = {{"xml", Format::xml},
                                                           {"json", Format::json},
                                                           {"yang-json", Format::yang_json},
                                                           {"frames", Format::frames}};

// By the end of a file's name: .xml, .json, .yang.json or .frames.
std::optional<Format> format_of_name(std::string_view path);
// By the first bytes of a document.
std::optional<Format> format_of_content(std::string_view beginning);

// Advice about a document of another version than `format_version`, to append to the error; empty
// for a version that no release writes.
std::string_view advice_on_version(std::string_view version);

// May begin a text document.
inline constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

// The first bytes of a document of frames, and its version.
inline constexpr std::string_view frames_magic = "TARNFRAM";
inline constexpr int format_version = 1;

}  // namespace tarnctl

#endif
