/* SPDX-License-Identifier: Apache-2.0 */
// Finds the elements of plain paths in one pass over a document: the children of an element
// are read once, and found by name from then on. What the last path went through is kept:
// the paths of an object's fields differ in the last name only.
#ifndef TARNBASE_RUNTIME_XML_ELEMENT_INDEX_H
#define TARNBASE_RUNTIME_XML_ELEMENT_INDEX_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/xml/children.h"
#include "runtime/xml/path.h"

namespace tarnbase::runtime {

// What a path selects.
struct Found {
    std::size_t count = 0;
    Position first = 0;  // in document order, if there is one
};

class ElementIndex {
 public:
    // Of the elements from `root` to its last descendant.
    ElementIndex(const ElementTree &tree, Position root) : tree_(tree), root_(root) {}

    // Empty: the path isn't one of those found here. Throw std::bad_alloc.
    std::optional<Found> find(std::string_view text);
    // In document order.
    std::optional<std::vector<Position>> find_all(std::string_view text);

 private:
    // The elements that a path without an index selects.
    struct Level {
        std::string path;
        std::vector<Children> elements;
    };

    PlainPath parse(std::string_view text) const;
    Level &level_of(std::string_view path);
    std::vector<Children> elements_named(std::string_view name);
    std::vector<Children> children_named(std::string_view name);
    void find_families(const PlainPath &path);
    Found select(std::uint32_t index) const;

    const ElementTree &tree_;
    Position root_;
    std::vector<Level> levels_;  // each path continues the one before it by a name
    // What the last path selects, by parent. A path with an index selects one of each family.
    std::string last_path_;
    std::vector<const Siblings *> families_;
};

}  // namespace tarnbase::runtime

#endif
