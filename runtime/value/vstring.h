/* SPDX-License-Identifier: Apache-2.0 */
// A string's content, seen from inside the runtime.
//
// A string owns its text by its address: the text registry knows which block
// belongs to which string, whatever the string's bytes say. The bytes are only
// read. So a string whose bytes were overwritten with another's can still be
// set, and frees its own text and not the other's.
#ifndef TARNBASE_RUNTIME_VALUE_VSTRING_H
#define TARNBASE_RUNTIME_VALUE_VSTRING_H

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tarnbase/value.h"

namespace tarn::runtime {

// Longer texts are refused with EINVAL: all lengths of forms that hold a string
// have to fit in a signed 32-bit number.
inline constexpr std::uint32_t longest_text = 0x7fffff00;

inline bool is_inline(const kel_vstring &string) { return string.length <= KEL_VSTRING_INLINE; }

inline const char *text_block(const kel_vstring &string) {
    const char *block;
    std::memcpy(&block, string.text.outside.block, sizeof block);
    return block;
}

// The bytes of a string; none for a null one.
inline std::string_view text_of(const kel_vstring *string) {
    if (string == nullptr) return {};
    return {is_inline(*string) ? string->text.bytes : text_block(*string), string->length};
}

// Gives the string a text of its own, logged: a copy of `text`, which may lie in
// the string itself. Errors: ENOMEM, EINVAL; the string then stays as it was.
void assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err);

// Empties the string, logged, and gives back the text that it owns.
void drop_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string);

}  // namespace tarn::runtime

#endif
