/* SPDX-License-Identifier: Apache-2.0 */
// The child elements of an element, by name.
#ifndef TARNBASE_RUNTIME_XML_CHILDREN_H
#define TARNBASE_RUNTIME_XML_CHILDREN_H

#include <string_view>
#include <vector>

#include "runtime/xml/element_tree.h"

namespace tarnbase::runtime {

// The children of one name, in document order.
class Siblings {
 public:
    Siblings(const char *name, Position first) : name_(name), first_(first) {}

    void append(Position element) { others_.push_back(element); }

    const char *name() const { return name_; }
    std::size_t count() const { return 1 + others_.size(); }
    // Counted from 1. Requires: there are as many.
    Position nth(std::size_t index) const { return index == 1 ? first_ : others_[index - 2]; }

 private:
    const char *name_;
    Position first_;
    std::vector<Position> others_;  // mostly empty, and then without an allocation
};

class Children {
 public:
    explicit Children(Position element) : element_(element) {}

    Position element() const { return element_; }
    // Null: no child has the name. The first call reads all children. Throws std::bad_alloc.
    const Siblings *named(const ElementTree &tree, std::string_view name);

 private:
    using Slot = std::uint32_t;  // a position in `groups_`, counted from 1; 0: free

    void read(const ElementTree &tree);
    void add(const ElementTree &tree, Position child);
    // The slot of a name: a free one if no child read so far has it.
    Slot &slot_of(const char *name);
    void double_slots();

    Position element_;
    bool is_read_ = false;
    std::size_t expected_ = 0;      // the group of the next call, if names come in order
    std::vector<Siblings> groups_;  // in document order of their first elements
    std::vector<Slot> slots_;       // by the name's address; a power of two, at most half used
};

}  // namespace tarnbase::runtime

#endif
