/* SPDX-License-Identifier: Apache-2.0 */
// The keyed store: texts to addresses, by which a process finds what another one made.
// Changes belong to no transaction: they are permanent at once.
#ifndef TARNBASE_RUNTIME_CATALOG_KEYED_STORE_H
#define TARNBASE_RUNTIME_CATALOG_KEYED_STORE_H

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// The value of a key, or null.
void *key_value(const kel_handle *handle, const char *key);
// False: no memory, and the error text is set.
bool set_key(kel_handle *handle, const char *key, void *value);
// Removes a key; an absent one is no error.
void remove_key(kel_handle *handle, const char *key);

}  // namespace tarnbase::runtime

#endif
