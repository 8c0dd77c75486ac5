// SPDX-License-Identifier: Apache-2.0
#include "runtime/handle/handle.h"

#include <cerrno>
#include <cstddef>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/store/store.h"
#include "runtime/variant/domain.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

// One byte more than is said: marshal stores a state byte before it looks at the
// room that is left.
std::unique_ptr<std::byte[]> make_workspace(std::uint32_t length) {
    return std::unique_ptr<std::byte[]>(new (std::nothrow) std::byte[std::size_t{length} + 1]);
}

}  // namespace

std::uint32_t kel_handle_create(kel_store *store, std::uint32_t store_types_enabled,
                                kel_handle **handle) {
    *handle = nullptr;
    if (store == nullptr) return fail(EINVAL, "kel_handle_create: the store is null");
    auto *made = new (std::nothrow) Handle{};
    if (made == nullptr) return fail(ENOMEM, "kel_handle_create: no memory");
    made->store = store;
    set_hooks(*made);
    made->store_types_enabled = store_types_enabled;
    made->cr_tx_id = KEL_TX_NONE;
    made->hd_mapping_enabled = 1;
    *handle = made;
    return 0;
}

void kel_handle_destroy(kel_handle *handle) {
    if (handle == nullptr) return;
    clear_variant_choices(&handle->variant_domain);
    delete &private_part(handle);
}

kel_store *kel_handle_store(const kel_handle *handle) { return &store_of(handle); }

void kel_handle_set_state_tracking(kel_handle *handle, std::uint32_t mode) {
    kel_state_tracking &tracking = private_part(handle).tracking;
    tracking.state_tracking_mode = mode;
    handle->state_tracking = mode == 0 ? nullptr : &tracking;
}

std::uint32_t kel_handle_set_workspace(kel_handle *handle, std::uint32_t length) {
    Handle &whole = private_part(handle);
    if (length != 0) {
        auto workspace = make_workspace(length);
        if (workspace == nullptr) {
            return fail(ENOMEM, "kel_handle_set_workspace: no memory for %u bytes", length);
        }
        whole.workspace = std::move(workspace);
    } else {
        whole.workspace.reset();
    }
    whole.workspace_length = length;
    return 0;
}

void kellib_get_handle_ws(kel_handle *handle, void **workspace, std::uint32_t *length) {
    Handle &whole = private_part(handle);
    if (whole.workspace == nullptr && whole.workspace_length != 0) {
        whole.workspace = make_workspace(whole.workspace_length);
    }
    *workspace = whole.workspace.get();
    *length = whole.workspace != nullptr ? whole.workspace_length : 0;
}

void kel_handle_set_release(kel_handle *handle, kel_release_function function, void *context) {
    private_part(handle).release = function;
    private_part(handle).release_context = context;
}
