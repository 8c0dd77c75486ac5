// SPDX-License-Identifier: Apache-2.0
// Clones and copies are made through the wire form, never by copying memory: a
// source's mappings and its embedded mark are not part of the copy.
#include "object/object.h"
#include "tarnbase/module.h"

namespace tarnbase::object {

namespace {

void rebuild(Type type, const Call &call, Input form, void **result) {
    if (*result == nullptr) {
        kel_tarnbase_type_trace_init();
        *result = create_internal(type, call);
        if (*result == nullptr) {
            call.report(ENOMEM);
            return;
        }
    }
    unmarshal(type, call, form, *result, InPlace::no);
}

// Fills `*result`, or a new object if that is null. A failure destroys it, even if
// the caller made it.
void clone_into(Type type, const Call &call, const void *source, void **result, Output workspace) {
    if (!call.enter()) return;
    if (source == nullptr || result == nullptr || workspace.at() == nullptr) {
        call.report(ENOENT);
        return;
    }
    const std::uint32_t length = marshal_for_clone(type, call, workspace, source);
    if (call.failed()) return;
    rebuild(type, call, {workspace.at(), length}, result);
    if (!call.failed()) return;
    destroy_internal(type, call, *result, Release::free);
    *result = nullptr;
}

Output workspace_of(kel_handle *handle) {
    void *workspace = nullptr;
    std::uint32_t length = 0;
    kellib_get_handle_ws(handle, &workspace, &length);
    return {workspace, length};
}

}  // namespace

void clone(Type type, const Call &call, const void *source, void **result, Output workspace) {
    if (result != nullptr) *result = nullptr;
    clone_into(type, call, source, result, workspace);
}

void *clone_cr(Type type, kel_handle *handle, const void *source) {
    void *result = nullptr;
    clone_into(type, Call::cr(handle), source, &result, workspace_of(handle));
    return result;
}

// A failure destroys the destination; only last_error reports it.
void copy_cr(Type type, kel_handle *handle, const void *source, void *destination) {
    void **result = destination == nullptr ? nullptr : &destination;
    clone_into(type, Call::cr(handle), source, result, workspace_of(handle));
}

}  // namespace tarnbase::object
