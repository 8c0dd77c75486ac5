// SPDX-License-Identifier: Apache-2.0
//
// Reads a document of any length tag by tag, or an element as a whole. libxml2 parses it in pieces,
// so that memory holds little more than one element. A document type declaration is refused, so
// that only XML's own entities are expanded.
#ifndef TARNCTL_EXCHANGE_XML_PARSER_H
#define TARNCTL_EXCHANGE_XML_PARSER_H

#include <libxml/parser.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/input.h"

namespace tarnctl {

// The tags of a document in their order, start tags with the text after them. All texts are in one
// string, so that the next element allocates nothing.
class XmlTags {
 public:
    // A part of the texts.
    struct Text {
        std::size_t begin = 0;
        std::size_t length = 0;
    };
    struct Attribute {
        Text name;
        Text value;
    };
    struct Tag {
        bool is_start = false;
        bool is_followed_by_text = false;  // which isn't blank
        std::string_view name{};           // of a start tag; valid as long as the parser
        uint64_t line = 0;                 // of a start tag
        // Of the texts and the attributes when the tag was added.
        std::size_t texts = 0;
        std::size_t first_attribute = 0;
        std::size_t attributes = 0;
        // The text after the tag, of an end tag only its length, and the line of its first
        // character.
        Text after{};
        uint64_t after_line = 0;
    };

    void add_start(std::string_view name, uint64_t line);
    // Of the start tag that was added last.
    void add_attribute(std::string_view prefix, std::string_view name, std::string_view value);
    void add_end();
    // More of the text after the last tag. `line` is that of its first character.
    void add_text(std::string_view text, uint64_t line);
    // Removes the tags before a place.
    void drop_before(std::size_t place);

    std::size_t size() const { return tags_.size(); }
    const Tag &at(std::size_t place) const { return tags_[place]; }
    const Attribute &attribute(std::size_t place) const { return attributes_[place]; }
    std::string_view text(const Text &text) const {
        return std::string_view(texts_).substr(text.begin, text.length);
    }
    // The place after an element, which begins at `place` and is complete.
    std::size_t after_element(std::size_t place) const;

 private:
    std::vector<Tag> tags_;
    std::vector<Attribute> attributes_;
    std::string texts_;
};

// An element of a document.
// Lifetime: until XmlParser::next is called again.
class XmlElement {
 public:
    // The elements inside of one, in their order.
    class Children {
     public:
        Children(const XmlTags &tags, std::size_t place) : tags_(&tags), place_(place) {}
        XmlElement operator*() const { return {*tags_, place_}; }
        Children &operator++() {
            place_ = tags_->after_element(place_);
            return *this;
        }
        // Whether there are more; the end is the end tag around them.
        bool operator!=(std::nullptr_t) const { return tags_->at(place_).is_start; }
        Children begin() const { return *this; }
        std::nullptr_t end() const { return nullptr; }

     private:
        const XmlTags *tags_;
        std::size_t place_;
    };

    XmlElement(const XmlTags &tags, std::size_t place) : tags_(&tags), place_(place) {}

    std::string_view name() const { return tag().name; }
    uint64_t line() const { return tag().line; }
    std::optional<std::string_view> attribute(std::string_view wanted) const;
    std::size_t attributes() const { return tag().attributes; }
    std::string_view attribute_name(std::size_t place) const {
        return tags_->text(tags_->attribute(tag().first_attribute + place).name);
    }

    // Of an element that was read with XmlParser::take_inside:
    Children children() const { return {*tags_, place_ + 1}; }
    // The text in front of the first child.
    std::string_view text() const { return tags_->text(tag().after); }
    // Whether there are only blanks around the children.
    bool has_no_text() const;

 private:
    const XmlTags::Tag &tag() const { return tags_->at(place_); }

    const XmlTags *tags_;
    std::size_t place_;
};

class XmlParser {
 public:
    explicit XmlParser(Input &input);
    XmlParser(const XmlParser &) = delete;
    XmlParser &operator=(const XmlParser &) = delete;

    // The next start tag inside the open element, which contains only elements; at first the root
    // element. None if it was the element's end tag. Failure `data` with the line, here and below.
    std::optional<XmlElement> next();
    // Reads the content of the element whose start tag was just read, and its end tag.
    void take_inside();
    // Failure unless only blanks and comments follow the root element.
    void finish();

    // Throws the error of a line.
    [[noreturn]] void fail(uint64_t line, const std::string &text) const;

 private:
    struct Free {
        void operator()(xmlParserCtxt *context) const { xmlFreeParserCtxt(context); }
    };

    static xmlSAXHandler handlers();
    // The line that libxml2 reads in a handler.
    uint64_t line_of_handler() const { return static_cast<uint64_t>(context_->input->line); }
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

    bool wait();
    void feed();
    std::string_view name_of(const xmlChar *prefix, const xmlChar *name) const;
    void note(uint64_t line, const std::string &problem);
    uint64_t line() const;

    Input &input_;
    std::unique_ptr<xmlParserCtxt, Free> context_;
    XmlTags tags_;
    std::size_t next_ = 1;  // the tag that is read next; the one before it stays for its text
    std::size_t depth_ = 0;
    bool at_end_ = false;
    std::string problem_;  // the first one, thrown after the tags before it
    uint64_t problem_line_ = 0;
};

}  // namespace tarnctl

#endif
