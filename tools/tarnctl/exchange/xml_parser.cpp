// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_parser.h"

#include <fmt/core.h>
#include <libxml/SAX2.h>

#include <algorithm>

#include "exchange/sink.h"

namespace tarnctl {
namespace {

// The tags of a chunk stay in a near cache until they are read.
constexpr std::size_t chunk = 8192;
constexpr std::size_t largest_element = std::size_t{1} << 30U;
// So many tags that were read are removed at a time.
constexpr std::size_t most_read_tags = 1024;

bool is_blank(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        return character == ' ' || character == '\t' || character == '\r' || character == '\n';
    });
}

std::string_view view_of(const xmlChar *text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char *>(text);
}

std::string_view view_between(const xmlChar *begin, const xmlChar *end) {
    return {reinterpret_cast<const char *>(begin), reinterpret_cast<const char *>(end)};
}

}  // namespace

void XmlTags::add_start(std::string_view name, uint64_t line) {
    tags_.push_back({true, false, name, line, texts_.size(), attributes_.size(), 0, {}, 0});
}

void XmlTags::add_attribute(std::string_view prefix, std::string_view name,
                            std::string_view value) {
    Attribute &added = attributes_.emplace_back();
    added.name.begin = texts_.size();
    if (!prefix.empty()) texts_.append(prefix) += ':';
    texts_ += name;
    added.name.length = texts_.size() - added.name.begin;
    added.value = {texts_.size(), value.size()};
    texts_ += value;
    ++tags_.back().attributes;
}

void XmlTags::add_text(std::string_view text, uint64_t line) {
    Tag &last = tags_.back();
    if (last.after.length == 0) {
        last.after.begin = texts_.size();
        last.after_line = line;
    }
    last.after.length += text.size();
    last.is_followed_by_text = last.is_followed_by_text || !is_blank(text);
    if (last.is_start) texts_ += text;
}

void XmlTags::drop_before(std::size_t place) {
    tags_.erase(tags_.begin(), tags_.begin() + static_cast<std::ptrdiff_t>(place));
    const Tag first = tags_.front();
    for (Tag &each : tags_) {
        each.texts -= first.texts;
        each.after.begin -= std::min(first.texts, each.after.begin);
        each.first_attribute -= first.first_attribute;
    }
    attributes_.erase(attributes_.begin(),
                      attributes_.begin() + static_cast<std::ptrdiff_t>(first.first_attribute));
    for (Attribute &each : attributes_) {
        each.name.begin -= first.texts;
        each.value.begin -= first.texts;
    }
    texts_.erase(0, first.texts);
}

std::size_t XmlTags::after_element(std::size_t place) const {
    std::size_t depth = 0;
    do {
        if (tags_[place++].is_start) ++depth;
        else --depth;
    } while (depth > 0);
    return place;
}

void XmlTags::add_end() {
    tags_.push_back({false, false, {}, 0, texts_.size(), attributes_.size(), 0, {}, 0});
}

std::optional<std::string_view> XmlElement::attribute(std::string_view wanted) const {
    for (std::size_t i = 0; i < attributes(); ++i) {
        if (attribute_name(i) == wanted)
            return tags_->text(tags_->attribute(tag().first_attribute + i).value);
    }
    return std::nullopt;
}

bool XmlElement::has_no_text() const {
    if (tag().is_followed_by_text) return false;
    for (std::size_t i = place_ + 1; tags_->at(i).is_start;) {
        i = tags_->after_element(i);
        if (tags_->at(i - 1).is_followed_by_text) return false;
    }
    return true;
}

xmlSAXHandler XmlParser::handlers() {
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = on_start;
    handlers.endElementNs = on_end;
    // libxml2 doesn't look for blanks if they go to the same function.
    handlers.characters = on_text;
    handlers.ignorableWhitespace = on_text;
    handlers.cdataBlock = on_text;
    handlers.internalSubset = on_document_type;
    handlers.serror = on_error;
    return handlers;
}

XmlParser::XmlParser(Input &input) : input_(input) {
    tags_.add_end();  // for the text in front of the root element
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
    const std::string full = fmt::format("{}:{}", view_of(prefix), view_of(name));
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
    const uint64_t line = parser.line_of_handler();
    parser.tags_.add_start(parser.name_of(prefix, name), line);
    // Five pointers an attribute: name, prefix, namespace, start and end of the value.
    for (int i = 0; i < attribute_count; ++i, attributes += 5)
        parser.tags_.add_attribute(view_of(attributes[1]), view_of(attributes[0]),
                                   view_between(attributes[3], attributes[4]));
    if (++parser.depth_ > deepest_nesting)
        parser.note(line,
                    fmt::format("expected elements that nest no deeper than {}", deepest_nesting));
}

void XmlParser::on_end(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
    XmlParser &parser = parser_of(context);
    --parser.depth_;
    parser.tags_.add_end();
}

// Text comes in pieces of any length.
void XmlParser::on_text(void *context, const xmlChar *text, int length) {
    XmlParser &parser = parser_of(context);
    parser.tags_.add_text(view_between(text, text + length), parser.line_of_handler());
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
    const std::string_view bytes = input_.rest().substr(0, chunk);
    at_end_ = bytes.empty();
    xmlParseChunk(context_.get(), bytes.data(), static_cast<int>(bytes.size()), at_end_ ? 1 : 0);
    input_.pass(bytes.size());
}

// Reads on until there is a tag. False if none follows; throws the problem that the parser found.
bool XmlParser::wait() {
    while (next_ == tags_.size() && problem_.empty() && !at_end_) feed();
    if (next_ < tags_.size()) return true;
    if (!problem_.empty()) fail(problem_line_, problem_);
    return false;
}

std::optional<XmlElement> XmlParser::next() {
    if (next_ > most_read_tags) {
        tags_.drop_before(next_ - 1);
        next_ = 1;
    }
    const bool is_there = wait();
    const XmlTags::Tag &last = tags_.at(next_ - 1);
    if (last.is_followed_by_text) fail(last.after_line, "expected an element, not text");
    if (!is_there || !tags_.at(next_++).is_start) return std::nullopt;
    return XmlElement(tags_, next_ - 1);
}

void XmlParser::take_inside() {
    for (std::size_t depth = 1; depth > 0; ++next_) {
        if (!wait()) fail(line(), "expected the end of an element");
        const XmlTags::Tag &last = tags_.at(next_ - 1);
        if (last.after.length > largest_element)
            fail(last.after_line,
                 fmt::format("expected a text of at most {} bytes", largest_element));
        if (tags_.at(next_).is_start) ++depth;
        else --depth;
    }
}

void XmlParser::finish() {
    if (wait()) fail(tags_.at(next_).line, "expected the end of the file after the root element");
}

}  // namespace tarnctl
