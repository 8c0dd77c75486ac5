// SPDX-License-Identifier: Apache-2.0
//
// JSON values that are read. All values of a document's record are in one vector, in their order,
// and all texts in one string, so that reading the next record allocates nothing.
#ifndef TARNCTL_JSON_TREE_H
#define TARNCTL_JSON_TREE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/document.h"

namespace tarnctl {

class JsonView;

// A value that is made from the events of a parser, in their order.
class JsonTree {
 public:
    // Removes the value.
    void clear();

    // Each adds the value, or the next one of the open array or object. Requires: in an object,
    // name() was called.
    void add_null();
    void add_boolean(bool truth);
    void add_unsigned(uint64_t number);
    void add_signed(int64_t number);
    void add_real(double number);
    void add_text(std::string_view text);
    void open(bool array);

    // Ends the array or object that was opened last.
    void close();
    // The name of the next member of the open object. Returns false if it has that name already.
    bool name(std::string_view name);

    // The arrays and objects that are open.
    std::size_t depth() const { return open_.size(); }
    // The path of a member of the open object: the names of the objects around it, with dots.
    std::string path_of(std::string_view name) const;
    // Requires: a value was added, and nothing is open.
    JsonView root() const;

 private:
    friend class JsonView;

    enum class Kind : uint8_t {
        null,
        boolean,
        unsigned_number,
        signed_number,
        real,
        text,
        array,
        object
    };
    // A part of `texts_`.
    struct Text {
        std::size_t begin = 0;
        std::size_t length = 0;
    };
    union Content {
        bool truth;
        uint64_t unsigned_number;
        int64_t signed_number;
        double real;
        Text text;
        std::size_t size;  // of an array or an object
    };
    struct Node {
        Kind kind;
        Text name;         // of a member
        std::size_t next;  // the node after the value and all inside it
        Content content;
    };

    Node &add(Kind kind);
    Text kept(std::string_view text);
    std::string_view text_of(const Text &text) const {
        return std::string_view(texts_).substr(text.begin, text.length);
    }

    std::vector<Node> nodes_;
    std::string texts_;
    std::vector<std::size_t> open_;  // nodes
    Text name_;                      // of the next member
};

// A value to read.
// Lifetime: until its tree changes.
class JsonView {
 public:
    bool is_null() const;
    bool is_object() const;
    bool is_array() const;
    bool is_integer() const;
    bool equals(int64_t number) const;

    // The value, if it is of this kind; of a number, if it is an integer of the range.
    std::optional<bool> boolean() const;
    std::optional<std::string_view> string() const;
    std::optional<uint64_t> unsigned_number() const;
    std::optional<int64_t> signed_number() const;

    // Of an array or an object; 0 of another value.
    std::size_t size() const;
    // Requires: an array.
    std::vector<JsonView> elements() const;
    // A member, if the value is an object that has it.
    std::optional<JsonView> find(std::string_view name) const;
    // Requires: an object.
    std::vector<std::pair<std::string_view, JsonView>> members() const;

    // As Json::dump, on one line.
    std::string dump() const { return json().dump(); }

 private:
    friend class JsonTree;

    JsonView(const JsonTree &tree, std::size_t place) : tree_(&tree), place_(place) {}
    const JsonTree::Node &node() const { return tree_->nodes_[place_]; }
    // The value to write.
    Json json() const;
    // Calls `function` with the name and the view of each value inside, until it returns false.
    template <class Function>
    void for_each(Function function) const;

    const JsonTree *tree_;
    std::size_t place_;
};

}  // namespace tarnctl

#endif
