// SPDX-License-Identifier: Apache-2.0
// Parsing. A document may come from anywhere: nothing is loaded for it, no entity
// is expanded since a document type declaration is refused where it starts, and
// elements nest to a fixed depth, so that no walk over the tree overflows a stack.
// Long texts are allowed: a string takes any length.
#include "runtime/xml/document.h"

#include <libxml/SAX2.h>

#include <cerrno>
#include <climits>
#include <new>
#include <string>
#include <utility>

#include "runtime/store/error_text.h"

namespace {

using namespace tarn::runtime;

constexpr int deepest_nesting = 256;

// Reports are read from the contexts; nothing goes to standard error.
void ignore(void *, xmlErrorPtr) {}

// Why we ended a parse, if it was us.
struct Refusal {
    const char *expected = nullptr;
    int line = 0;
};

void refuse(xmlParserCtxt *parser, const char *expected) {
    *static_cast<Refusal *>(parser->_private) = {expected, xmlSAX2GetLineNumber(parser)};
    parser->wellFormed = 0;
    xmlStopParser(parser);
}

void refuse_type_declaration(void *parser, const xmlChar *, const xmlChar *, const xmlChar *) {
    refuse(static_cast<xmlParserCtxt *>(parser), "no document type declaration");
}

void start_element(void *context, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                   int namespace_count, const xmlChar **namespaces, int attribute_count,
                   int defaulted_count, const xmlChar **attributes) {
    auto *parser = static_cast<xmlParserCtxt *>(context);
    if (parser->nodeNr >= deepest_nesting) {
        refuse(parser, "elements that nest no deeper than 256");
        return;
    }
    xmlSAX2StartElementNs(context, name, prefix, uri, namespace_count, namespaces, attribute_count,
                          defaulted_count, attributes);
}

// What libxml2 found wrong, without its line end.
std::string parser_error(xmlParserCtxt *parser) {
    const xmlError *error = xmlCtxtGetLastError(parser);
    if (error == nullptr || error->message == nullptr) return "expected an XML document";
    std::string text = "line " + std::to_string(error->line) + ": " + error->message;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

// Null and the reason, or the tree.
XmlPointer<xmlDoc> parse(const char *text, std::size_t length, std::string &reason) {
    const XmlPointer<xmlParserCtxt> parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    Refusal refusal;
    parser->_private = &refusal;
    parser->sax->internalSubset = refuse_type_declaration;
    parser->sax->startElementNs = start_element;
    parser->sax->serror = ignore;
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                            XML_PARSE_HUGE | XML_PARSE_BIG_LINES;
    XmlPointer<xmlDoc> tree(
        xmlCtxtReadMemory(parser.get(), text, static_cast<int>(length), nullptr, nullptr, options));
    if (refusal.expected != nullptr) {
        reason = "line " + std::to_string(refusal.line) + ": expected " + refusal.expected;
    } else if (tree == nullptr) {
        reason = parser_error(parser.get());
    }
    return tree;
}

}  // namespace

kel_xml_document::kel_xml_document(XmlPointer<xmlDoc> document)
    : tree(std::move(document)), paths(xmlXPathNewContext(tree.get())) {
    if (paths == nullptr) throw std::bad_alloc();
    paths->error = ignore;
    // Many paths are searched one after the other: keep what they allocate.
    xmlXPathContextSetCache(paths.get(), 1, -1, 0);
}

kel_xml_document *kel_xml_parse(const char *text, std::size_t length) try {
    if (text == nullptr || length > INT_MAX) {
        fail(EINVAL, "XML: expected a text of at most %d bytes", INT_MAX);
        return nullptr;
    }
    std::string reason;
    XmlPointer<xmlDoc> tree = parse(text, length, reason);
    if (tree != nullptr) return new kel_xml_document(std::move(tree));
    fail(EINVAL, "XML: %s", reason.c_str());
    return nullptr;
} catch (const std::bad_alloc &) {
    fail(ENOMEM, "XML: no memory for the document");
    return nullptr;
}

void kel_xml_free(kel_xml_document *document) { delete document; }
