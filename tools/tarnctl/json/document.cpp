// SPDX-License-Identifier: Apache-2.0
#include "json/document.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>

namespace tarnctl {
namespace {

using Document = nlohmann::ordered_json;

std::string dumped(const Document &value) {
    return value.dump(-1, ' ', false, Document::error_handler_t::replace);
}

// Whether a text is written as it is, between quotes.
bool is_plain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        return character >= ' ' && character <= '~' && character != '"' && character != '\\';
    });
}

void append_quoted(std::string &out, std::string_view text) {
    if (!is_plain(text)) {
        out += dumped(text);
        return;
    }
    out += '"';
    out += text;
    out += '"';
}

template <class Number>
std::string text_of_integer(Number number) {
    char digits[std::numeric_limits<Number>::digits10 + 2];
    return {digits, std::to_chars(digits, std::end(digits), number).ptr};
}

// Writes a text on one line with a line for each element and member.
class Indenter {
 public:
    Indenter(std::string_view text, int indent)
        : rest_(text), indent_(static_cast<std::size_t>(indent)) {}

    std::string run() {
        while (!rest_.empty()) take();
        return std::move(out_);
    }

 private:
    void take() {
        const char next = rest_.front();
        if (next == '"') return copy(quoted_length());
        if ((next == '{' || next == '[') && rest_[1] == next + 2) return copy(2);
        if (next == '}' || next == ']') break_line(--depth_);
        copy(1);
        if (next == '{' || next == '[') break_line(++depth_);
        else if (next == ',') break_line(depth_);
        else if (next == ':') out_ += ' ';
    }

    std::size_t quoted_length() const {
        std::size_t end = 1;
        while (rest_[end] != '"') end += rest_[end] == '\\' ? 2 : 1;
        return end + 1;
    }

    void copy(std::size_t length) {
        out_ += rest_.substr(0, length);
        rest_.remove_prefix(length);
    }

    void break_line(std::size_t depth) {
        out_ += '\n';
        out_.append(depth * indent_, ' ');
    }

    std::string_view rest_;
    const std::size_t indent_;
    std::size_t depth_ = 0;
    std::string out_;
};

}  // namespace

std::string Json::text_of(bool truth) { return truth ? "true" : "false"; }
std::string Json::text_of(uint64_t number) { return text_of_integer(number); }
std::string Json::text_of(int64_t number) { return text_of_integer(number); }

Json::Json(std::nullptr_t) : text_("null") {}
Json::Json(double number) : text_(dumped(number)) {}
Json::Json(std::string_view text) { append_quoted(text_, text); }
Json::Json(const std::vector<uint8_t> &numbers) : Json(array()) {
    for (const uint8_t each : numbers) add(each);
}
Json::Json(const std::vector<std::string> &texts) : Json(array()) {
    for (const std::string &each : texts) add(each);
}
Json::Json(std::initializer_list<Member> members) : text_("{}") {
    for (const Member &each : members) set(each.name, each.value);
}

Json Json::array() {
    Json made;
    made.text_ = "[]";
    return made;
}
Json Json::object() { return Json(std::initializer_list<Member>()); }

void Json::set(std::string_view name, const Json &value) {
    text_.pop_back();
    if (text_.size() > 1) text_ += ',';
    append_quoted(text_, name);
    text_ += ':';
    text_ += value.text_;
    text_ += '}';
}

void Json::update(const Json &object) {
    if (object.text_.size() == 2) return;
    text_.pop_back();
    if (text_.size() > 1) text_ += ',';
    text_.append(object.text_, 1);
}

void Json::add(const Json &value) {
    text_.pop_back();
    if (text_.size() > 1) text_ += ',';
    text_ += value.text_;
    text_ += ']';
}

std::string Json::dump(int indent) const {
    return indent < 0 ? text_ : Indenter(text_, indent).run();
}

}  // namespace tarnctl
