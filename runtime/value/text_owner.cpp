// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/text_owner.h"

#include "runtime/handle/handle.h"
#include "runtime/index/address_map.h"

namespace tarn::runtime {

namespace {

AddressMap texts_of(kel_handle *handle) { return {handle, store_of(handle).header->texts}; }

void give_back(kel_handle *handle, std::uint32_t tx_id, MapNode *entry) {
    handle->free_hook(handle->arena, tx_id, entry);
}

}  // namespace

char *owned_text(kel_handle *handle, const kel_vstring *owner) {
    MapNode *entry = texts_of(handle).find(map_key(owner));
    return entry != nullptr ? reinterpret_cast<char *>(entry + 1) : nullptr;
}

char *allocate_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *owner,
                    std::uint32_t length) {
    auto *entry = static_cast<MapNode *>(
        handle->alloc_hook(handle->arena, tx_id, sizeof(MapNode) + std::uint64_t{length}));
    if (entry == nullptr) return nullptr;
    AddressMap texts = texts_of(handle);
    MapNode *old = texts.replace(tx_id, map_key(owner), entry);
    if (old != nullptr) {
        give_back(handle, tx_id, old);
    } else if (!texts.insert(tx_id, map_key(owner), entry)) {
        give_back(handle, tx_id, entry);
        return nullptr;
    }
    return reinterpret_cast<char *>(entry + 1);
}

void release_text(kel_handle *handle, std::uint32_t tx_id, const kel_vstring *owner) {
    MapNode *entry = texts_of(handle).remove(tx_id, map_key(owner));
    if (entry != nullptr) give_back(handle, tx_id, entry);
}

}  // namespace tarn::runtime
