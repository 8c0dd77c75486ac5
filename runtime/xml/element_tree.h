/* SPDX-License-Identifier: Apache-2.0 */
// The elements of a document with their texts, all that the paths of path.h need: a
// fraction of the memory and time of a tree of libxml2.
#ifndef TARNBASE_RUNTIME_XML_ELEMENT_TREE_H
#define TARNBASE_RUNTIME_XML_ELEMENT_TREE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/xml/libxml.h"

namespace tarnbase::runtime {

// Elements are numbered in document order; the root is 0.
using Position = std::uint32_t;

class ElementTree {
 public:
    // While parsing. A name is in `names`; null for one in a namespace, which no plain path
    // selects. All throw std::bad_alloc.
    void set_names(XmlPointer<xmlDict> names) { names_ = std::move(names); }
    void start_element(const xmlChar *name);
    void add_text(std::string_view text);
    void end_element();
    std::size_t depth() const { return open_.size(); }

    Position count() const { return static_cast<Position>(elements_.size()); }
    // The element's name; equal names are at one address.
    const char *name(Position element) const { return elements_[element].name; }
    // Null: no element has the name.
    const char *known_name(std::string_view name) const;
    // The first element after the ones inside `element`.
    Position end(Position element) const { return elements_[element].end; }
    bool has_children(Position element) const { return end(element) > element + 1; }
    // The text before the first child.
    std::string_view text(Position element) const {
        const Element &found = elements_[element];
        return std::string_view(texts_).substr(found.text_start, found.text_length);
    }

 private:
    struct Element {
        const char *name;
        std::size_t text_start;
        std::size_t text_length;
        Position end;
    };

    std::vector<Element> elements_;
    std::vector<Position> open_;
    std::string texts_;
    XmlPointer<xmlDict> names_;
};

}  // namespace tarnbase::runtime

#endif
