// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/each.h"

#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include "runtime/base/error_text.h"
#include "runtime/xml/search.h"

namespace tarnbase::runtime {

namespace {

// A path that begins with two slashes searches the whole document, so the element must be
// the root of its own.
std::unique_ptr<kel_xml_document> document_of(xmlNode *element) {
    XmlPointer<xmlDoc> tree(xmlNewDoc(reinterpret_cast<const xmlChar *>("1.0")));
    if (tree == nullptr) throw std::bad_alloc();
    xmlNode *copy = xmlDocCopyNode(element, tree.get(), 1);
    if (copy == nullptr) throw std::bad_alloc();
    xmlDocSetRootElement(tree.get(), copy);
    return std::make_unique<kel_xml_document>(std::move(tree));
}

}  // namespace

std::uint32_t for_each_element(kel_xml_document *document, const char *path,
                               ElementFunction function, void *context, std::uint32_t *result) try {
    const Selection nodes(document, path);
    if (!nodes.valid()) {
        return fail(EINVAL, "XML: expected a path that selects elements, found \"%s\"",
                    path == nullptr ? "(null)" : path);
    }
    std::uint32_t last_result = 0;
    for (std::uint32_t i = 0; i < nodes.count() && last_result == 0; ++i) {
        if (nodes[i]->type != XML_ELEMENT_NODE) continue;
        last_result = function(document_of(nodes[i]).get(), context);
    }
    if (result != nullptr) *result = last_result;
    return 0;
} catch (const std::bad_alloc &) {
    return fail(ENOMEM, "XML: no memory for an element of \"%s\"", path);
}

}  // namespace tarnbase::runtime
