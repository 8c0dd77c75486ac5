// SPDX-License-Identifier: Apache-2.0
// The OID mapping: identities by which objects and tables are referred to.
//
// State of a mapped object, by what its entry holds:
//   mapped       references counted, not released: its owner has it
//   released     not counted down to zero yet: its owner has destroyed it, and the
//                last reference to go takes the entry and calls the release function
// A table is never in the second state: whoever frees it tries again.
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/index/address_map.h"
#include "runtime/tenant/counters.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

constexpr std::uint32_t kind_object = 1;

struct Identity {
    MapNode by_object;
    MapNode by_id;
    std::uint64_t ior;
    std::uint32_t kind;
    std::uint32_t dynamic;
    std::uint32_t references;
    std::uint32_t released;

    void *object() const { return reinterpret_cast<void *>(by_object.key); }
    std::uint64_t id() const { return by_id.key; }
    bool is_table() const { return kind == KEL_OID_KIND_TABLE; }
};
static_assert(sizeof(Identity) == 56);

// The identities of a handle's store, for the length of a call.
class Identities {
 public:
    explicit Identities(kel_handle *handle)
        : handle_(handle),
          by_object_(handle, store_of(handle).header->identities_by_object),
          by_id_(handle, store_of(handle).header->identities_by_id) {}

    Identity *of(const void *object) const {
        return reinterpret_cast<Identity *>(by_object_.find(map_key(object)));
    }
    Identity *with_id(std::uint64_t id) const {
        MapNode *node = by_id_.find(id);
        if (node == nullptr) return nullptr;
        return reinterpret_cast<Identity *>(reinterpret_cast<char *>(node) -
                                            offsetof(Identity, by_id));
    }
    std::uint64_t next_id() const;
    Identity *add(std::uint32_t tx_id, const void *object, std::uint64_t id);
    void remove(std::uint32_t tx_id, Identity *identity);

 private:
    kel_handle *handle_;
    AddressMap by_object_;
    AddressMap by_id_;
};

std::uint64_t Identities::next_id() const {
    std::uint64_t id = store_of(handle_).header->last_object_id;
    do ++id;
    while (with_id(id) != nullptr);
    return id;
}

// Null: no memory, and nothing has changed.
Identity *Identities::add(std::uint32_t tx_id, const void *object, std::uint64_t id) {
    auto *identity = static_cast<Identity *>(store_of(handle_).allocate(tx_id, sizeof(Identity)));
    if (identity == nullptr) return nullptr;
    if (by_object_.insert(tx_id, map_key(object), &identity->by_object)) {
        if (by_id_.insert(tx_id, id, &identity->by_id)) return identity;
        by_object_.remove(tx_id, map_key(object));
    }
    store_of(handle_).release(tx_id, identity);
    return nullptr;
}

void Identities::remove(std::uint32_t tx_id, Identity *identity) {
    by_object_.remove(tx_id, identity->by_object.key);
    by_id_.remove(tx_id, identity->by_id.key);
    store_of(handle_).release(tx_id, identity);
}

// A table's header bytes aren't flags of the runtime's.
void set_mapped(kel_handle *handle, std::uint32_t tx_id, const Identity &identity, bool mapped) {
    if (identity.is_table()) return;
    std::uint8_t &flags = static_cast<kel_object *>(identity.object())->flags;
    const unsigned changed = mapped ? flags | OBJ_OID_MAPPED : flags & ~OBJ_OID_MAPPED;
    announced_set(handle, tx_id, flags, static_cast<std::uint8_t>(changed));
}

Identity *make_identity(kel_handle *handle, std::uint32_t tx_id, void *object, std::uint32_t kind,
                        std::uint32_t dynamic, std::uint64_t ior, std::uint32_t *err) {
    Identities identities(handle);
    if (Identity *known = identities.of(object)) return known;
    if (ior != 0 && identities.with_id(ior) != nullptr) {
        report_error(handle, err, EEXIST);
        return nullptr;
    }
    Identity *identity = identities.add(tx_id, object, ior != 0 ? ior : identities.next_id());
    if (identity == nullptr) {
        report_error(handle, err, ENOMEM);
        return nullptr;
    }
    if (ior == 0) {
        announced_set(handle, tx_id, store_of(handle).header->last_object_id, identity->id());
    }
    identity->ior = ior;
    identity->kind = kind;
    identity->dynamic = dynamic;
    set_mapped(handle, tx_id, *identity, true);
    return identity;
}

bool is_table(const void *object) {
    const kel_type_info *descriptor = static_cast<const kel_object *>(object)->descriptor;
    return descriptor != nullptr && std::strcmp(descriptor->kind, "table") == 0;
}

}  // namespace

void *kel_oid_mapping_create(kel_handle *handle, std::uint32_t tx_id, void *object,
                             std::uint32_t kind, std::uint32_t dynamic, std::uint64_t ior,
                             std::uint32_t *err) {
    if (*err != 0) return nullptr;
    return make_identity(handle, tx_id, object, kind, dynamic, ior, err);
}

std::uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, std::uint32_t tx_id, void *object,
                                              std::uint32_t *err) {
    if (*err != 0) return 0;
    Identities identities(handle);
    if (Identity *identity = identities.of(object)) {
        if (identity->references != 0) {
            if (!identity->is_table()) {
                announced_set(handle, tx_id, identity->released, std::uint32_t{1});
            }
            return 0;
        }
        set_mapped(handle, tx_id, *identity, false);
        identities.remove(tx_id, identity);
    }
    if (is_table(object)) drop_tenant_counters(handle, tx_id, static_cast<kel_table *>(object));
    return 1;
}

void kellib_lookup_and_update_oid_ref_count(kel_handle *handle, std::uint32_t tx_id,
                                            std::uint64_t oid, std::uint32_t, std::uint32_t *err) {
    if (*err != 0) return;
    Identities identities(handle);
    Identity *identity = identities.with_id(oid);
    if (identity == nullptr) {
        report_error(handle, err, ENOENT);
        return;
    }
    if (identity->references != 0) {
        announced_set(handle, tx_id, identity->references, identity->references - 1);
    }
    if (identity->references != 0 || identity->released == 0) return;
    void *object = identity->object();
    set_mapped(handle, tx_id, *identity, false);
    identities.remove(tx_id, identity);
    const Handle &whole = private_part(handle);
    if (whole.release != nullptr) whole.release(handle, tx_id, object, whole.release_context);
}

std::uint32_t kel_object_map(kel_handle *handle, std::uint32_t tx_id, void *object,
                             std::uint64_t *oid) {
    if (object == nullptr) return fail(EINVAL, "kel_object_map: the object is null");
    std::uint32_t error = 0;
    const Identity *identity = make_identity(handle, tx_id, object, kind_object, 0, 0, &error);
    if (identity == nullptr)
        return fail(error, "kel_object_map: %s", std::strerror(static_cast<int>(error)));
    *oid = identity->id();
    return 0;
}

std::uint32_t kel_object_reference(kel_handle *handle, std::uint32_t tx_id, std::uint64_t oid) {
    Identity *identity = Identities(handle).with_id(oid);
    if (identity == nullptr) {
        return fail(ENOENT, "kel_object_reference: no object has the id %llu",
                    static_cast<unsigned long long>(oid));
    }
    announced_set(handle, tx_id, identity->references, identity->references + 1);
    return 0;
}

void *kel_object_find(kel_handle *handle, std::uint64_t oid) {
    const Identity *identity = Identities(handle).with_id(oid);
    return identity != nullptr ? identity->object() : nullptr;
}
