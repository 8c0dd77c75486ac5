// SPDX-License-Identifier: Apache-2.0
// Parsing. A document is untrusted: no file is loaded for it, a document type declaration
// is an error where it starts, so no entity is expanded, and elements nest to a fixed depth,
// so that no walk over the tree overflows the stack. Texts may have any length.
#include "runtime/xml/document.h"

#include <libxml/SAX2.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/base/error_text.h"

namespace {

using namespace tarnbase::runtime;

constexpr int deepest_nesting = 256;

// The first error: those that follow are mostly its consequences.
struct ParseError {
    int line = 0;
    char text[200] = "";

    void set(int at_line, const char *message) {
        if (*text != '\0') return;
        line = at_line;
        std::snprintf(text, sizeof text, "%s", message);
        if (char *end = std::strchr(text, '\n'); end != nullptr) *end = '\0';
    }
};

ParseError &error_of(void *parser) {
    return *static_cast<ParseError *>(static_cast<xmlParserCtxt *>(parser)->_private);
}

void note_error(void *parser, xmlErrorPtr error) {
    if (error->message != nullptr) error_of(parser).set(error->line, error->message);
}

// For a search: its result shows that it failed.
void ignore(void *, xmlErrorPtr) {}

// libxml2 reports bytes that are invalid in the document's encoding to the thread's error
// function, which writes to standard error by default. The parser reports them as well.
class QuietThread {
 public:
    QuietThread() { xmlSetStructuredErrorFunc(nullptr, ignore); }
    ~QuietThread() { xmlSetStructuredErrorFunc(context_, function_); }
    QuietThread(const QuietThread &) = delete;
    QuietThread &operator=(const QuietThread &) = delete;

 private:
    const xmlStructuredErrorFunc function_ = xmlStructuredError;
    void *const context_ = xmlStructuredErrorContext;
};

void refuse(xmlParserCtxt *parser, const char *message) {
    error_of(parser).set(xmlSAX2GetLineNumber(parser), message);
    parser->wellFormed = 0;
    xmlStopParser(parser);
}

void refuse_type_declaration(void *parser, const xmlChar *, const xmlChar *, const xmlChar *) {
    refuse(static_cast<xmlParserCtxt *>(parser), "expected no document type declaration");
}

void start_element(void *context, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                   int namespace_count, const xmlChar **namespaces, int attribute_count,
                   int defaulted_count, const xmlChar **attributes) {
    auto *parser = static_cast<xmlParserCtxt *>(context);
    if (parser->nodeNr >= deepest_nesting) {
        refuse(parser, "expected elements that nest no deeper than 256");
        return;
    }
    xmlSAX2StartElementNs(context, name, prefix, uri, namespace_count, namespaces, attribute_count,
                          defaulted_count, attributes);
}

XmlPointer<xmlDoc> parse(const char *text, std::size_t length, ParseError &error) {
    const XmlPointer<xmlParserCtxt> parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    parser->_private = &error;
    parser->sax->internalSubset = refuse_type_declaration;
    parser->sax->startElementNs = start_element;
    parser->sax->serror = note_error;
    const QuietThread quiet;
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                            XML_PARSE_HUGE | XML_PARSE_BIG_LINES;
    return XmlPointer<xmlDoc>(
        xmlCtxtReadMemory(parser.get(), text, static_cast<int>(length), nullptr, nullptr, options));
}

}  // namespace

kel_xml_document::kel_xml_document(XmlPointer<xmlDoc> document)
    : tree(std::move(document)), paths(xmlXPathNewContext(tree.get())) {
    if (paths == nullptr) throw std::bad_alloc();
    paths->error = ignore;
    // Numbers the nodes, so that ordering them takes no walk along their siblings.
    xmlXPathOrderDocElems(tree.get());
    // Reuses what one search allocates in the next.
    xmlXPathContextSetCache(paths.get(), 1, -1, 0);
}

namespace tarnbase::runtime {

kel_xml_document *parse_document(const char *text, std::size_t length) try {
    if (text == nullptr || length > INT_MAX) {
        fail(EINVAL, "XML: expected a text of at most %d bytes", INT_MAX);
        return nullptr;
    }
    ParseError error;
    XmlPointer<xmlDoc> tree = parse(text, length, error);
    if (tree != nullptr) return new kel_xml_document(std::move(tree));
    fail(EINVAL, "XML: line %d: %s", error.line, error.text);
    return nullptr;
} catch (const std::bad_alloc &) {
    fail(ENOMEM, "XML: no memory for the document");
    return nullptr;
}

}  // namespace tarnbase::runtime
