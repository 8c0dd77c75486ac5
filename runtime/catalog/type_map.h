/* SPDX-License-Identifier: Apache-2.0 */
// A store's descriptor copies, by LUID text.
#ifndef TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H
#define TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// Enters a copy; it replaces one with the same text. Without memory for the entry the
// next lookup finds no copy.
void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy);
// The copy with that text, or null.
kel_type_info_copy *type_map_lookup(const kel_handle *handle, const char *luid_text);

}  // namespace tarnbase::runtime

#endif
