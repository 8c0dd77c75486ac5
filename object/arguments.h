/* SPDX-License-Identifier: Apache-2.0 */
// The values that the workers take in place of flags and long argument lists.
#ifndef TARNBASE_OBJECT_ARGUMENTS_H
#define TARNBASE_OBJECT_ARGUMENTS_H

#include <cstdint>

#include "tarnbase/descriptor.h"

namespace tarnbase {

// How memory becomes an object.
struct Initial {
    const kel_type_info *descriptor;  // constant form
    std::uint32_t log_writes = 1;     // 0: the memory is not in the arena
    std::uint32_t quiet = 0;          // nonzero: the usage counters stay
    std::uint8_t flags = 0;           // the first OBJ_... flags
    void *sttr_base = nullptr;        // of a nested object: its share of the state block
};

// Whether destroying an object frees its memory.
enum class Release : std::uint8_t { keep, free };
constexpr Release release_if(std::uint32_t release) {
    return release != 0 ? Release::free : Release::keep;
}

// Handed on to the value types as it is; any value but 0 is `yes`.
enum class InPlace : std::uint32_t { no, yes };

// What a text begins with.
struct Label {
    const char *name;
    std::uint32_t indent = 0;
};

// The start tag of an XML element.
struct Tag {
    const char *name;
    std::uint8_t state_flag = 0;  // 0: no attribute
};

// The element that a value is read from, and where a failure is described.
struct XmlElement {
    void *document;
    const char *path;
    char *message;  // may be null
    std::uint32_t message_len;

    XmlElement at(const char *other_path) const {
        return {document, other_path, message, message_len};
    }
};

}  // namespace tarnbase

#endif
