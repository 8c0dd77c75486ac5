// SPDX-License-Identifier: Apache-2.0
#include "runtime/handle/handle.h"

#include <cerrno>
#include <cstddef>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/variant/domain.h"

using namespace tarnbase::runtime;

namespace {

// One byte more than its length: marshal stores a state byte before it checks the space
// that remains.
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
    clear_variant_choices(handle->variant_domain);
    delete &private_part(handle);
}

kel_store *kel_handle_store(const kel_handle *handle) { return &store_of(handle); }

void kel_handle_set_state_tracking(kel_handle *handle, std::uint32_t mode) {
    kel_state_tracking &tracking = private_part(handle).tracking;
    tracking.state_tracking_mode = mode;
    handle->state_tracking = mode == 0 ? nullptr : &tracking;
}

std::uint32_t kel_handle_set_variant(kel_handle *handle, const kel_type_info *descriptor,
                                     std::int8_t variant) {
    if (descriptor == nullptr) {
        return fail(EINVAL, "kel_handle_set_variant: the descriptor is null");
    }
    try {
        choose_variant(handle->variant_domain, *descriptor, variant);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_handle_set_variant: no memory");
    }
    return 0;
}

std::uint32_t kel_handle_set_workspace(kel_handle *handle, std::uint32_t length) {
    Handle &part = private_part(handle);
    if (length != 0) {
        auto workspace = make_workspace(length);
        if (workspace == nullptr) {
            return fail(ENOMEM, "kel_handle_set_workspace: no memory for %u bytes", length);
        }
        part.workspace = std::move(workspace);
    } else {
        part.workspace.reset();
    }
    part.workspace_length = length;
    return 0;
}

std::byte *tarnbase::runtime::workspace_of(Handle &handle) {
    if (handle.workspace == nullptr && handle.workspace_length != 0) {
        handle.workspace = make_workspace(handle.workspace_length);
    }
    return handle.workspace.get();
}
