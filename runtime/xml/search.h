/* SPDX-License-Identifier: Apache-2.0 */
// The nodes of a document that an XPath selects.
#ifndef TARNBASE_RUNTIME_XML_SEARCH_H
#define TARNBASE_RUNTIME_XML_SEARCH_H

#include <cstdint>
#include <string>

#include "runtime/xml/document.h"

namespace tarn::runtime {

class Selection {
 public:
    // A null document or path, a bad path, and one that selects no nodes but
    // gives a number or a text, make an invalid selection.
    Selection(kel_xml_document *document, const char *path);

    bool valid() const { return result_ != nullptr; }
    std::uint32_t count() const;
    // In document order.
    xmlNode *operator[](std::uint32_t index) const;

 private:
    XmlPointer<xmlXPathObject> result_;
};

enum class Content { text, no_text };

// Appends the text in an element or attribute to `text`, character data alone.
// Elements inside it are no text. Throws std::bad_alloc.
Content element_text(const xmlNode *element, std::string &text);

}  // namespace tarn::runtime

#endif
