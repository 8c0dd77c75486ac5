// SPDX-License-Identifier: Apache-2.0
// Parsing. A document may come from anywhere: nothing is loaded for it, no entity
// is expanded since a document type declaration is refused where it starts, and
// elements nest to a fixed depth, so that no walk over the tree overflows a stack.
// Long texts are allowed: a string takes any length.
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

using namespace tarn::runtime;

constexpr int deepest_nesting = 256;

// What was found wrong first: what follows is mostly its consequence.
struct Complaint {
    int line = 0;
    char text[200] = "";

    void take(int at_line, const char *complaint) {
        if (*text != '\0') return;
        line = at_line;
        std::snprintf(text, sizeof text, "%s", complaint);
        if (char *end = std::strchr(text, '\n'); end != nullptr) *end = '\0';
    }
};

Complaint &complaint_of(void *parser) {
    return *static_cast<Complaint *>(static_cast<xmlParserCtxt *>(parser)->_private);
}

void note_error(void *parser, xmlErrorPtr error) {
    if (error->message != nullptr) complaint_of(parser).take(error->line, error->message);
}

// Of a search: its result says that it failed.
void ignore(void *, xmlErrorPtr) {}

// Bytes that aren't of the encoding which they claim go to the thread's handler, and
// by default to standard error: the parser's own complaint follows anyway.
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

void refuse(xmlParserCtxt *parser, const char *complaint) {
    complaint_of(parser).take(xmlSAX2GetLineNumber(parser), complaint);
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

XmlPointer<xmlDoc> parse(const char *text, std::size_t length, Complaint &complaint) {
    const XmlPointer<xmlParserCtxt> parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    parser->_private = &complaint;
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
    // Nodes are told apart by number, and not by a walk along their siblings.
    xmlXPathOrderDocElems(tree.get());
    // Many paths are searched one after the other: keep what they allocate.
    xmlXPathContextSetCache(paths.get(), 1, -1, 0);
}

kel_xml_document *kel_xml_parse(const char *text, std::size_t length) try {
    if (text == nullptr || length > INT_MAX) {
        fail(EINVAL, "XML: expected a text of at most %d bytes", INT_MAX);
        return nullptr;
    }
    Complaint complaint;
    XmlPointer<xmlDoc> tree = parse(text, length, complaint);
    if (tree != nullptr) return new kel_xml_document(std::move(tree));
    fail(EINVAL, "XML: line %d: %s", complaint.line, complaint.text);
    return nullptr;
} catch (const std::bad_alloc &) {
    fail(ENOMEM, "XML: no memory for the document");
    return nullptr;
}

void kel_xml_free(kel_xml_document *document) { delete document; }
