// SPDX-License-Identifier: Apache-2.0
//
// Reads a document of any length tag by tag, or an element as a whole. libxml2 parses it in pieces,
// so that memory holds no more than one element. A document type declaration is refused, so that
// only XML's own entities are expanded.
#ifndef TARNCTL_EXCHANGE_XML_PARSER_H
#define TARNCTL_EXCHANGE_XML_PARSER_H

#include <libxml/parser.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "exchange/input.h"

namespace tarnctl {

struct XmlElement {
    std::string_view name;  // valid as long as the parser
    uint64_t line = 0;
    std::vector<std::pair<std::string, std::string>> attributes;
    // With XmlParser::take_inside only:
    std::string text;
    std::vector<XmlElement> children;

    // Null if there is no such attribute.
    const std::string *attribute(std::string_view wanted) const;
};

class XmlParser {
 public:
    explicit XmlParser(Input &input);
    XmlParser(const XmlParser &) = delete;
    XmlParser &operator=(const XmlParser &) = delete;

    // The root element's start tag, and everything before it. Failure `data` with the line, here
    // and below.
    XmlElement root();
    // The next start tag inside the open element, which contains only elements. False if it was the
    // element's end tag.
    bool next(XmlElement &element);
    // The content of the element whose start tag was just read, and its end tag.
    void take_inside(XmlElement &element);
    // Failure unless only blanks and comments follow the root element.
    void finish();

    // Throws the error of a line.
    [[noreturn]] void fail(uint64_t line, const std::string &text) const;

 private:
    // A piece of the document's text, between two tags.
    struct Text {
        std::string text;
        uint64_t line = 0;
    };
    // A tag that wasn't read yet, and the text after it.
    struct Event {
        enum class Kind { start, end } kind = Kind::start;
        XmlElement element;  // of a start tag
        Text after;
    };
    struct Free {
        void operator()(xmlParserCtxt *context) const { xmlFreeParserCtxt(context); }
    };

    static xmlSAXHandler handlers();
    static XmlParser &parser_of(void *context) { return *static_cast<XmlParser *>(context); }
    static void on_start(void *context, const xmlChar *name, const xmlChar *prefix,
                         const xmlChar *uri, int namespace_count, const xmlChar **namespaces,
                         int attribute_count, int defaulted, const xmlChar **attributes);
    static void on_end(void *context, const xmlChar *name, const xmlChar *prefix,
                       const xmlChar *uri);
    static void on_text(void *context, const xmlChar *text, int length);
    static void on_document_type(void *context, const xmlChar *name, const xmlChar *external,
                                 const xmlChar *system);
    static void on_error(void *context, xmlError *error);

    void wait();
    // The next one, until the one after it is read; null at the document's end.
    Event *event();
    void feed();
    std::string_view name_of(const xmlChar *prefix, const xmlChar *name) const;
    void note(uint64_t line, const std::string &problem);
    uint64_t line() const;

    Input &input_;
    std::unique_ptr<xmlParserCtxt, Free> context_;
    std::vector<Event> events_;
    std::size_t next_ = 0;  // of the events
    Text text_;             // after the last event that was read; complete after wait()
    std::size_t depth_ = 0;
    bool at_end_ = false;
    std::string problem_;  // the first one, thrown after the events before it
    uint64_t problem_line_ = 0;
};

}  // namespace tarnctl

#endif
