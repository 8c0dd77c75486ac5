/* SPDX-License-Identifier: Apache-2.0 */
// The nodes of a document that an XPath selects.
#ifndef TARNBASE_RUNTIME_XML_SEARCH_H
#define TARNBASE_RUNTIME_XML_SEARCH_H

#include <cstdint>
#include <string>

#include "runtime/xml/document.h"

namespace tarnbase::runtime {

class Selection {
 public:
    // Invalid for a null document or path, a bad path, and a path with a number or a text
    // as its result.
    Selection(kel_xml_document *document, const char *path);

    bool valid() const { return result_ != nullptr; }
    std::uint32_t count() const;
    // In document order.
    xmlNode *operator[](std::uint32_t index) const;

 private:
    XmlPointer<xmlXPathObject> result_;
};

enum class Content { text, no_text };

// Appends the character data of an element or attribute to `text`. An element inside it is
// not text. Throws std::bad_alloc.
Content element_text(const xmlNode *element, std::string &text);

// Counts the nodes that `path` selects. Returns 0, or EINVAL for an invalid selection.
std::uint32_t count_nodes(kel_xml_document *document, const char *path, std::uint32_t *count);

// Copies the text of the first node, cut to the area, which may be null. Returns 0, ENOENT
// if there is no node, EINVAL for an invalid selection, or ENOMEM.
std::uint32_t copy_first_text(kel_xml_document *document, const char *path, char *area,
                              std::uint32_t area_length);

}  // namespace tarnbase::runtime

#endif
