/* SPDX-License-Identifier: Apache-2.0 */
// A parsed document, and what is kept from one search to the next.
#ifndef TARNBASE_RUNTIME_XML_DOCUMENT_H
#define TARNBASE_RUNTIME_XML_DOCUMENT_H

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>

#include "runtime/xml/siblings.h"
#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

struct XmlDelete {
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
    void operator()(xmlXPathContext *context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject *object) const { xmlXPathFreeObject(object); }
    void operator()(xmlParserCtxt *parser) const { xmlFreeParserCtxt(parser); }
};
template <typename T>
using XmlPointer = std::unique_ptr<T, XmlDelete>;

}  // namespace tarnbase::runtime

struct kel_xml_document {
    // Takes the tree over. Throws std::bad_alloc.
    explicit kel_xml_document(tarnbase::runtime::XmlPointer<xmlDoc> document);

    tarnbase::runtime::XmlPointer<xmlDoc> tree;
    tarnbase::runtime::XmlPointer<xmlXPathContext> paths;  // destroyed before the tree
    tarnbase::runtime::Siblings siblings;
};

namespace tarnbase::runtime {

// Null on failure; the error text has the line and what was expected.
kel_xml_document *parse_document(const char *text, std::size_t length);

}  // namespace tarnbase::runtime

#endif
