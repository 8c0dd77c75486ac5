// SPDX-License-Identifier: Apache-2.0
// The exported functions of an item. A catalogue, templates/*.ops, lists them once,
// as functions; prototypes, stamps and the export list are all made from it.
//
//   /* What it does. A paragraph may go over several lines.
//      Returns: a line that begins with a word and a colon begins a paragraph. */
//   @unsafe                       optional: exported as <name>_unsafe too
//   @weak                         optional: a weak symbol
//   @wide                         optional: whatever a caller passes after the
//                                 arguments is passed on, up to `sixth`
//   result name(arguments)        on one line
//   { body }                      on one line
#ifndef TARNC_OPERATIONS_H
#define TARNC_OPERATIONS_H

#include <string>
#include <vector>

#include "render.h"

namespace tarnc {

struct Operation {
    std::vector<std::string> meaning;  // paragraphs
    std::string result;                // "kel_table *", "uint32_t "
    std::string name;
    std::vector<std::string> arguments;  // "kel_handle *handle"
    std::string body;                    // "return f(handle);"
    bool has_twin = false;
    bool is_weak = false;
    bool is_wide = false;

    // The name, and that of the `_unsafe` twin if there is one.
    std::vector<std::string> names() const;
};

// The operations that a catalogue gives for an item.
std::vector<Operation> list_operations(std::string_view catalogue, const Context &item);

// As declarations with their meaning, for a public header.
std::string declare_operations(const std::vector<Operation> &operations);

// As definitions, for a stamp.
std::string define_operations(const std::vector<Operation> &operations);

}  // namespace tarnc

#endif
