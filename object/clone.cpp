// SPDX-License-Identifier: Apache-2.0
// Clones and copies go through the wire form, never by memory copy: nothing of a
// source's mappings or embedded mark is carried over.
#include "frame/conventions.h"
#include "object/object.h"

namespace tarnbase::object {

namespace {

void rebuild(Type type, kel_handle *handle, std::uint32_t tx_id, const void *workspace,
             std::uint32_t length, void **result, std::uint32_t *err) {
    if (*result == nullptr) {
        kel_tarnbase_type_trace_init();
        *result = create_internal(type, handle, tx_id);
        if (*result == nullptr) {
            report(handle, err, ENOMEM);
            return;
        }
    }
    unmarshal(type, handle, tx_id, workspace, *result, length, 0, err);
}

// Fills `*result`, or a new object if that is null. A failure destroys it, also
// where the caller brought it.
void clone_into(Type type, kel_handle *handle, std::uint32_t tx_id, const void *source,
                void **result, void *workspace, std::uint32_t workspace_len, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    if (source == nullptr || result == nullptr || workspace == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    const std::uint32_t length =
        marshal_for_clone(type, handle, tx_id, workspace, source, workspace_len, err);
    if (*err != 0) return;
    rebuild(type, handle, tx_id, workspace, length, result, err);
    if (*err == 0) return;
    destroy_internal(type, handle, tx_id, *result, 1);
    *result = nullptr;
}

}  // namespace

void clone(Type type, kel_handle *handle, std::uint32_t tx_id, const void *source, void **result,
           void *workspace, std::uint32_t workspace_len, std::uint32_t *err) {
    if (result != nullptr) *result = nullptr;
    clone_into(type, handle, tx_id, source, result, workspace, workspace_len, err);
}

void *clone_cr(Type type, kel_handle *handle, const void *source) {
    void *result = nullptr;
    void *workspace = nullptr;
    std::uint32_t workspace_len = 0;
    kellib_get_handle_ws(handle, &workspace, &workspace_len);
    clone_into(type, handle, handle->cr_tx_id, source, &result, workspace, workspace_len,
               &handle->last_error);
    return result;
}

// A failure destroys the destination; the caller learns of it from last_error.
void copy_cr(Type type, kel_handle *handle, const void *source, void *destination) {
    void *workspace = nullptr;
    std::uint32_t workspace_len = 0;
    kellib_get_handle_ws(handle, &workspace, &workspace_len);
    void **result = destination == nullptr ? nullptr : &destination;
    clone_into(type, handle, handle->cr_tx_id, source, result, workspace, workspace_len,
               &handle->last_error);
}

}  // namespace tarnbase::object
