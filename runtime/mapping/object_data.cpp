// SPDX-License-Identifier: Apache-2.0
#include "runtime/mapping/object_data.h"

#include "runtime/base/errors.h"

namespace tarnbase::runtime {

namespace {

ObjectData *entry_of(MapNode *node) { return reinterpret_cast<ObjectData *>(node); }

void set_flag(WriteLog log, void *object, std::uint8_t flag) {
    std::uint8_t &flags = static_cast<kel_object *>(object)->flags;
    if ((flags & flag) != 0) return;
    log.set(flags, static_cast<std::uint8_t>(flags | flag));
}

}  // namespace

const ObjectData *ObjectDataMap::find(const void *object) const {
    return entry_of(map_.find(map_key(object)));
}

ObjectData *ObjectDataMap::find_or_add(WriteLog log, const void *object) {
    if (MapNode *node = map_.find(map_key(object))) return entry_of(node);
    auto *entry = static_cast<ObjectData *>(allocator_.allocate(log.tx_id, sizeof(ObjectData)));
    if (entry != nullptr && map_.insert(log, map_key(object), &entry->by_object)) return entry;
    if (entry != nullptr) allocator_.release(log.tx_id, entry);
    kel_store_err(log.handle, ENOMEM);
    return nullptr;
}

void ObjectDataMap::set_state_distance(WriteLog log, void *object, std::uint32_t distance) {
    ObjectData *entry = find_or_add(log, object);
    if (entry == nullptr) return;
    log.set(entry->state_distance, distance);
    set_flag(log, object, OBJ_STATE_ELSEWHERE);
}

void ObjectDataMap::set_ra_data(WriteLog log, void *object, std::uint64_t word, std::uint8_t byte) {
    ObjectData *entry = find_or_add(log, object);
    if (entry == nullptr) return;
    log.set(entry->ra_word, word);
    log.set(entry->ra_byte, byte);
    set_flag(log, object, OBJ_RA_DATA);
}

void ObjectDataMap::remove(WriteLog log, void *object) {
    MapNode *node = map_.remove(log, map_key(object));
    if (node == nullptr) return;
    allocator_.release(log.tx_id, node);
    std::uint8_t &flags = static_cast<kel_object *>(object)->flags;
    constexpr unsigned reasons = OBJ_STATE_ELSEWHERE | OBJ_RA_DATA;
    log.set(flags, static_cast<std::uint8_t>(flags & ~reasons));
}

}  // namespace tarnbase::runtime
