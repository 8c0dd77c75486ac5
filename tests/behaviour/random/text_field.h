/* SPDX-License-Identifier: Apache-2.0 */
// Reads and sets a string field with texts of the standard library.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_TEXT_FIELD_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_TEXT_FIELD_H

#include <string>

#include "tarnbase/embedded.h"

namespace tarn::test {

// A string that refers to `text`, to set a field from.
inline kel_vstring referring(const std::string &text) {
    kel_vstring string = {};
    kel_vstring_refer(&string, text.data(), static_cast<std::uint32_t>(text.size()));
    return string;
}

inline std::string text_of(const kel_vstring *string) {
    std::uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(string, &length);
    return {bytes, length};
}

}  // namespace tarn::test

#endif
