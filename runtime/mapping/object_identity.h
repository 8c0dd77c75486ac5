/* SPDX-License-Identifier: Apache-2.0 */
// The OID mapping: ids by which objects and tables are referred to.
//
// States of a mapped object:
//   mapped       its owner uses it; references are counted
//   released     its owner destroyed it, but references remain: the entry stays until the
//                last one is dropped, and the release function is called then
// A table is never released: its owner repeats the attempt.
#ifndef TARNBASE_RUNTIME_MAPPING_OBJECT_IDENTITY_H
#define TARNBASE_RUNTIME_MAPPING_OBJECT_IDENTITY_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "runtime/index/address_map.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

// The `kind` of an identity that is not KEL_OID_KIND_TABLE.
inline constexpr std::uint32_t kind_object = 1;

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

// Where a store keeps its identities.
struct IdentityRoots {
    MapRoot &by_object;
    MapRoot &by_id;
    std::uint64_t &last_id;
};

// A store's identities for the duration of a call.
class Identities {
 public:
    Identities(const IdentityRoots &roots, BlockAllocator &allocator);

    // The identity of an object, or of an id; null if there is none.
    Identity *of(const void *object) const;
    Identity *with_id(std::uint64_t id) const;

    // What is mapped: the object, and its id if that is not to be a new one.
    struct Request {
        void *object;
        std::uint32_t kind;
        std::uint32_t dynamic;
        std::uint64_t ior;  // 0: a new id
    };
    // Maps an object that may be mapped already. Null with *err set: EEXIST another object
    // has the id, ENOMEM.
    Identity *map(WriteLog log, const Request &request, std::uint32_t *err);

    // Removes an object's mapping. False: it has references, and is marked as released.
    bool unmap(WriteLog log, const void *object);

    void add_reference(WriteLog log, Identity &identity);
    // Drops a reference. If it was the last one of a released object, removes the mapping
    // and returns the object; otherwise returns null.
    void *drop_reference(WriteLog log, Identity &identity);

 private:
    std::uint64_t next_id() const;
    Identity *add(WriteLog log, const void *object, std::uint64_t id);
    void remove(WriteLog log, Identity &identity);

    AddressMap by_object_;
    AddressMap by_id_;
    std::uint64_t &last_id_;
    BlockAllocator &allocator_;
};

}  // namespace tarnbase::runtime

#endif
