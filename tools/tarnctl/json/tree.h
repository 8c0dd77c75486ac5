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
#include <unordered_set>
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

    // An array or object that is open.
    struct Open {
        std::size_t node;
        uint64_t marks;                          // of the members' names, if there are few
        std::unordered_set<std::size_t> hashes;  // of them, if there are many
    };

    Node &add(Kind kind);
    // Notes a name of an object. Returns whether a member may have it already, so that names are
    // rarely compared one by one.
    bool note_name(Open &object, std::string_view name) const;
    template <class Function>
    void for_each_name(const Open &object, Function function) const;
    Text kept(std::string_view text);
    std::string_view text_of(const Text &text) const {
        return std::string_view(texts_).substr(text.begin, text.length);
    }

    std::vector<Node> nodes_;
    std::string texts_;
    std::vector<Open> open_;
    Text name_;  // of the next member
};

// A value to read.
// Lifetime: until its tree changes.
class JsonView {
 public:
    class Members;

    bool is_null() const { return node().kind == JsonTree::Kind::null; }
    bool is_object() const { return node().kind == JsonTree::Kind::object; }
    bool is_array() const { return node().kind == JsonTree::Kind::array; }
    bool is_integer() const {
        return node().kind == JsonTree::Kind::unsigned_number ||
               node().kind == JsonTree::Kind::signed_number;
    }
    bool equals(int64_t number) const;

    // The value, if it is of this kind; of a number, if it is an integer of the range.
    std::optional<bool> boolean() const;
    std::optional<std::string_view> string() const {
        if (node().kind != JsonTree::Kind::text) return std::nullopt;
        return tree_->text_of(node().content.text);
    }
    std::optional<uint64_t> unsigned_number() const {
        if (node().kind != JsonTree::Kind::unsigned_number) return std::nullopt;
        return node().content.unsigned_number;
    }
    std::optional<int64_t> signed_number() const;

    // Of an array or an object; 0 of another value.
    std::size_t size() const;
    // Requires: an array.
    std::vector<JsonView> elements() const;
    // A member, if the value is an object that has it.
    std::optional<JsonView> find(std::string_view name) const;
    // Requires: an object.
    Members members() const;

    // As Json::dump, on one line.
    std::string dump() const { return json().dump(); }

 private:
    friend class JsonTree;

    JsonView(const JsonTree &tree, std::size_t place) : tree_(&tree), place_(place) {}
    const JsonTree::Node &node() const { return tree_->nodes_[place_]; }
    // The value to write.
    Json json() const;
    Members inside() const;

    const JsonTree *tree_;
    std::size_t place_;
};

// The values inside an object, with their names, or inside an array, in their order.
class JsonView::Members {
 public:
    struct Member {
        std::string_view name;
        JsonView value;
    };

    Members(const JsonTree &tree, std::size_t next, std::size_t end)
        : tree_(&tree), next_(next), end_(end) {}

    Member operator*() const {
        return {tree_->text_of(tree_->nodes_[next_].name), JsonView(*tree_, next_)};
    }
    Members &operator++() {
        next_ = tree_->nodes_[next_].next;
        return *this;
    }
    bool operator!=(std::nullptr_t) const { return next_ != end_; }
    Members begin() const { return *this; }
    std::nullptr_t end() const { return nullptr; }

 private:
    const JsonTree *tree_;
    std::size_t next_;
    std::size_t end_;
};

inline JsonView::Members JsonView::inside() const { return {*tree_, place_ + 1, node().next}; }

}  // namespace tarnctl

#endif
