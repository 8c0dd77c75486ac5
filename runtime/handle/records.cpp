// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/release.h"
#include "runtime/store/store_handle.h"
#include "tarnbase/embedded.h"

namespace {

// A fallback of a `_cr` creation is not in the store.
std::uint32_t is_outside_store(const kel_handle *handle, const void *block) {
    return block != nullptr && !tarnbase::runtime::store_of(handle).contains(block, 1) ? 1 : 0;
}

}  // namespace

std::uint32_t kel_record_release(kel_handle *handle, std::uint32_t tx_id, const void *const *vector,
                                 kel_record *record) {
    return tarnbase::runtime::release_record(handle, tx_id, vector, record);
}

std::uint32_t kel_record_is_fallback(const kel_handle *handle, const kel_record *record) {
    return is_outside_store(handle, record);
}

std::uint32_t kel_object_is_fallback(const kel_handle *handle, const void *object) {
    return is_outside_store(handle, object);
}
