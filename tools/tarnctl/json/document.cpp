// SPDX-License-Identifier: Apache-2.0
#include "json/document.h"

#include <nlohmann/json.hpp>

namespace tarnctl {
namespace {

using Document = nlohmann::ordered_json;

std::string dumped(const Document &value, int indent) {
    return value.dump(indent, ' ', false, Document::error_handler_t::replace);
}

// Makes place for members: growth copies their names.
void expect(Document &object, std::size_t members) {
    auto &all = object.get_ref<Document::object_t &>();
    all.reserve(all.size() + members);
}

}  // namespace

void Json::Free::operator()(Document *value) const { delete value; }

Json::Owned Json::make(bool truth) { return Owned(new Document(truth)); }
Json::Owned Json::make(uint64_t number) { return Owned(new Document(number)); }
Json::Owned Json::make(int64_t number) { return Owned(new Document(number)); }

Json::Json(std::nullptr_t) : value_(new Document) {}
Json::Json(double number) : value_(new Document(number)) {}
Json::Json(std::string_view text) : value_(new Document(text)) {}
Json::Json(const std::vector<uint8_t> &numbers) : value_(new Document(numbers)) {}
Json::Json(const std::vector<std::string> &texts) : value_(new Document(texts)) {}
Json::Json(std::initializer_list<Member> members) : value_(new Document(Document::object())) {
    expect(*value_, members.size());
    for (const Member &each : members) set(each.name, std::move(each.value));
}

Json Json::array() { return Json(std::vector<uint8_t>()); }
Json Json::object() { return Json(std::initializer_list<Member>()); }

void Json::set(std::string_view name, Json value) {
    (*value_)[std::string(name)] = std::move(*value.value_);
}

void Json::update(Json object) {
    constexpr std::size_t others = 8;  // that are often set afterwards
    expect(*value_, object.value_->size() + others);
    for (auto &[name, value] : object.value_->get_ref<Document::object_t &>())
        (*value_)[name] = std::move(value);
}

void Json::add(Json value) { value_->push_back(std::move(*value.value_)); }

std::string Json::dump(int indent) const { return dumped(*value_, indent); }

bool JsonView::is_null() const { return value_->is_null(); }
bool JsonView::is_object() const { return value_->is_object(); }
bool JsonView::is_array() const { return value_->is_array(); }
bool JsonView::is_integer() const { return value_->is_number_integer(); }
bool JsonView::equals(int64_t number) const { return *value_ == number; }

std::optional<bool> JsonView::boolean() const {
    if (!value_->is_boolean()) return std::nullopt;
    return value_->get<bool>();
}

std::optional<std::string_view> JsonView::string() const {
    if (!value_->is_string()) return std::nullopt;
    return value_->get_ref<const std::string &>();
}

// The parser makes every integer that isn't negative an unsigned one.
std::optional<uint64_t> JsonView::unsigned_number() const {
    if (!value_->is_number_unsigned()) return std::nullopt;
    return value_->get<uint64_t>();
}

std::optional<int64_t> JsonView::signed_number() const {
    const bool fits = value_->is_number_unsigned() ? value_->get<uint64_t>() <= INT64_MAX
                                                   : value_->is_number_integer();
    if (!fits) return std::nullopt;
    return value_->get<int64_t>();
}

std::size_t JsonView::size() const { return value_->size(); }
JsonView JsonView::at(std::size_t index) const { return JsonView((*value_)[index]); }

std::optional<JsonView> JsonView::find(std::string_view name) const {
    if (!value_->is_object()) return std::nullopt;
    const auto found = value_->find(std::string(name));
    if (found == value_->end()) return std::nullopt;
    return JsonView(*found);
}

std::vector<std::pair<std::string_view, JsonView>> JsonView::members() const {
    const auto &object = value_->get_ref<const nlohmann::ordered_json::object_t &>();
    std::vector<std::pair<std::string_view, JsonView>> members;
    members.reserve(object.size());
    for (const auto &[name, value] : object) members.emplace_back(name, JsonView(value));
    return members;
}

std::string JsonView::dump() const { return dumped(*value_, -1); }

}  // namespace tarnctl
