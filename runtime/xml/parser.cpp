// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/parser.h"

#include <libxml/SAX2.h>

#include <cstdio>
#include <cstring>
#include <new>

namespace tarnbase::runtime {

namespace {

constexpr std::size_t deepest_nesting = 256;

// What the events of a parser go to.
struct Target {
    ElementTree &tree;
    ParseError &error;
    bool has_memory = true;
};

xmlParserCtxt &parser_of(void *context) { return *static_cast<xmlParserCtxt *>(context); }

Target &target_of(void *context) { return *static_cast<Target *>(parser_of(context)._private); }

void note_error(void *context, xmlErrorPtr error) {
    if (error->message != nullptr) target_of(context).error.set(error->line, error->message);
}

// libxml2 reports bytes that are invalid in the document's encoding to the thread's error
// function, which writes to standard error by default. The parser reports them as well.
class QuietThread {
 public:
    QuietThread() { xmlSetStructuredErrorFunc(nullptr, ignore_error); }
    ~QuietThread() { xmlSetStructuredErrorFunc(context_, function_); }
    QuietThread(const QuietThread &) = delete;
    QuietThread &operator=(const QuietThread &) = delete;

 private:
    const xmlStructuredErrorFunc function_ = xmlStructuredError;
    void *const context_ = xmlStructuredErrorContext;
};

void refuse(void *context, const char *message) {
    target_of(context).error.set(xmlSAX2GetLineNumber(context), message);
    parser_of(context).wellFormed = 0;
    xmlStopParser(&parser_of(context));
}

void refuse_type_declaration(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
    refuse(context, "expected no document type declaration");
}

// No exception passes through libxml2.
template <typename Change>
void change_tree(void *context, Change change) try {
    change(target_of(context).tree);
} catch (const std::bad_alloc &) {
    target_of(context).has_memory = false;
    xmlStopParser(&parser_of(context));
}

void start_element(void *context, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                   int, const xmlChar **, int, int, const xmlChar **) {
    if (target_of(context).tree.depth() >= deepest_nesting) {
        return refuse(context, "expected elements that nest no deeper than 256");
    }
    const bool is_plain = prefix == nullptr && uri == nullptr;
    change_tree(context, [&](ElementTree &tree) { tree.start_element(is_plain ? name : nullptr); });
}

void end_element(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
    change_tree(context, [](ElementTree &tree) { tree.end_element(); });
}

void add_text(void *context, const xmlChar *text, int length) {
    change_tree(context, [&](ElementTree &tree) {
        tree.add_text({reinterpret_cast<const char *>(text), static_cast<std::size_t>(length)});
    });
}

xmlSAXHandler element_handlers() {
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.internalSubset = refuse_type_declaration;
    handlers.startElementNs = start_element;
    handlers.endElementNs = end_element;
    handlers.characters = add_text;
    handlers.ignorableWhitespace = add_text;
    handlers.cdataBlock = add_text;
    handlers.serror = note_error;
    return handlers;
}

XmlPointer<xmlParserCtxt> new_parser() {
    XmlPointer<xmlParserCtxt> parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    return parser;
}

XmlPointer<xmlDoc> read(xmlParserCtxt &parser, std::string_view text) {
    const QuietThread quiet;
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                            XML_PARSE_HUGE | XML_PARSE_BIG_LINES | XML_PARSE_COMPACT;
    return XmlPointer<xmlDoc>(xmlCtxtReadMemory(&parser, text.data(), static_cast<int>(text.size()),
                                                nullptr, nullptr, options));
}

}  // namespace

void ParseError::set(int at_line, const char *message) {
    if (*text != '\0') return;
    line = at_line;
    std::snprintf(text, sizeof text, "%s", message);
    if (char *end = std::strchr(text, '\n'); end != nullptr) *end = '\0';
}

void ignore_error(void *, xmlErrorPtr) {}

bool parse_elements(std::string_view text, ElementTree &tree, ParseError &error) {
    const XmlPointer<xmlParserCtxt> parser = new_parser();
    Target target = {tree, error};
    parser->_private = &target;
    *parser->sax = element_handlers();
    xmlDictReference(parser->dict);
    tree.set_names(XmlPointer<xmlDict>(parser->dict));
    read(*parser, text);
    if (!target.has_memory) throw std::bad_alloc();
    return parser->wellFormed != 0;
}

XmlPointer<xmlDoc> parse_tree(std::string_view text) {
    const XmlPointer<xmlParserCtxt> parser = new_parser();
    parser->sax->serror = ignore_error;
    XmlPointer<xmlDoc> tree = read(*parser, text);
    if (tree == nullptr) throw std::bad_alloc();
    return tree;
}

}  // namespace tarnbase::runtime
