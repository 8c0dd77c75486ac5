/* SPDX-License-Identifier: Apache-2.0 */
// Which text block each string owns.
//
// A string that was copied byte for byte refers to the text of the original. Ownership is
// therefore kept separately, in a map by the string's address. The map's entry precedes the
// text in the same block: finding a text needs no allocation and, in a store without long
// texts, no memory access. The blocks are allocated and freed through the handle's hooks.
#ifndef TARNBASE_RUNTIME_VALUE_TEXT_OWNER_H
#define TARNBASE_RUNTIME_VALUE_TEXT_OWNER_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/value.h"

namespace tarnbase::runtime {

// The text that `owner` owns, or null.
char *owned_text(kel_handle *handle, const kel_vstring *owner);

// Whether the byte at `place` may be one of the text that `owner` owns. Others may be, too.
bool may_own(kel_handle *handle, const kel_vstring *owner, const char *place);

// Allocates `length` uninitialised bytes of text, which `owner` then owns. Its previous text
// is freed after that. Null: no memory, and nothing has changed.
char *allocate_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *owner,
                    std::uint32_t length);

// Frees the owner's text, if it owns one.
void release_text(kel_handle *handle, std::uint32_t tx_id, const kel_vstring *owner);

}  // namespace tarnbase::runtime

#endif
