/* SPDX-License-Identifier: Apache-2.0 */
// A value as an XML element, both ways.
#ifndef TARNBASE_RUNTIME_XML_ELEMENT_H
#define TARNBASE_RUNTIME_XML_ELEMENT_H

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "runtime/xml/tag.h"

namespace tarn::runtime {

// Where an element is to be written.
struct ElementPlace {
    kel_handle *handle;
    const char *name;
    char *buffer;
    std::uint32_t remaining;
    std::uint8_t state_flag;
    std::uint32_t *err;
};

// Writes "<name>content</name>\n", the content by `append(line)`. Returns the
// characters; 0 and EMSGSIZE if they don't fit.
template <typename Append>
std::uint32_t write_element(const ElementPlace &place, Append append) {
    if (*place.err != 0) return 0;
    Line line(place.buffer, place.remaining);
    append_start_tag(line, place.name, place.state_flag);
    append(line);
    append_end_tag(line, place.name);
    return line.character('\n').finish(place.handle, place.err);
}

// Reports EINVAL: XML can't carry the text of element `name`, the first unfit
// byte being at `offset`.
void report_unfit(kel_handle *handle, const char *name, std::size_t offset, std::uint32_t *err);

// Where a value is to be read from.
struct ElementSource {
    kel_handle *handle;
    const char *path;
    void *document;
    std::uint32_t *err;
};

// Stores the text of the first element at the path. False, and an error reported:
// 2 there is none, 22 it holds no text but elements, or the path is bad. Throws
// std::bad_alloc.
bool read_element(const ElementSource &source, std::string &text);

// Reports EINVAL: the element at the path holds `text`, and not what was
// expected, such as "a number from 0 to 255".
void report_content(const ElementSource &source, const std::string &text,
                    const std::string &expected);

// Reads a value: `take(text)` stores what the text says, or answers what it
// expected in its place.
template <typename Take>
void read_value(const ElementSource &source, Take take) try {
    std::string text;
    if (!read_element(source, text)) return;
    const std::string expected = take(text);
    if (!expected.empty()) report_content(source, text, expected);
} catch (const std::bad_alloc &) {
    report(source.handle, source.err, ENOMEM);
}

}  // namespace tarn::runtime

#endif
