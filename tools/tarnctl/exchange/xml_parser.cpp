// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_parser.h"

#include <fmt/core.h>
#include <libxml/SAX2.h>

#include "exchange/sink.h"

namespace tarnctl {
namespace {

// The events of a chunk stay in a near cache until they are read.
constexpr std::size_t chunk = 8192;
constexpr std::size_t largest_element = std::size_t{1} << 30U;
constexpr std::size_t usual_children = 32;

bool is_blank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string text_of(const xmlChar *text) { return reinterpret_cast<const char *>(text); }

std::string full_name(const xmlChar *prefix, const xmlChar *name) {
    return prefix == nullptr ? text_of(name) : fmt::format("{}:{}", text_of(prefix), text_of(name));
}

std::string_view view_of(const xmlChar *text) { return reinterpret_cast<const char *>(text); }

}  // namespace

const std::string *XmlElement::attribute(std::string_view wanted) const {
    for (const auto &[each, value] : attributes) {
        if (each == wanted) return &value;
    }
    return nullptr;
}

xmlSAXHandler XmlParser::handlers() {
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = on_start;
    handlers.endElementNs = on_end;
    handlers.characters = on_text;
    handlers.cdataBlock = on_text;
    handlers.internalSubset = on_document_type;
    handlers.serror = on_error;
    return handlers;
}

XmlParser::XmlParser(Input &input) : input_(input) {
    xmlSAXHandler own = handlers();
    context_.reset(xmlCreatePushParserCtxt(&own, this, nullptr, 0, nullptr));
    if (context_ == nullptr) need(ENOMEM, "reading XML");
    xmlCtxtUseOptions(context_.get(), XML_PARSE_NONET | XML_PARSE_HUGE);
}

void XmlParser::fail(uint64_t line, const std::string &text) const {
    throw wrong(fmt::format("{}:{}", input_.name(), line), text);
}

uint64_t XmlParser::line() const {
    return static_cast<uint64_t>(xmlSAX2GetLineNumber(context_.get()));
}

void XmlParser::note(uint64_t line, const std::string &problem) {
    if (!problem_.empty()) return;
    problem_ = problem;
    problem_line_ = line;
    xmlStopParser(context_.get());
}

// libxml2 keeps each name once, as long as its context.
std::string_view XmlParser::name_of(const xmlChar *prefix, const xmlChar *name) const {
    if (prefix == nullptr) return view_of(name);
    const std::string full = full_name(prefix, name);
    const xmlChar *kept =
        xmlDictLookup(context_->dict, reinterpret_cast<const xmlChar *>(full.data()),
                      static_cast<int>(full.size()));
    return kept == nullptr ? view_of(name) : view_of(kept);
}

void XmlParser::on_start(void *context, const xmlChar *name, const xmlChar *prefix,
                         const xmlChar * /*uri*/, int /*namespace_count*/,
                         const xmlChar ** /*namespaces*/, int attribute_count, int /*defaulted*/,
                         const xmlChar **attributes) {
    XmlParser &parser = parser_of(context);
    XmlElement &element = parser.events_.emplace_back().element;
    element.name = parser.name_of(prefix, name);
    element.line = parser.line();
    // Five pointers an attribute: name, prefix, namespace, start and end of the value.
    for (int i = 0; i < attribute_count; ++i, attributes += 5)
        element.attributes.emplace_back(full_name(attributes[1], attributes[0]),
                                        std::string(reinterpret_cast<const char *>(attributes[3]),
                                                    reinterpret_cast<const char *>(attributes[4])));
    if (++parser.depth_ > deepest_nesting)
        parser.note(element.line,
                    fmt::format("expected elements that nest no deeper than {}", deepest_nesting));
}

void XmlParser::on_end(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
    XmlParser &parser = parser_of(context);
    --parser.depth_;
    parser.events_.emplace_back().kind = Event::Kind::end;
}

// Text comes in pieces of any length.
void XmlParser::on_text(void *context, const xmlChar *text, int length) {
    XmlParser &parser = parser_of(context);
    const bool is_read = parser.next_ == parser.events_.size();
    Text &place = is_read ? parser.text_ : parser.events_.back().after;
    if (place.text.empty()) place.line = parser.line();
    place.text.append(reinterpret_cast<const char *>(text), static_cast<std::size_t>(length));
}

void XmlParser::on_document_type(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
    XmlParser &parser = parser_of(context);
    parser.note(parser.line(), "expected no document type declaration");
}

void XmlParser::on_error(void *context, xmlError *error) {
    if (error->level < XML_ERR_ERROR) return;
    std::string text = error->message == nullptr ? "it isn't XML" : error->message;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    parser_of(context).note(static_cast<uint64_t>(error->line),
                            fmt::format("expected well-formed XML: {}", text));
}

// Passes the next bytes to libxml2.
void XmlParser::feed() {
    const std::string bytes = input_.take(chunk);
    at_end_ = bytes.empty();
    xmlParseChunk(context_.get(), bytes.data(), static_cast<int>(bytes.size()), at_end_ ? 1 : 0);
}

// Reads on until there is an event, or none follows.
void XmlParser::wait() {
    if (next_ < events_.size()) return;
    events_.clear();
    next_ = 0;
    while (events_.empty() && problem_.empty() && !at_end_) feed();
}

XmlParser::Event *XmlParser::event() {
    wait();
    if (events_.empty()) {
        if (!problem_.empty()) fail(problem_line_, problem_);
        return nullptr;
    }
    Event &first = events_[next_++];
    std::swap(text_, first.after);
    return &first;
}

XmlElement XmlParser::root() {
    XmlElement element;
    next(element);
    return element;
}

bool XmlParser::next(XmlElement &element) {
    wait();
    if (!is_blank(text_.text)) fail(text_.line, "expected an element, not text");
    Event *const found = event();
    if (found == nullptr) return false;
    element = std::move(found->element);
    return found->kind == Event::Kind::start;
}

void XmlParser::take_inside(XmlElement &element) {
    for (;;) {
        wait();
        element.text += text_.text;
        if (element.text.size() > largest_element)
            fail(text_.line, fmt::format("expected a text of at most {} bytes", largest_element));
        Event *const found = event();
        if (found == nullptr || found->kind == Event::Kind::end) return;
        if (element.children.size() == 1) element.children.reserve(usual_children);
        // on_start limits the nesting.
        take_inside(element.children.emplace_back(std::move(found->element)));
    }
}

void XmlParser::finish() {
    if (const Event *const found = event())
        fail(found->element.line, "expected the end of the file after the root element");
}

}  // namespace tarnctl
