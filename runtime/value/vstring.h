/* SPDX-License-Identifier: Apache-2.0 */
// A string's content inside the runtime.
//
// text_owner.h finds the text that a string owns by the string's address, not by its bytes.
// A string whose bytes were overwritten with another's can therefore still be set, and
// frees its own text and not the other's.
#ifndef TARNBASE_RUNTIME_VALUE_VSTRING_H
#define TARNBASE_RUNTIME_VALUE_VSTRING_H

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tarnbase/value.h"

namespace tarnbase::runtime {

// Longer texts are EINVAL: the length of every form that contains a string has to fit in a
// signed 32-bit number.
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

// kel_vstring_compare of this runtime, also in a process that has another one in its place.
extern "C" [[gnu::visibility("hidden")]] std::int32_t own_vstring_compare(const kel_vstring *a,
                                                                          const kel_vstring *b);

// Sets the string to a copy of `text`, logged. `text` may be in the string itself. Errors:
// ENOMEM, EINVAL; the string is then unchanged.
void assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err);

// Empties the string, logged, and frees the text that it owns.
void drop_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string);

// Makes a string outside any store refer to `text`, which it doesn't own.
void borrow_text(kel_vstring *string, std::string_view text);

}  // namespace tarnbase::runtime

#endif
