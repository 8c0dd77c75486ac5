/* SPDX-License-Identifier: Apache-2.0 */
// Which text block each string owns.
//
// A string copied byte for byte shows the text of the string it was copied from.
// What it owns is therefore kept apart, by the string's address: an entry of the
// store's map stands in front of the text in the same block, so that finding the
// text needs no allocation and, in a store without long texts, no memory access.
// The block comes from the handle's alloc_hook and goes to its free_hook.
#ifndef TARNBASE_RUNTIME_VALUE_TEXT_OWNER_H
#define TARNBASE_RUNTIME_VALUE_TEXT_OWNER_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/value.h"

namespace tarn::runtime {

// The text that `owner` owns, or null.
char *owned_text(kel_handle *handle, const kel_vstring *owner);

// Makes `length` bytes of text, uninitialised, that `owner` owns. A text that it
// owned before is given back, but only after the new one is there. Null: no
// memory, and nothing has changed.
char *allocate_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *owner,
                    std::uint32_t length);

// Gives the owner's text back and forgets it. Nothing happens if it owns none.
void release_text(kel_handle *handle, std::uint32_t tx_id, const kel_vstring *owner);

}  // namespace tarn::runtime

#endif
