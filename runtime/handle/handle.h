/* SPDX-License-Identifier: Apache-2.0 */
// A handle of the embedded runtime: the public kel_handle, followed by the runtime's members.
#ifndef TARNBASE_RUNTIME_HANDLE_HANDLE_H
#define TARNBASE_RUNTIME_HANDLE_HANDLE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "runtime/catalog/type_map.h"
#include "runtime/replication/attachment.h"
#include "runtime/store/store_handle.h"
#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

struct Handle : StoreHandle {
    kel_state_tracking tracking{};
    FoundTypes found_types;
    std::uint32_t workspace_length = 1U << 20;
    std::unique_ptr<std::byte[]> workspace;  // null until its first use
    kel_release_function release = nullptr;
    void *release_context = nullptr;
    std::uint64_t cache_reports = 0;
    std::unique_ptr<Attachment> replication;  // null: the engine is not attached
};

inline Handle &private_part(kel_handle *handle) { return *static_cast<Handle *>(handle); }
inline const Handle &private_part(const kel_handle *handle) {
    return *static_cast<const Handle *>(handle);
}

// Sets the hooks of a handle and their first arguments.
void set_hooks(Handle &handle);

// Announces a range to the handle's log, if that does the same as announcing each piece of it: not
// with a hook of the program's own, or in a process that may not change the store. False: nothing
// is announced.
bool announce_range(kel_handle *handle, std::uint32_t tx_id, const void *address,
                    std::uint64_t length);

// The handle's workspace, allocated on first use; null without memory or length.
std::byte *workspace_of(Handle &handle);

}  // namespace tarnbase::runtime

#endif
