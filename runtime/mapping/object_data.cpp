// SPDX-License-Identifier: Apache-2.0
// The hd mapping: what the runtime keeps beside an object. An object has an entry
// while its flags say so: where its state block lies, and its trace correlation.
#include <cerrno>

#include "runtime/handle/handle.h"
#include "runtime/index/address_map.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

struct ObjectData {
    MapNode by_object;
    std::uint64_t ra_word;
    std::uint32_t state_distance;
    std::uint8_t ra_byte;
    std::uint8_t reserved[3];
};
static_assert(sizeof(ObjectData) == 32);

ObjectData *entry_of(MapNode *node) { return reinterpret_cast<ObjectData *>(node); }

AddressMap data_of(kel_handle *handle) { return {handle, store_of(handle).header->object_data}; }

const ObjectData *find(kel_handle *handle, const void *object) {
    return entry_of(data_of(handle).find(map_key(object)));
}

ObjectData *find_or_make(kel_handle *handle, std::uint32_t tx_id, const void *object) {
    AddressMap data = data_of(handle);
    if (MapNode *node = data.find(map_key(object))) return entry_of(node);
    auto *entry = static_cast<ObjectData *>(store_of(handle).allocate(tx_id, sizeof(ObjectData)));
    if (entry != nullptr && data.insert(tx_id, map_key(object), &entry->by_object)) return entry;
    if (entry != nullptr) store_of(handle).release(tx_id, entry);
    kel_store_err(handle, ENOMEM);
    return nullptr;
}

void set_flag(kel_handle *handle, std::uint32_t tx_id, void *object, std::uint8_t flag) {
    std::uint8_t &flags = static_cast<kel_object *>(object)->flags;
    if ((flags & flag) != 0) return;
    announced_set(handle, tx_id, flags, static_cast<std::uint8_t>(flags | flag));
}

}  // namespace

std::uint32_t kellib_get_sttr_offset(kel_handle *handle, std::uint32_t, const void *object) {
    const ObjectData *entry = find(handle, object);
    return entry != nullptr ? entry->state_distance : 0;
}

void kellib_update_sttr_offset(kel_handle *handle, std::uint32_t tx_id, void *object,
                               std::uint32_t distance) {
    ObjectData *entry = find_or_make(handle, tx_id, object);
    if (entry == nullptr) return;
    announced_set(handle, tx_id, entry->state_distance, distance);
    set_flag(handle, tx_id, object, OBJ_STATE_ELSEWHERE);
}

// An object that was copied from another has its flag and no entry of its own.
std::uint32_t kellib_get_ra_data(kel_handle *handle, std::uint32_t, const void *object,
                                 std::uint64_t *ra_word, std::uint8_t *ra_byte) {
    const ObjectData *entry = find(handle, object);
    if (entry == nullptr) return 0;
    *ra_word = entry->ra_word;
    *ra_byte = entry->ra_byte;
    return 0;
}

void kellib_update_ra_all(kel_handle *handle, std::uint32_t tx_id, void *object,
                          std::uint64_t ra_word, std::uint8_t ra_byte) {
    ObjectData *entry = find_or_make(handle, tx_id, object);
    if (entry == nullptr) return;
    announced_set(handle, tx_id, entry->ra_word, ra_word);
    announced_set(handle, tx_id, entry->ra_byte, ra_byte);
    set_flag(handle, tx_id, object, OBJ_RA_DATA);
}

// A record has room for its own correlation.
void kellib_record_update_ra_all(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                                 std::uint64_t uuid, std::uint8_t mark) {
    announced_set(handle, tx_id, record->ra_uuid, uuid);
    announced_set(handle, tx_id, record->ra_byte, mark);
}

void kel_hd_mapping_destroy(kel_handle *handle, std::uint32_t tx_id, void *object,
                            std::uint32_t *err) {
    if (*err != 0) return;
    MapNode *node = data_of(handle).remove(tx_id, map_key(object));
    if (node == nullptr) return;
    store_of(handle).release(tx_id, node);
    std::uint8_t &flags = static_cast<kel_object *>(object)->flags;
    constexpr unsigned reasons = OBJ_STATE_ELSEWHERE | OBJ_RA_DATA;
    announced_set(handle, tx_id, flags, static_cast<std::uint8_t>(flags & ~reasons));
}
