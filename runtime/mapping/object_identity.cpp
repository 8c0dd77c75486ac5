// SPDX-License-Identifier: Apache-2.0
#include "runtime/mapping/object_identity.h"

#include <cstddef>

#include "runtime/base/errors.h"

namespace tarnbase::runtime {

namespace {

// The header bytes of a table are not flags of the runtime.
void set_mapped(WriteLog log, const Identity &identity, bool mapped) {
    if (identity.is_table()) return;
    std::uint8_t &flags = static_cast<kel_object *>(identity.object())->flags;
    const unsigned changed = mapped ? flags | OBJ_OID_MAPPED : flags & ~OBJ_OID_MAPPED;
    log.set(flags, static_cast<std::uint8_t>(changed));
}

}  // namespace

Identities::Identities(const IdentityRoots &roots, BlockAllocator &allocator)
    : by_object_(roots.by_object, allocator),
      by_id_(roots.by_id, allocator),
      last_id_(roots.last_id),
      allocator_(allocator) {}

Identity *Identities::of(const void *object) const {
    return reinterpret_cast<Identity *>(by_object_.find(map_key(object)));
}

Identity *Identities::with_id(std::uint64_t id) const {
    MapNode *node = by_id_.find(id);
    if (node == nullptr) return nullptr;
    return reinterpret_cast<Identity *>(reinterpret_cast<char *>(node) - offsetof(Identity, by_id));
}

std::uint64_t Identities::next_id() const {
    std::uint64_t id = last_id_;
    do ++id;
    while (with_id(id) != nullptr);
    return id;
}

// Null: no memory, and nothing has changed.
Identity *Identities::add(WriteLog log, const void *object, std::uint64_t id) {
    auto *identity = static_cast<Identity *>(allocator_.allocate(log.tx_id, sizeof(Identity)));
    if (identity == nullptr) return nullptr;
    if (by_object_.insert(log, map_key(object), &identity->by_object)) {
        if (by_id_.insert(log, id, &identity->by_id)) return identity;
        by_object_.remove(log, map_key(object));
    }
    allocator_.release(log.tx_id, identity);
    return nullptr;
}

void Identities::remove(WriteLog log, Identity &identity) {
    set_mapped(log, identity, false);
    by_object_.remove(log, identity.by_object.key);
    by_id_.remove(log, identity.by_id.key);
    allocator_.release(log.tx_id, &identity);
}

Identity *Identities::map(WriteLog log, const Request &request, std::uint32_t *err) {
    if (Identity *known = of(request.object)) return known;
    if (request.ior != 0 && with_id(request.ior) != nullptr) {
        report_error(log.handle, err, EEXIST);
        return nullptr;
    }
    Identity *identity = add(log, request.object, request.ior != 0 ? request.ior : next_id());
    if (identity == nullptr) {
        report_error(log.handle, err, ENOMEM);
        return nullptr;
    }
    if (request.ior == 0) log.set(last_id_, identity->id());
    identity->ior = request.ior;
    identity->kind = request.kind;
    identity->dynamic = request.dynamic;
    set_mapped(log, *identity, true);
    return identity;
}

bool Identities::unmap(WriteLog log, const void *object) {
    Identity *identity = of(object);
    if (identity == nullptr) return true;
    if (identity->references == 0) {
        remove(log, *identity);
        return true;
    }
    if (!identity->is_table()) log.set(identity->released, std::uint32_t{1});
    return false;
}

void Identities::add_reference(WriteLog log, Identity &identity) {
    log.set(identity.references, identity.references + 1);
}

void *Identities::drop_reference(WriteLog log, Identity &identity) {
    if (identity.references != 0) log.set(identity.references, identity.references - 1);
    if (identity.references != 0 || identity.released == 0) return nullptr;
    void *object = identity.object();
    remove(log, identity);
    return object;
}

}  // namespace tarnbase::runtime
