// SPDX-License-Identifier: Apache-2.0
// Object identity.
#include <cerrno>
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/handle/mappings.h"

using namespace tarnbase::runtime;

std::uint32_t kel_object_map(kel_handle *handle, std::uint32_t tx_id, void *object,
                             std::uint64_t *oid) {
    if (object == nullptr) return fail(EINVAL, "kel_object_map: the object is null");
    std::uint32_t error = 0;
    const Identity *identity =
        identities_of(handle).map({handle, tx_id}, {object, kind_object, 0, 0}, &error);
    if (identity == nullptr) {
        return fail(error, "kel_object_map: %s", std::strerror(static_cast<int>(error)));
    }
    *oid = identity->id();
    return 0;
}

std::uint32_t kel_object_reference(kel_handle *handle, std::uint32_t tx_id, std::uint64_t oid) {
    Identities identities = identities_of(handle);
    Identity *identity = identities.with_id(oid);
    if (identity == nullptr) {
        return fail(ENOENT, "kel_object_reference: no object has the id %llu",
                    static_cast<unsigned long long>(oid));
    }
    identities.add_reference({handle, tx_id}, *identity);
    return 0;
}

void *kel_object_find(kel_handle *handle, std::uint64_t oid) {
    const Identity *identity = identities_of(handle).with_id(oid);
    return identity != nullptr ? identity->object() : nullptr;
}

void kel_handle_set_release(kel_handle *handle, kel_release_function function, void *context) {
    private_part(handle).release = function;
    private_part(handle).release_context = context;
}
