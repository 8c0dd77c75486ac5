// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/document.h"

#include <cerrno>
#include <climits>
#include <new>
#include <utility>

#include "runtime/base/error_text.h"
#include "runtime/xml/parser.h"

namespace {

using namespace tarnbase::runtime;

// The next node in document order of the tree below `root`.
xmlNode *next_node(xmlNode *node, const xmlNode *root) {
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node != root && node->next == nullptr) node = node->parent;
    return node == root ? nullptr : node->next;
}

// Stores the positions of a tree's elements in its nodes, from `position` on.
void number_elements(xmlNode *root, Position position) {
    for (xmlNode *node = root; node != nullptr; node = next_node(node, root)) {
        if (node->type != XML_ELEMENT_NODE) continue;
        node->_private = reinterpret_cast<void *>(std::uintptr_t{position++});
    }
}

// A path that begins with two slashes searches the whole document, so the element must be
// the root of its own.
XmlPointer<xmlDoc> document_of(xmlNode *element) {
    XmlPointer<xmlDoc> tree(xmlNewDoc(reinterpret_cast<const xmlChar *>("1.0")));
    if (tree == nullptr) throw std::bad_alloc();
    xmlNode *copy = xmlDocCopyNode(element, tree.get(), 1);
    if (copy == nullptr) throw std::bad_alloc();
    xmlDocSetRootElement(tree.get(), copy);
    number_elements(copy, position_of(element));
    return tree;
}

}  // namespace

namespace tarnbase::runtime {

xmlDoc *ParsedText::tree() {
    if (tree_ == nullptr) {
        XmlPointer<xmlDoc> tree = parse_tree(text_);
        xmlNode *const root = xmlDocGetRootElement(tree.get());
        number_elements(root, 0);
        nodes_.clear();
        nodes_.reserve(elements_.count());
        for (xmlNode *node = root; node != nullptr; node = next_node(node, root)) {
            if (node->type == XML_ELEMENT_NODE) nodes_.push_back(node);
        }
        tree_ = std::move(tree);
    }
    return tree_.get();
}

xmlNode *ParsedText::node(Position element) {
    tree();
    return nodes_[element];
}

Position position_of(const xmlNode *element) {
    return static_cast<Position>(reinterpret_cast<std::uintptr_t>(element->_private));
}

kel_xml_document *parse_document(const char *text, std::size_t length) try {
    if (text == nullptr || length > INT_MAX) {
        fail(EINVAL, "XML: expected a text of at most %d bytes", INT_MAX);
        return nullptr;
    }
    ParseError error;
    ElementTree elements;
    if (!parse_elements({text, length}, elements, error)) {
        fail(EINVAL, "XML: line %d: %s", error.line, error.text);
        return nullptr;
    }
    auto parsed = std::make_shared<ParsedText>(std::string_view(text, length), std::move(elements));
    return new kel_xml_document(std::move(parsed), 0);
} catch (const std::bad_alloc &) {
    fail(ENOMEM, "XML: no memory for the document");
    return nullptr;
}

}  // namespace tarnbase::runtime

kel_xml_document::kel_xml_document(std::shared_ptr<ParsedText> parsed, Position root)
    : text(std::move(parsed)), index(text->elements(), root), root_(root) {}

xmlXPathContext &kel_xml_document::paths() {
    if (paths_ != nullptr) return *paths_;
    if (root_ != 0 && copy_ == nullptr) copy_ = document_of(text->node(root_));
    xmlDoc *const document = root_ == 0 ? text->tree() : copy_.get();
    // Numbers the nodes, so that ordering them takes no walk along their siblings.
    xmlXPathOrderDocElems(document);
    paths_.reset(xmlXPathNewContext(document));
    if (paths_ == nullptr) throw std::bad_alloc();
    paths_->error = ignore_error;
    // Reuses what one search allocates in the next.
    xmlXPathContextSetCache(paths_.get(), 1, -1, 0);
    return *paths_;
}
