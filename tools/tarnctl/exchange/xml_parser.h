// SPDX-License-Identifier: Apache-2.0
//
// XML 1.0 in pieces: a document of any length is read tag by tag, and an element can be taken
// whole. Of the language it has elements, attributes, text, CDATA sections, comments and
// processing instructions, in UTF-8; a document type declaration is refused, so that no entity is
// ever expanded.
#ifndef TARNCTL_EXCHANGE_XML_PARSER_H
#define TARNCTL_EXCHANGE_XML_PARSER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "exchange/input.h"

namespace tarnctl {

struct XmlElement {
    std::string name;
    uint64_t line = 0;
    std::vector<std::pair<std::string, std::string>> attributes;
    bool closed = false;  // <name/>: nothing is inside
    // With XmlParser::take_inside only:
    std::string text;
    std::vector<XmlElement> children;

    // Null if there is no such attribute.
    const std::string *attribute(std::string_view wanted) const;
};

class XmlParser {
 public:
    explicit XmlParser(Input &input) : input_(input) {}

    // The root element's start tag, with what may stand ahead of it. Failure `data` with the line,
    // here and below.
    XmlElement root();
    // The next start tag inside the element that is open, whose content is elements alone. False:
    // it was the element's end tag.
    bool next(XmlElement &element);
    // All that is inside an element whose start tag was just read, and its end tag.
    void take_inside(XmlElement &element);
    // Nothing but blanks and comments follows the root element.
    void finish();

    // What is wrong in the line being read, or in one that is given.
    [[noreturn]] void fail(const std::string &text) const { fail(input_.line(), text); }
    [[noreturn]] void fail(uint64_t line, const std::string &text) const;

 private:
    enum class Item { start_tag, end_tag, text, end };

    // The next item; blanks, comments and processing instructions between tags are no items.
    Item item(XmlElement &element);
    void declaration_or_instruction();
    void after_exclamation();
    void comment();
    void cdata();
    void start_tag(XmlElement &element);
    void attributes(XmlElement &element);
    void end_tag();
    void reference(std::string &text);
    void character(std::string &text);
    std::string name();
    std::string quoted();
    void skip_blanks();
    // Reads up to and with `end`, and answers what is ahead of it.
    std::string until(std::string_view end, std::string_view what);
    void expect(std::string_view text);
    int get(std::string_view what);
    void count(std::size_t bytes);

    Input &input_;
    std::vector<std::string> open_;
    std::string text_;       // of the element that is open, collected by item()
    uint64_t begin_ = 0;     // where the document begins, behind a byte order mark
    std::size_t taken_ = 0;  // bytes of the element being taken whole
};

}  // namespace tarnctl

#endif
