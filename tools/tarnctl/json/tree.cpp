// SPDX-License-Identifier: Apache-2.0
#include "json/tree.h"

#include <functional>

namespace tarnctl {
namespace {

constexpr std::size_t most_marks = 64;

// One bit, which differs for most names of an object.
uint64_t mark_of(std::string_view name) {
    const auto byte = [&](std::size_t place) { return static_cast<unsigned char>(name[place]); };
    if (name.empty()) return 1;
    const std::size_t sum =
        name.size() + 5U * byte(0) + 11U * byte(name.size() / 2) + 23U * byte(name.size() - 1);
    return uint64_t{1} << (sum % most_marks);
}

}  // namespace

void JsonTree::clear() {
    nodes_.clear();
    texts_.clear();
    open_.clear();
    name_ = {};
}

JsonTree::Node &JsonTree::add(Kind kind) {
    if (!open_.empty()) ++nodes_[open_.back().node].content.size;
    Node &node = nodes_.emplace_back(Node{kind, name_, nodes_.size() + 1, {}});
    name_ = {};
    return node;
}

template <class Function>
void JsonTree::for_each_name(const Open &object, Function function) const {
    for (std::size_t i = object.node + 1; i < nodes_.size(); i = nodes_[i].next)
        function(text_of(nodes_[i].name));
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
    open_.push_back({nodes_.size() - 1, 0, {}});
}

void JsonTree::close() {
    nodes_[open_.back().node].next = nodes_.size();
    open_.pop_back();
}

bool JsonTree::note_name(Open &object, std::string_view name) const {
    const std::size_t members = nodes_[object.node].content.size;
    if (members < most_marks) {
        const uint64_t before = object.marks;
        object.marks |= mark_of(name);
        return object.marks == before;
    }
    constexpr std::hash<std::string_view> hash;
    if (members == most_marks) {
        for_each_name(object, [&](std::string_view each) { object.hashes.insert(hash(each)); });
    }
    return !object.hashes.insert(hash(name)).second;
}

bool JsonTree::name(std::string_view name) {
    Open &object = open_.back();
    if (note_name(object, name)) {
        bool has = false;
        for_each_name(object, [&](std::string_view each) { has = has || each == name; });
        if (has) return false;
    }
    name_ = kept(name);
    return true;
}

std::string JsonTree::path_of(std::string_view name) const {
    std::string path;
    for (const Open &each : open_) {
        const std::string_view outer = text_of(nodes_[each.node].name);
        if (!outer.empty()) path.append(outer) += '.';
    }
    return path.append(name);
}

JsonView JsonTree::root() const { return {*this, 0}; }

bool JsonView::equals(int64_t number) const {
    if (node().kind == JsonTree::Kind::real)
        return node().content.real == static_cast<double>(number);
    return signed_number() == number;
}

std::optional<bool> JsonView::boolean() const {
    if (node().kind != JsonTree::Kind::boolean) return std::nullopt;
    return node().content.truth;
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
    for (const auto &[name, value] : inside()) elements.push_back(value);
    return elements;
}

std::optional<JsonView> JsonView::find(std::string_view name) const {
    if (!is_object()) return std::nullopt;
    for (const auto &[each, value] : inside()) {
        if (each == name) return value;
    }
    return std::nullopt;
}

JsonView::Members JsonView::members() const { return inside(); }

// NOLINTNEXTLINE(misc-no-recursion): as deep as a document nests
Json JsonView::json() const {
    if (is_null()) return nullptr;
    if (const auto truth = boolean()) return *truth;
    if (const auto text = string()) return *text;
    if (const auto number = unsigned_number()) return *number;
    if (const auto number = signed_number()) return *number;
    if (node().kind == JsonTree::Kind::real) return node().content.real;
    Json made = is_array() ? Json::array() : Json::object();
    for (const auto &[name, value] : inside()) {
        if (is_array()) made.add(value.json());
        else made.set(name, value.json());
    }
    return made;
}

}  // namespace tarnctl
