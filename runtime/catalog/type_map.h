/* SPDX-License-Identifier: Apache-2.0 */
// A store's own descriptors, by LUID text.
#ifndef TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H
#define TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H

#include "runtime/store/store.h"
#include "tarnbase/handle.h"

namespace tarn::runtime {

// Enters a copy, in place of one that is there under the same text. With no memory
// for the entry the copy stays unknown, and the next lookup finds none.
void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy);
// The copy under that text, or null.
kel_type_info_copy *type_map_lookup(const kel_store &store, const char *luid_text);

}  // namespace tarn::runtime

#endif
