/* SPDX-License-Identifier: Apache-2.0 */
// The stores with files that this process has open, for services that get an object and no handle.
#ifndef TARNBASE_RUNTIME_STORE_OPEN_STORES_H
#define TARNBASE_RUNTIME_STORE_OPEN_STORES_H

struct kel_store;

namespace tarnbase::runtime {

void add_open_store(kel_store &store);
// Does nothing if the store wasn't added.
void remove_open_store(kel_store &store);

// As kel_store::note_block, in the store that contains the object, if one does.
void note_object(const void *object);

}  // namespace tarnbase::runtime

#endif
