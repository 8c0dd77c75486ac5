/* SPDX-License-Identifier: Apache-2.0 */
// An ordered set of names in the store, each with a pointer: the keyed store and the type
// map. Changes belong to no transaction.
#ifndef TARNBASE_RUNTIME_CATALOG_NAMED_ENTRY_H
#define TARNBASE_RUNTIME_CATALOG_NAMED_ENTRY_H

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// A block of the store: the entry, followed by the name's bytes with their NUL.
struct NamedEntry {
    kel_index_node node;
    const char *name;
    void *value;
};
static_assert(sizeof(NamedEntry) == 48);

// The entry of that name, or null.
NamedEntry *find_named(void *root, const char *name);
// Sets the value of a name, which may be new. False: no memory.
bool set_named(kel_handle *handle, void **anchor, const char *name, void *value);
// Removes a name; an absent one is no error.
void remove_named(kel_handle *handle, void **anchor, const char *name);

}  // namespace tarnbase::runtime

#endif
