/* SPDX-License-Identifier: Apache-2.0 */
// The nodes of a document that an XPath selects.
#ifndef TARNBASE_RUNTIME_XML_SEARCH_H
#define TARNBASE_RUNTIME_XML_SEARCH_H

#include <cstdint>
#include <optional>
#include <string>

#include "runtime/xml/document.h"

namespace tarnbase::runtime {

class Selection {
 public:
    // Invalid for a null document or path, a bad path, and a path with a number or a text
    // as its result. Throws std::bad_alloc.
    Selection(kel_xml_document *document, const char *path);

    bool valid() const { return result_ != nullptr; }
    std::uint32_t count() const;
    // In document order.
    xmlNode *operator[](std::uint32_t index) const;

 private:
    XmlPointer<xmlXPathObject> result_;
};

enum class Content { text, no_text };

// As a Selection, with the first node only: most paths need no XPath.
class FirstMatch {
 public:
    // Throws std::bad_alloc.
    FirstMatch(kel_xml_document *document, const char *path);

    bool valid() const { return found_.has_value(); }
    std::size_t count() const { return found_->count; }
    // Appends the character data of the node, which must be there, to `text`. A child element
    // isn't text: it ends it. Throws std::bad_alloc.
    Content append_text(std::string &text) const;

 private:
    const ElementTree *elements_ = nullptr;
    std::optional<Found> found_;
    std::optional<Selection> nodes_;  // of a path that needs XPath
};

// Counts the nodes that `path` selects. Returns 0, EINVAL for an invalid selection, or
// ENOMEM.
std::uint32_t count_nodes(kel_xml_document *document, const char *path, std::uint32_t *count);

// Copies the text of the first node, cut to the area, which may be null. Returns 0, ENOENT
// if there is no node, EINVAL for an invalid selection, or ENOMEM.
std::uint32_t copy_first_text(kel_xml_document *document, const char *path, char *area,
                              std::uint32_t area_length);

}  // namespace tarnbase::runtime

#endif
