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
    document.paths->node = reinterpret_cast<xmlNode *>(document.tree.get());
    XmlPointer<xmlXPathObject> result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(path), document.paths.get()));
    if (result == nullptr || result->type != XPATH_NODESET) return nullptr;
    if (result->nodesetval != nullptr) xmlXPathNodeSetSort(result->nodesetval);
    return result;
}

// The node with that index of each family. Null: no memory.
XmlPointer<xmlXPathObject> one_of_each(const Siblings &siblings, std::uint32_t index) {
    XmlPointer<xmlXPathObject> result(xmlXPathNewNodeSet(nullptr));
    if (result == nullptr || result->nodesetval == nullptr) return nullptr;
    for (const std::vector<xmlNode *> &family : siblings.families) {
        if (family.size() < index) continue;
        if (xmlXPathNodeSetAddUnique(result->nodesetval, family[index - 1]) != 0) return nullptr;
    }
    // A family inside another one can begin later and reach the index earlier.
    xmlXPathNodeSetSort(result->nodesetval);
    return result;
}

// Null: the path has no index, or needs an ordinary search.
XmlPointer<xmlXPathObject> evaluate_index(kel_xml_document &document, const char *path) try {
    const IndexedPath indexed(path);
    if (indexed.path.empty()) return nullptr;
    if (document.siblings.path != indexed.path) {
        const auto all = evaluate(document, std::string(indexed.path).c_str());
        if (all == nullptr) return nullptr;
        document.siblings.assign(indexed.path, all->nodesetval);
    }
    return one_of_each(document.siblings, indexed.index);
} catch (const std::bad_alloc &) {
    return nullptr;
}

}  // namespace

Selection::Selection(kel_xml_document *document, const char *path) {
    if (document == nullptr || path == nullptr) return;
    result_ = evaluate_index(*document, path);
    if (result_ == nullptr) result_ = evaluate(*document, path);
}

std::uint32_t Selection::count() const {
    return static_cast<std::uint32_t>(xmlXPathNodeSetGetLength(result_->nodesetval));
}

xmlNode *Selection::operator[](std::uint32_t index) const {
    return result_->nodesetval->nodeTab[index];
}

Content element_text(const xmlNode *element, std::string &text) {
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

std::uint32_t count_nodes(kel_xml_document *document, const char *path, std::uint32_t *count) {
    const Selection nodes(document, path);
    if (!nodes.valid()) return EINVAL;
    *count = nodes.count();
    return 0;
}

std::uint32_t copy_first_text(kel_xml_document *document, const char *path, char *area,
                              std::uint32_t area_length) try {
    const Selection nodes(document, path);
    if (!nodes.valid()) return EINVAL;
    if (nodes.count() == 0) return ENOENT;
    std::string text;
    element_text(nodes[0], text);
    if (area == nullptr || area_length == 0) return 0;
    const std::size_t length = std::min<std::size_t>(text.size(), area_length - 1);
    std::memcpy(area, text.data(), length);
    area[length] = '\0';
    return 0;
} catch (const std::bad_alloc &) {
    return ENOMEM;
}

}  // namespace tarnbase::runtime
