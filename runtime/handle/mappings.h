/* SPDX-License-Identifier: Apache-2.0 */
// The mappings of a handle's store.
#ifndef TARNBASE_RUNTIME_HANDLE_MAPPINGS_H
#define TARNBASE_RUNTIME_HANDLE_MAPPINGS_H

#include "runtime/mapping/object_data.h"
#include "runtime/mapping/object_identity.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

inline ObjectDataMap object_data_of(const kel_handle *handle) {
    kel_store &store = store_of(handle);
    return {store.header->object_data, store};
}

inline Identities identities_of(const kel_handle *handle) {
    kel_store &store = store_of(handle);
    StoreHeader &header = *store.header;
    return {{header.identities_by_object, header.identities_by_id, header.last_object_id}, store};
}

}  // namespace tarnbase::runtime

#endif
