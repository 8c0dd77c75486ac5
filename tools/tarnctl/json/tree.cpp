// SPDX-License-Identifier: Apache-2.0
#include "json/tree.h"

namespace tarnctl {

void JsonTree::clear() {
    nodes_.clear();
    texts_.clear();
    open_.clear();
    name_ = {};
}

JsonTree::Node &JsonTree::add(Kind kind) {
    if (!open_.empty()) ++nodes_[open_.back()].content.size;
    Node &node = nodes_.emplace_back(Node{kind, name_, nodes_.size() + 1, {}});
    name_ = {};
    return node;
}

JsonTree::Text JsonTree::kept(std::string_view text) {
    const Text place{texts_.size(), text.size()};
    texts_ += text;
    return place;
}

void JsonTree::add_null() { add(Kind::null); }
void JsonTree::add_boolean(bool truth) { add(Kind::boolean).content.truth = truth; }
void JsonTree::add_unsigned(uint64_t number) {
    add(Kind::unsigned_number).content.unsigned_number = number;
}
void JsonTree::add_signed(int64_t number) {
    add(Kind::signed_number).content.signed_number = number;
}
void JsonTree::add_real(double number) { add(Kind::real).content.real = number; }
void JsonTree::add_text(std::string_view text) { add(Kind::text).content.text = kept(text); }

void JsonTree::open(bool array) {
    add(array ? Kind::array : Kind::object).content.size = 0;
    open_.push_back(nodes_.size() - 1);
}

void JsonTree::close() {
    nodes_[open_.back()].next = nodes_.size();
    open_.pop_back();
}

bool JsonTree::name(std::string_view name) {
    for (std::size_t i = open_.back() + 1; i < nodes_.size(); i = nodes_[i].next) {
        if (text_of(nodes_[i].name) == name) return false;
    }
    name_ = kept(name);
    return true;
}

std::string JsonTree::path_of(std::string_view name) const {
    std::string path;
    for (const std::size_t each : open_) {
        if (nodes_[each].name.length > 0) path.append(text_of(nodes_[each].name)) += '.';
    }
    return path.append(name);
}

JsonView JsonTree::root() const { return {*this, 0}; }

template <class Function>
void JsonView::for_each(Function function) const {
    for (std::size_t i = place_ + 1; i < node().next; i = tree_->nodes_[i].next) {
        if (!function(tree_->text_of(tree_->nodes_[i].name), JsonView(*tree_, i))) return;
    }
}

bool JsonView::is_null() const { return node().kind == JsonTree::Kind::null; }
bool JsonView::is_object() const { return node().kind == JsonTree::Kind::object; }
bool JsonView::is_array() const { return node().kind == JsonTree::Kind::array; }
bool JsonView::is_integer() const {
    return node().kind == JsonTree::Kind::unsigned_number ||
           node().kind == JsonTree::Kind::signed_number;
}

bool JsonView::equals(int64_t number) const {
    if (node().kind == JsonTree::Kind::real)
        return node().content.real == static_cast<double>(number);
    return signed_number() == number;
}

std::optional<bool> JsonView::boolean() const {
    if (node().kind != JsonTree::Kind::boolean) return std::nullopt;
    return node().content.truth;
}

std::optional<std::string_view> JsonView::string() const {
    if (node().kind != JsonTree::Kind::text) return std::nullopt;
    return tree_->text_of(node().content.text);
}

std::optional<uint64_t> JsonView::unsigned_number() const {
    if (node().kind != JsonTree::Kind::unsigned_number) return std::nullopt;
    return node().content.unsigned_number;
}

std::optional<int64_t> JsonView::signed_number() const {
    if (node().kind == JsonTree::Kind::signed_number) return node().content.signed_number;
    const std::optional<uint64_t> number = unsigned_number();
    if (!number || *number > INT64_MAX) return std::nullopt;
    return static_cast<int64_t>(*number);
}

std::size_t JsonView::size() const { return is_array() || is_object() ? node().content.size : 0; }

std::vector<JsonView> JsonView::elements() const {
    std::vector<JsonView> elements;
    elements.reserve(size());
    for_each([&](std::string_view, JsonView value) {
        elements.push_back(value);
        return true;
    });
    return elements;
}

std::optional<JsonView> JsonView::find(std::string_view name) const {
    std::optional<JsonView> found;
    if (!is_object()) return found;
    for_each([&](std::string_view each, JsonView value) {
        if (each == name) found = value;
        return !found;
    });
    return found;
}

std::vector<std::pair<std::string_view, JsonView>> JsonView::members() const {
    std::vector<std::pair<std::string_view, JsonView>> members;
    members.reserve(size());
    for_each([&](std::string_view name, JsonView value) {
        members.emplace_back(name, value);
        return true;
    });
    return members;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a document nests
Json JsonView::json() const {
    if (is_null()) return nullptr;
    if (const auto truth = boolean()) return *truth;
    if (const auto text = string()) return *text;
    if (const auto number = unsigned_number()) return *number;
    if (const auto number = signed_number()) return *number;
    if (node().kind == JsonTree::Kind::real) return node().content.real;
    Json made = is_array() ? Json::array() : Json::object();
    for_each([&](std::string_view name, JsonView value) {
        if (is_array()) made.add(value.json());
        else made.set(name, value.json());
        return true;
    });
    return made;
}

}  // namespace tarnctl
