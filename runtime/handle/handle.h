/* SPDX-License-Identifier: Apache-2.0 */
// A handle of the embedded runtime: what everybody sees, and behind it what belongs
// to the runtime alone. It is the `arena`, the `type_map` and the `type_arena` of itself:
// what a hook or a service of the tree gets leads to the handle, and so to its hooks.
#ifndef TARNBASE_RUNTIME_HANDLE_HANDLE_H
#define TARNBASE_RUNTIME_HANDLE_HANDLE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "runtime/base/announce.h"
#include "runtime/replication/attachment.h"
#include "runtime/store/store.h"
#include "tarnbase/embedded.h"

namespace tarn::runtime {

struct Handle : kel_handle {
    kel_store *store = nullptr;
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

inline Handle *handle_of(void *arena) { return static_cast<Handle *>(arena); }

inline kel_store &store_of(const kel_handle *handle) { return *private_part(handle).store; }

// Fills in the hooks of a handle, and what they get.
void set_hooks(Handle &handle);

// Reports an error: in `*err` first, then in the handle.
void report_error(kel_handle *handle, std::uint32_t *err, std::uint32_t code);

}  // namespace tarn::runtime

#endif
