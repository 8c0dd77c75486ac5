// SPDX-License-Identifier: Apache-2.0
#include "exchange/json_parser.h"

#include <fmt/core.h>

#include <charconv>
#include <cstddef>
#include <cstring>
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

// The input as the parser reads it, to which a NUL is the end. The parser's loops have it in
// registers.
class Bytes {
 public:
    using Ch = char;

    explicit Bytes(Input &input) : input_(&input) {}

    char Peek() { return next_ != end_ || get_more() ? *next_ : '\0'; }
    char Take() { return next_ != end_ || get_more() ? *next_++ : '\0'; }
    std::size_t Tell() const {
        return static_cast<std::size_t>(input_->offset()) +
               static_cast<std::size_t>(next_ - begin_);
    }
    bool is_at_end() { return next_ == end_ && !get_more(); }

    // Goes past the plain characters of a text that are in memory.
    std::string_view take_plain() {
        const char *first = next_;
        while (next_ != end_ && is_plain(*next_)) ++next_;
        return {first, next_};
    }

    // Only blanks have ends of lines.
    void skip_blanks() {
        for (char next = Peek(); next == ' ' || next == '\n' || next == '\r' || next == '\t';
             next = Peek()) {
            if (next == '\n') input_->pass_line();
            ++next_;
        }
    }

    // Of streams that are written.
    char *PutBegin() { return nullptr; }
    void Put(char) {}
    std::size_t PutEnd(char *) { return 0; }

 private:
    static bool is_plain(char character) {
        return static_cast<unsigned char>(character) >= ' ' && character != '"' &&
               character != '\\';
    }

    bool get_more() {
        input_->pass(static_cast<std::size_t>(next_ - begin_));
        const std::string_view more = input_->rest();
        begin_ = next_ = more.data();
        end_ = begin_ + more.size();
        return !more.empty();
    }

    Input *input_;
    const char *begin_ = nullptr;
    const char *next_ = nullptr;
    const char *end_ = nullptr;
};

// The parser finds it by the type of its argument.
void SkipWhitespace(Bytes &bytes) { bytes.skip_blanks(); }

// The encoding of the input, so that the parser takes many characters at once.
struct Utf8 : rapidjson::UTF8<> {};

}  // namespace
}  // namespace tarnctl

template <>
struct rapidjson::Transcoder<tarnctl::Utf8, rapidjson::UTF8<>> : Transcoder<UTF8<>, UTF8<>> {
    // Called in front of a plain character.
    template <class Texts>
    static bool TranscodeUnsafe(tarnctl::Bytes &bytes, Texts &texts) {
        const std::string_view plain = bytes.take_plain();
        std::memcpy(texts.Push(plain.size()), plain.data(), plain.size());
        return true;
    }
};

template <>
struct rapidjson::StreamTraits<tarnctl::Bytes> {
    enum { copyOptimization = 1 };
};

namespace tarnctl {
namespace {

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
    if (input.rest().starts_with(byte_order_mark)) input.take(byte_order_mark.size());
    Bytes bytes(input);
    Assembler assembler(input, events);
    rapidjson::GenericReader<Utf8, rapidjson::UTF8<>> reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(bytes, assembler);
    std::string problem = "Expected the end of the document.";
    if (result.IsError()) problem = rapidjson::GetParseError_En(result.Code());
    else if (bytes.is_at_end()) return;
    problem.pop_back();  // the full stop
    events.fail("JSON: " + problem);
}

}  // namespace tarnctl
