// SPDX-License-Identifier: Apache-2.0
// Tells a fallback of a `_cr` creation from what was made in the store.
#include "runtime/handle/handle.h"
#include "tarnbase/embedded.h"

namespace {

std::uint32_t lies_elsewhere(const kel_handle *handle, const void *block) {
    return block != nullptr && !tarn::runtime::store_of(handle).contains(block, 1) ? 1 : 0;
}

}  // namespace

std::uint32_t kel_record_is_fallback(const kel_handle *handle, const kel_record *record) {
    return lies_elsewhere(handle, record);
}

std::uint32_t kel_object_is_fallback(const kel_handle *handle, const void *object) {
    return lies_elsewhere(handle, object);
}
