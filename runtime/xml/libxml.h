/* SPDX-License-Identifier: Apache-2.0 */
// Owners of what libxml2 allocates.
#ifndef TARNBASE_RUNTIME_XML_LIBXML_H
#define TARNBASE_RUNTIME_XML_LIBXML_H

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>

namespace tarnbase::runtime {

struct XmlDelete {
    void operator()(xmlDict *names) const { xmlDictFree(names); }
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
    void operator()(xmlXPathContext *context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject *object) const { xmlXPathFreeObject(object); }
    void operator()(xmlParserCtxt *parser) const { xmlFreeParserCtxt(parser); }
};
template <typename T>
using XmlPointer = std::unique_ptr<T, XmlDelete>;

}  // namespace tarnbase::runtime

#endif
