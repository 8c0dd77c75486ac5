// SPDX-License-Identifier: Apache-2.0
#include "exchange/json_parser.h"

#include <fmt/core.h>

#include <charconv>
#include <cstddef>
#include <optional>
#include <system_error>

#include "cli/utf8.h"
#include "exchange/format.h"

// As long as a text can be.
#define RAPIDJSON_NO_SIZETYPEDEFINE
namespace rapidjson {
using SizeType = std::size_t;
}
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace tarnctl {
namespace {

// The input as the parser reads it, to which a NUL is the end.
class Bytes {
 public:
    using Ch = char;

    explicit Bytes(Input &input) : input_(input) {}

    char Peek() const {
        const int byte = input_.peek();
        return byte == Input::end ? '\0' : static_cast<char>(byte);
    }
    char Take() {
        const int byte = input_.get();
        return byte == Input::end ? '\0' : static_cast<char>(byte);
    }
    std::size_t Tell() const { return static_cast<std::size_t>(input_.offset()); }

    // Of streams that are written.
    char *PutBegin() { return nullptr; }
    void Put(char) {}
    std::size_t PutEnd(char *) { return 0; }

 private:
    Input &input_;
};

// Passes on the parser's events of the outer objects, and builds values from the others.
class Assembler {
 public:
    Assembler(const Input &input, JsonEvents &events) : input_(input), events_(events) {}

    bool Null() {
        return add([&] { tree_.add_null(); });
    }
    bool Bool(bool value) {
        return add([&] { tree_.add_boolean(value); });
    }
    bool RawNumber(const char *text, std::size_t length, bool) {
        add_number({text, length});
        return true;
    }
    // The parser has all numbers as texts.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(int64_t) { return false; }
    bool Uint64(uint64_t) { return false; }
    bool Double(double) { return false; }
    bool String(const char *text, std::size_t length, bool) {
        const std::string_view checked = utf8({text, length});
        return add([&] { tree_.add_text(checked); });
    }

    bool Key(const char *text, std::size_t length, bool) {
        const std::string_view name = utf8({text, length});
        if (tree_.depth() == 0) {
            events_.member(std::string(name));
            return true;
        }
        if (!tree_.name(name))
            events_.fail(fmt::format("{}: it is given twice", tree_.path_of(name)));
        if (input_.line() != lines_.begin)
            lines_.members.emplace(tree_.path_of(name), input_.line());
        return true;
    }

    bool StartObject() { return start(false); }
    bool StartArray() { return start(true); }
    bool EndObject(std::size_t) { return end(); }
    bool EndArray(std::size_t) { return end(); }

 private:
    std::string_view utf8(std::string_view text) const {
        if (!cli::is_utf8(text)) events_.fail("JSON: a string isn't UTF-8");
        return text;
    }

    template <class Add>
    bool add(Add to_tree) {
        const bool is_whole = tree_.depth() == 0;
        if (is_whole) begin_value();
        to_tree();
        if (is_whole) events_.value(tree_.root(), lines_);
        return true;
    }

    // An integer if there is one of 64 bits for it.
    void add_number(std::string_view text) {
        if (const auto natural = parsed<uint64_t>(text)) {
            add([&] { tree_.add_unsigned(*natural); });
        } else if (const auto integer = parsed<int64_t>(text)) {
            add([&] { tree_.add_signed(*integer); });
        } else if (const auto real = parsed<double>(text)) {
            add([&] { tree_.add_real(*real); });
        } else {
            events_.fail("JSON: a number is out of range");
        }
    }

    template <class Number>
    static std::optional<Number> parsed(std::string_view text) {
        Number number{};
        const char *end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, number);
        if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
        return number;
    }

    void begin_value() {
        tree_.clear();
        lines_.begin = input_.line();
        lines_.members.clear();
    }

    bool start(bool array) {
        if (depth_ + tree_.depth() >= deepest_nesting)
            events_.fail(
                fmt::format("expected values that nest no deeper than {}", deepest_nesting));
        if (tree_.depth() == 0) {
            if (events_.opens(array)) {
                ++depth_;
                return true;
            }
            begin_value();
        }
        tree_.open(array);
        return true;
    }

    bool end() {
        if (tree_.depth() == 0) {
            --depth_;
            events_.closes();
            return true;
        }
        tree_.close();
        if (tree_.depth() == 0) events_.value(tree_.root(), lines_);
        return true;
    }

    const Input &input_;
    JsonEvents &events_;
    std::size_t depth_ = 0;  // of the objects and arrays that were opened piece by piece
    JsonTree tree_;
    JsonLines lines_;
};

// RapidJSON's own conversion of numbers reads outside of its tables for some texts.
constexpr unsigned flags = rapidjson::kParseNumbersAsStringsFlag;

}  // namespace

void parse_json(Input &input, JsonEvents &events) {
    if (input.beginning().starts_with(byte_order_mark)) input.take(byte_order_mark.size());
    Bytes bytes(input);
    Assembler assembler(input, events);
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(bytes, assembler);
    std::string problem = "Expected the end of the document.";
    if (result.IsError()) problem = rapidjson::GetParseError_En(result.Code());
    else if (input.peek() == Input::end) return;
    problem.pop_back();  // the full stop
    events.fail("JSON: " + problem);
}

}  // namespace tarnctl
