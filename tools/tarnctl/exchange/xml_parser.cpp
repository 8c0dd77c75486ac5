// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_parser.h"

#include <fmt/format.h>

#include <charconv>

#include "exchange/sink.h"
#include "exchange/xml_text.h"
#include "terminal/utf8.h"

namespace tarnctl {
namespace {

constexpr std::size_t deepest_nesting = 64;
constexpr std::size_t longest_name = 256;
constexpr std::size_t largest_element = std::size_t{1} << 30U;

bool is_blank(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool begins_name(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || c >= 0x80;
}

bool continues_name(int c) {
    return begins_name(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool is_blank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string shown_byte(int c) {
    if (c == Input::end) return "the end of the file";
    if (c > 0x20 && c < 0x7f) return fmt::format("`{}`", static_cast<char>(c));
    return fmt::format("the byte 0x{:02x}", c);
}

}  // namespace

const std::string *XmlElement::attribute(std::string_view wanted) const {
    for (const auto &[each, value] : attributes) {
        if (each == wanted) return &value;
    }
    return nullptr;
}

void XmlParser::fail(uint64_t line, const std::string &text) const {
    throw wrong(fmt::format("{}:{}", input_.name(), line), text);
}

int XmlParser::get(std::string_view what) {
    const int c = input_.get();
    if (c == Input::end) fail(fmt::format("expected {}, not the end of the file", what));
    return c;
}

// An element that is taken whole lies in memory.
void XmlParser::count(std::size_t bytes) {
    taken_ += bytes;
    if (taken_ > largest_element)
        fail(fmt::format("an element of more than {} bytes", largest_element));
}

void XmlParser::skip_blanks() {
    while (is_blank(input_.peek())) input_.get();
}

void XmlParser::expect(std::string_view text) {
    for (const char c : text) {
        const int found = input_.get();
        if (found != static_cast<unsigned char>(c))
            fail(fmt::format("expected `{}`, not {}", text, shown_byte(found)));
    }
}

std::string XmlParser::until(std::string_view end, std::string_view what) {
    std::string text;
    while (!text.ends_with(end)) {
        if (input_.peek() == Input::end)
            fail(fmt::format("expected `{}` behind {}, not the end of the file", end, what));
        text += static_cast<char>(input_.get());
        count(1);
    }
    text.resize(text.size() - end.size());
    return text;
}

std::string XmlParser::name() {
    std::string name;
    if (!begins_name(input_.peek()))
        fail(fmt::format("expected a name, not {}", shown_byte(input_.peek())));
    while (continues_name(input_.peek())) {
        name += static_cast<char>(input_.get());
        if (name.size() > longest_name)
            fail(fmt::format("expected a name of at most {} bytes", longest_name));
    }
    if (!is_utf8(name)) fail("expected a name in UTF-8");
    count(name.size() + sizeof(XmlElement));
    return name;
}

// A character of text or of an attribute's value: one of UTF-8 that XML has. The ends of lines are
// all `\n`.
void XmlParser::character(std::string &text) {
    const int first = get("a character");
    if (first >= 0x20 && first < 0x80) {
        text += static_cast<char>(first);
        count(1);
        return;
    }
    if (first == '\r') {
        if (input_.peek() == '\n') input_.get();
        text += '\n';
        count(1);
        return;
    }
    std::string bytes(1, static_cast<char>(first));
    while (first >= 0xc0 && bytes.size() < 4 && (input_.peek() & 0xc0) == 0x80 &&
           !first_utf8(bytes).valid)
        bytes += static_cast<char>(input_.get());
    const Utf8Character found = first_utf8(bytes);
    if (!found.valid || found.length != bytes.size() || !is_xml_character(found.code))
        fail(fmt::format("expected a character that XML has, in UTF-8, not {}", shown_byte(first)));
    text += bytes;
    count(bytes.size());
}

void XmlParser::reference(std::string &text) {
    expect("&");
    std::string entity;
    for (int c = get("`;`"); c != ';'; c = get("`;`")) {
        entity += static_cast<char>(c);
        constexpr std::size_t longest = 10;
        if (entity.size() > longest) fail("expected `&amp;` where an ampersand is meant");
    }
    count(1);
    if (entity == "amp") text += '&';
    else if (entity == "lt") text += '<';
    else if (entity == "gt") text += '>';
    else if (entity == "quot") text += '"';
    else if (entity == "apos") text += '\'';
    else {
        const bool hexadecimal = entity.starts_with("#x");
        const std::string_view digits = std::string_view(entity).substr(
            std::min<std::size_t>(hexadecimal ? 2 : 1, entity.size()));
        uint32_t code = 0;
        const char *end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, code, hexadecimal ? 16 : 10);
        if (!entity.starts_with('#') || error != std::errc() || stop != end ||
            !is_xml_character(code))
            fail("expected a character reference, or one of &amp; &lt; &gt; &quot; &apos;");
        append_utf8(text, code);
    }
}

std::string XmlParser::quoted() {
    const int quote = get("a quote");
    if (quote != '"' && quote != '\'')
        fail(fmt::format("expected a value in quotes, not {}", shown_byte(quote)));
    std::string value;
    while (input_.peek() != quote) {
        if (input_.peek() == '<') fail("expected the end of an attribute's value ahead of `<`");
        if (input_.peek() == '&') reference(value);
        else character(value);
    }
    input_.get();
    return value;
}

void XmlParser::attributes(XmlElement &element) {
    for (;;) {
        const bool apart = is_blank(input_.peek());
        skip_blanks();
        const int c = input_.peek();
        if (c == '>' || c == '/') return;
        if (!apart) fail(fmt::format("expected a blank, `>` or `/>`, not {}", shown_byte(c)));
        std::string attribute = name();
        skip_blanks();
        expect("=");
        skip_blanks();
        if (element.attribute(attribute) != nullptr)
            fail(fmt::format("attribute `{}` is given twice", attribute));
        element.attributes.emplace_back(std::move(attribute), quoted());
    }
}

void XmlParser::start_tag(XmlElement &element) {
    element = {};
    element.line = input_.line();
    element.name = name();
    attributes(element);
    if (input_.peek() == '/') {
        input_.get();
        element.closed = true;
    }
    expect(">");
    if (element.closed) return;
    if (open_.size() >= deepest_nesting)
        fail(fmt::format("expected elements that nest no deeper than {}", deepest_nesting));
    open_.push_back(element.name);
}

void XmlParser::end_tag() {
    const std::string found = name();
    skip_blanks();
    expect(">");
    if (open_.empty()) fail(fmt::format("`</{}>` ends no element", found));
    if (found != open_.back())
        fail(fmt::format("expected `</{}>`, not `</{}>`", open_.back(), found));
    open_.pop_back();
}

void XmlParser::declaration_or_instruction() {
    const bool first = input_.offset() == begin_ + 2;
    const std::string text = until("?>", "`<?`");
    if (!text.starts_with("xml ")) return;
    if (!first) fail("expected the XML declaration at the beginning of the file alone");
    const std::size_t encoding = text.find("encoding");
    if (encoding == std::string::npos) return;
    std::string value = text.substr(encoding + 8);
    for (char &c : value) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (value.find("utf-8") == std::string::npos && value.find("us-ascii") == std::string::npos)
        fail("expected the encoding UTF-8");
}

void XmlParser::comment() {
    expect("--");
    until("--", "`<!--`");
    expect(">");
}

void XmlParser::cdata() {
    expect("[CDATA[");
    const std::string text = until("]]>", "`<![CDATA[`");
    if (first_unfit_for_xml(text) != std::string_view::npos)
        fail("expected characters that XML has, in UTF-8");
    text_ += text;
}

void XmlParser::after_exclamation() {
    if (input_.peek() == '-') comment();
    else if (input_.peek() == '[' && !open_.empty()) cdata();
    else fail("expected no document type declaration");
}

XmlParser::Item XmlParser::item(XmlElement &element) {
    for (;;) {
        const int c = input_.peek();
        if (c == Input::end) return Item::end;
        if (c == '&') {
            reference(text_);
            continue;
        }
        if (c != '<') {
            character(text_);
            continue;
        }
        input_.get();
        if (input_.peek() == '?') {
            input_.get();
            declaration_or_instruction();
        } else if (input_.peek() == '!') {
            input_.get();
            after_exclamation();
        } else if (input_.peek() == '/') {
            input_.get();
            end_tag();
            return Item::end_tag;
        } else {
            start_tag(element);
            return Item::start_tag;
        }
    }
}

XmlElement XmlParser::root() {
    if (input_.peek() == 0xef) expect("\xef\xbb\xbf");
    begin_ = input_.offset();
    XmlElement element;
    taken_ = 0;
    text_.clear();
    const Item found = item(element);
    if (!is_blank(text_)) fail("expected an element, not text");
    if (found != Item::start_tag) fail("expected an element, not the end of the file");
    return element;
}

bool XmlParser::next(XmlElement &element) {
    taken_ = 0;
    text_.clear();
    const Item found = item(element);
    if (!is_blank(text_)) fail("expected an element, not text");
    if (found == Item::end)
        fail(fmt::format("expected `</{}>`, not the end of the file", open_.back()));
    return found == Item::start_tag;
}

void XmlParser::take_inside(XmlElement &element) {
    if (element.closed) return;
    text_.clear();
    for (;;) {
        XmlElement child;
        const Item found = item(child);
        element.text += text_;
        text_.clear();
        if (found == Item::end)
            fail(fmt::format("expected `</{}>`, not the end of the file", open_.back()));
        if (found == Item::end_tag) return;
        // Nesting is bounded by start_tag.
        take_inside(child);
        element.children.push_back(std::move(child));
    }
}

void XmlParser::finish() {
    XmlElement element;
    taken_ = 0;
    text_.clear();
    if (item(element) != Item::end || !is_blank(text_))
        fail("expected the end of the file behind the root element");
}

}  // namespace tarnctl
