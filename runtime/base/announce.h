/* SPDX-License-Identifier: Apache-2.0 */
// How the runtime's services store into memory that is in use: as the library does, after
// an announcement through the handle's write_log_hook, which a program may have wrapped.
// What a service allocates it may fill unannounced before it is linked. The services'
// blocks themselves come from the store's allocator, not from the handle's hooks.
#ifndef TARNBASE_RUNTIME_BASE_ANNOUNCE_H
#define TARNBASE_RUNTIME_BASE_ANNOUNCE_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarn::runtime {

// Announces that `length` bytes at `address` are about to change.
inline void announce(kel_handle *handle, std::uint32_t tx_id, void *address, std::uint64_t length) {
    handle->write_log_hook(handle->arena, address, length, tx_id);
}

// Announces a store and makes it.
template <typename T>
void announced_set(kel_handle *handle, std::uint32_t tx_id, T &place, T value) {
    announce(handle, tx_id, &place, sizeof(T));
    place = value;
}

}  // namespace tarn::runtime

#endif
