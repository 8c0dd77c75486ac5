/* SPDX-License-Identifier: Apache-2.0 */
// A handle of the embedded runtime: what everybody sees, and behind it what belongs
// to the runtime alone.
#ifndef TARNBASE_RUNTIME_STORE_HANDLE_H
#define TARNBASE_RUNTIME_STORE_HANDLE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "runtime/replication/attachment.h"
#include "tarnbase/embedded.h"

namespace tarn::runtime {

struct Handle : kel_handle {
    kel_state_tracking tracking{};
    std::uint32_t workspace_length = 1U << 20;
    std::unique_ptr<std::byte[]> workspace;  // made when it is first asked for
    kel_release_function release = nullptr;
    void *release_context = nullptr;
    std::uint64_t cache_reports = 0;
    std::unique_ptr<Attachment> replication;  // null: the engine is not attached
};

inline Handle &private_part(kel_handle *handle) { return *static_cast<Handle *>(handle); }
inline const Handle &private_part(const kel_handle *handle) {
    return *static_cast<const Handle *>(handle);
}

// Fills in the hooks of a handle on that store.
void set_hooks(kel_handle &handle, kel_store &store);

// Announces `length` bytes at `address` through the handle's hook.
inline void announce(kel_handle *handle, std::uint32_t tx_id, void *address, std::uint64_t length) {
    handle->write_log_hook(handle->arena, address, length, tx_id);
}

// Announces a store through the handle's hook and makes it.
template <typename T>
void announced_set(kel_handle *handle, std::uint32_t tx_id, T &place, T value) {
    announce(handle, tx_id, &place, sizeof(T));
    place = value;
}

// Reports an error: in `*err` first, then in the handle.
void report_error(kel_handle *handle, std::uint32_t *err, std::uint32_t code);

}  // namespace tarn::runtime

#endif
