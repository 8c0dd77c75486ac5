/* SPDX-License-Identifier: Apache-2.0 */
// The hd mapping: what the runtime stores for an object outside of it. An object has an
// entry while its flags say so: where its state block is, and its trace correlation.
#ifndef TARNBASE_RUNTIME_MAPPING_OBJECT_DATA_H
#define TARNBASE_RUNTIME_MAPPING_OBJECT_DATA_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "runtime/index/address_map.h"
#include "tarnbase/object.h"

namespace tarnbase::runtime {

struct ObjectData {
    MapNode by_object;
    std::uint64_t ra_word;
    std::uint32_t state_distance;
    std::uint8_t ra_byte;
    std::uint8_t reserved[3];
};
static_assert(sizeof(ObjectData) == 32);

// A store's hd mapping for the duration of a call.
class ObjectDataMap {
 public:
    ObjectDataMap(MapRoot &root, BlockAllocator &allocator)
        : map_(root, allocator), allocator_(allocator) {}

    // The object's entry, or null.
    const ObjectData *find(const void *object) const;
    // Store a member, in a new entry if need be, and set the flag of its presence. Without
    // memory they report ENOMEM to the handle.
    void set_state_distance(WriteLog log, void *object, std::uint32_t distance);
    void set_ra_data(WriteLog log, void *object, std::uint64_t word, std::uint8_t byte);
    // Removes the object's entry and clears its flags; an absent entry is no error.
    void remove(WriteLog log, void *object);

 private:
    ObjectData *find_or_add(WriteLog log, const void *object);

    AddressMap map_;
    BlockAllocator &allocator_;
};

}  // namespace tarnbase::runtime

#endif
