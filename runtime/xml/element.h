/* SPDX-License-Identifier: Apache-2.0 */
// A value as an XML element, both ways.
#ifndef TARNBASE_RUNTIME_XML_ELEMENT_H
#define TARNBASE_RUNTIME_XML_ELEMENT_H

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "runtime/base/errors.h"
#include "runtime/xml/tag.h"

namespace tarnbase::runtime {

// Where an element is written.
struct ElementPlace {
    kel_handle *handle;
    const char *name;
    char *buffer;
    std::uint32_t remaining;
    std::uint8_t state_flag;
    std::uint32_t *err;
};

// Writes "<name>content</name>\n", the content by `append(line)`. Returns the length; 0
// with EMSGSIZE if it doesn't fit.
template <typename Append>
std::uint32_t write_element(const ElementPlace &place, Append append) {
    if (*place.err != 0) return 0;
    Line line(place.buffer, place.remaining);
    const std::string_view name = place.name;
    append_start_tag(line, name, place.state_flag);
    append(line);
    append_end_tag(line, name);
    return line.character('\n').finish(place.handle, place.err);
}

// Reports EINVAL: XML can't represent the text of element `name` from the byte at `offset`.
void report_unrepresentable(kel_handle *handle, const char *name, std::size_t offset,
                            std::uint32_t *err);

// Where a value is read from.
struct ElementSource {
    kel_handle *handle;
    const char *path;
    void *document;
    std::uint32_t *err;
};

// Reads the text of the first element at the path. Returns false and reports an error:
// ENOENT if there is none, EINVAL if it contains elements or the path is bad. Throws
// std::bad_alloc.
bool read_element(const ElementSource &source, std::string &text);

// Reports EINVAL: the element at the path contains `text` instead of what is expected, such
// as "a number from 0 to 255".
void report_content(const ElementSource &source, const std::string &text,
                    const std::string &expected);

// Reads a value: `store(text)` stores the value that the text represents, or returns what
// it expects instead.
template <typename Store>
void read_value(const ElementSource &source, Store store) try {
    std::string text;
    if (!read_element(source, text)) return;
    const std::string expected = store(text);
    if (!expected.empty()) report_content(source, text, expected);
} catch (const std::bad_alloc &) {
    report_error(source.handle, source.err, ENOMEM);
}

}  // namespace tarnbase::runtime

#endif
