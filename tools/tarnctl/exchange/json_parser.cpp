// SPDX-License-Identifier: Apache-2.0
#include "exchange/json_parser.h"

#include <fmt/core.h>

#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>
#include <vector>

namespace tarnctl {
namespace {

using Document = nlohmann::ordered_json;

constexpr std::size_t usual_members = 32;

// The input as iterators for the parser. All copies share one position.
class Bytes {
 public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = char;

    Bytes() = default;
    explicit Bytes(Input &input) : input_(&input) {}

    char operator*() const { return static_cast<char>(input_->peek()); }
    Bytes &operator++() {
        input_->pass();
        return *this;
    }
    bool operator==(const Bytes &other) const { return at_end() == other.at_end(); }
    bool operator!=(const Bytes &other) const { return !(*this == other); }

 private:
    bool at_end() const { return input_ == nullptr || input_->peek() == Input::end; }

    Input *input_ = nullptr;
};

// Passes on the parser's events of the outer objects, and builds values from the others.
class Assembler {
 public:
    Assembler(const Input &input, JsonEvents &events) : input_(input), events_(events) {}

    bool null() { return add(nullptr); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(int64_t value) { return add(value); }
    bool number_unsigned(uint64_t value) { return add(value); }
    bool number_float(double value, const std::string &) { return add(value); }
    bool string(std::string &value) { return add(std::move(value)); }
    bool binary(Document::binary_t &) { return false; }

    bool key(std::string &name) {
        if (open_.empty()) {
            events_.member(name);
            return true;
        }
        Document &object = *open_.back();
        if (object.contains(name)) events_.fail(fmt::format("{}: it is given twice", path(name)));
        // Not by operator[], which searches for the name once more.
        object.get_ref<Document::object_t &>().emplace_back(name, nullptr);
        names_.back() = name;
        if (input_.line() != lines_.begin) lines_.members.emplace(path(name), input_.line());
        return true;
    }

    bool start_object(std::size_t) { return start(false); }
    bool start_array(std::size_t) { return start(true); }
    bool end_object() { return end(); }
    bool end_array() { return end(); }

    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &error) {
        // "[...] parse error at line 1, column 5: <text>": Input counts the lines.
        const std::string text = error.what();
        const std::size_t colon = text.find(": ");
        events_.fail("JSON: " + (colon == std::string::npos ? text : text.substr(colon + 2)));
        return false;
    }

 private:
    // The place of the next value; null: it isn't inside a value.
    Document *slot() {
        if (open_.empty()) return nullptr;
        Document &inside = *open_.back();
        if (inside.is_object()) return &inside.get_ref<Document::object_t &>().back().second;
        inside.push_back(nullptr);
        return &inside.back();
    }

    bool add(Document value) {
        if (Document *place = slot()) {
            *place = std::move(value);
            return true;
        }
        events_.value(JsonView(value), JsonLines{input_.line(), {}});
        return true;
    }

    bool start(bool array) {
        if (depth_ + open_.size() >= deepest_nesting)
            events_.fail(
                fmt::format("expected values that nest no deeper than {}", deepest_nesting));
        Document *place = slot();
        if (place == nullptr) {
            if (events_.opens(array)) {
                ++depth_;
                return true;
            }
            place = &value_;
            lines_ = {input_.line(), {}};
        }
        *place = array ? Document::array() : Document::object();
        if (!array) place->get_ref<Document::object_t &>().reserve(usual_members);
        open_.push_back(place);
        names_.emplace_back();
        return true;
    }

    bool end() {
        if (open_.empty()) {
            --depth_;
            events_.closes();
            return true;
        }
        open_.pop_back();
        names_.pop_back();
        if (open_.empty()) events_.value(JsonView(value_), lines_);
        return true;
    }

    std::string path(const std::string &name) const {
        std::string path;
        for (std::size_t i = 0; i + 1 < names_.size(); ++i)
            if (!names_[i].empty()) path += names_[i] + ".";
        return path + name;
    }

    const Input &input_;
    JsonEvents &events_;
    std::size_t depth_ = 0;
    Document value_;
    JsonLines lines_;
    // The open objects and arrays. A value doesn't move while something inside it is open.
    std::vector<Document *> open_;
    std::vector<std::string> names_;
};

}  // namespace

void parse_json(Input &input, JsonEvents &events) {
    Assembler assembler(input, events);
    Document::sax_parse(Bytes(input), Bytes(), &assembler, Document::input_format_t::json, true);
}

}  // namespace tarnctl
