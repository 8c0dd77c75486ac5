/* SPDX-License-Identifier: Apache-2.0 */
// A parsed document and what its searches keep between them.
#ifndef TARNBASE_RUNTIME_XML_DOCUMENT_H
#define TARNBASE_RUNTIME_XML_DOCUMENT_H

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>

#include "runtime/xml/siblings.h"
#include "tarnbase/embedded.h"

namespace tarn::runtime {

struct XmlDelete {
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
    void operator()(xmlXPathContext *context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject *object) const { xmlXPathFreeObject(object); }
    void operator()(xmlParserCtxt *parser) const { xmlFreeParserCtxt(parser); }
};
template <typename T>
using XmlPointer = std::unique_ptr<T, XmlDelete>;

}  // namespace tarn::runtime

struct kel_xml_document {
    // Takes the tree over. Throws std::bad_alloc.
    explicit kel_xml_document(tarn::runtime::XmlPointer<xmlDoc> document);

    tarn::runtime::XmlPointer<xmlDoc> tree;
    tarn::runtime::XmlPointer<xmlXPathContext> paths;  // goes before the tree
    tarn::runtime::Siblings siblings;
};

#endif
