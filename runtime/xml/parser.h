/* SPDX-License-Identifier: Apache-2.0 */
// Parsing. A document is untrusted: no file is loaded for it, a document type declaration
// is an error where it starts, so no entity is expanded, and elements nest to a fixed depth,
// so that no walk over the tree overflows the stack. Texts may have any length.
#ifndef TARNBASE_RUNTIME_XML_PARSER_H
#define TARNBASE_RUNTIME_XML_PARSER_H

#include <string_view>

#include "runtime/xml/element_tree.h"
#include "runtime/xml/libxml.h"

namespace tarnbase::runtime {

// The first error: those that follow are mostly its consequences.
struct ParseError {
    int line = 0;
    char text[200] = "";

    void set(int at_line, const char *message);
};

// False: `error` is set. Throws std::bad_alloc. Requires: at most INT_MAX bytes.
bool parse_elements(std::string_view text, ElementTree &tree, ParseError &error);

// Parses a text that parse_elements accepts. Throws std::bad_alloc.
XmlPointer<xmlDoc> parse_tree(std::string_view text);

// For libxml2: its results show that an operation failed.
void ignore_error(void *, xmlErrorPtr error);

}  // namespace tarnbase::runtime

#endif
