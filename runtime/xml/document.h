/* SPDX-License-Identifier: Apache-2.0 */
// A parsed document, or an element of one as a document of its own, and what is kept from
// one search to the next.
#ifndef TARNBASE_RUNTIME_XML_DOCUMENT_H
#define TARNBASE_RUNTIME_XML_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/xml/element_index.h"
#include "runtime/xml/element_tree.h"
#include "runtime/xml/libxml.h"
#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

// A text and its elements. The first XPath parses it once more, to a tree of libxml2.
class ParsedText {
 public:
    ParsedText(std::string_view text, ElementTree elements)
        : text_(text), elements_(std::move(elements)) {}

    const ElementTree &elements() const { return elements_; }
    // Both throw std::bad_alloc.
    xmlDoc *tree();
    xmlNode *node(Position element);

 private:
    std::string text_;
    ElementTree elements_;
    XmlPointer<xmlDoc> tree_;
    std::vector<xmlNode *> nodes_;  // of the elements
};

}  // namespace tarnbase::runtime

struct kel_xml_document {
    // The elements from `root` to its last descendant.
    kel_xml_document(std::shared_ptr<tarnbase::runtime::ParsedText> text,
                     tarnbase::runtime::Position root);

    // The context of XPath searches. Throws std::bad_alloc.
    xmlXPathContext &paths();

    const std::shared_ptr<tarnbase::runtime::ParsedText> text;
    tarnbase::runtime::ElementIndex index;

 private:
    const tarnbase::runtime::Position root_;
    tarnbase::runtime::XmlPointer<xmlDoc> copy_;  // of another element than the text's root
    tarnbase::runtime::XmlPointer<xmlXPathContext> paths_;  // destroyed before its document
};

namespace tarnbase::runtime {

// Null on failure; the error text has the line and what was expected.
kel_xml_document *parse_document(const char *text, std::size_t length);

// Requires: an element of a document of paths().
Position position_of(const xmlNode *element);

}  // namespace tarnbase::runtime

#endif
