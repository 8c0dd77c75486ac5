// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/search.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace tarnbase::runtime {

namespace {

XmlPointer<xmlXPathObject> evaluate(kel_xml_document &document, const char *path) {
    xmlXPathContext &paths = document.paths();
    paths.node = reinterpret_cast<xmlNode *>(paths.doc);
    XmlPointer<xmlXPathObject> result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(path), &paths));
    if (result == nullptr || result->type != XPATH_NODESET) return nullptr;
    if (result->nodesetval != nullptr) xmlXPathNodeSetSort(result->nodesetval);
    return result;
}

// Of an element or an attribute.
Content append_node_text(const xmlNode *element, std::string &text) {
    if (element->type != XML_ELEMENT_NODE && element->type != XML_ATTRIBUTE_NODE) {
        return Content::no_text;
    }
    for (const xmlNode *node = element->children; node != nullptr; node = node->next) {
        if (node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE) continue;
        if (node->type != XML_TEXT_NODE && node->type != XML_CDATA_SECTION_NODE) {
            return Content::no_text;
        }
        if (node->content != nullptr) text += reinterpret_cast<const char *>(node->content);
    }
    return Content::text;
}

}  // namespace

Selection::Selection(kel_xml_document *document, const char *path) {
    if (document != nullptr && path != nullptr) result_ = evaluate(*document, path);
}

std::uint32_t Selection::count() const {
    return static_cast<std::uint32_t>(xmlXPathNodeSetGetLength(result_->nodesetval));
}

xmlNode *Selection::operator[](std::uint32_t index) const {
    return result_->nodesetval->nodeTab[index];
}

FirstMatch::FirstMatch(kel_xml_document *document, const char *path) {
    if (document == nullptr || path == nullptr) return;
    elements_ = &document->text->elements();
    found_ = document->index.find(path);
    if (found_) return;
    nodes_.emplace(document, path);
    if (nodes_->valid()) found_ = Found{nodes_->count()};
}

Content FirstMatch::append_text(std::string &text) const {
    if (nodes_) return append_node_text((*nodes_)[0], text);
    text += elements_->text(found_->first);
    return elements_->has_children(found_->first) ? Content::no_text : Content::text;
}

std::uint32_t count_nodes(kel_xml_document *document, const char *path, std::uint32_t *count) try {
    const FirstMatch match(document, path);
    if (!match.valid()) return EINVAL;
    *count = static_cast<std::uint32_t>(match.count());
    return 0;
} catch (const std::bad_alloc &) {
    return ENOMEM;
}

std::uint32_t copy_first_text(kel_xml_document *document, const char *path, char *area,
                              std::uint32_t area_length) try {
    const FirstMatch match(document, path);
    if (!match.valid()) return EINVAL;
    if (match.count() == 0) return ENOENT;
    if (area == nullptr || area_length == 0) return 0;
    std::string text;
    match.append_text(text);
    const std::size_t length = std::min<std::size_t>(text.size(), area_length - 1);
    std::memcpy(area, text.data(), length);
    area[length] = '\0';
    return 0;
} catch (const std::bad_alloc &) {
    return ENOMEM;
}

}  // namespace tarnbase::runtime
