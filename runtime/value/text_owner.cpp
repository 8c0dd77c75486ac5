// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/text_owner.h"

#include "runtime/index/address_map.h"
#include "runtime/store/store_handle.h"
#include "runtime/value/vstring.h"

namespace tarnbase::runtime {

namespace {

AddressMap texts_of(kel_handle *handle) {
    kel_store &store = store_of(handle);
    return {store.header->texts, store};
}

void free_entry(kel_handle *handle, std::uint32_t tx_id, MapNode *entry) {
    handle->free_hook(handle->arena, tx_id, entry);
}

}  // namespace

char *owned_text(kel_handle *handle, const kel_vstring *owner) {
    MapNode *entry = texts_of(handle).find(map_key(owner));
    return entry != nullptr ? reinterpret_cast<char *>(entry + 1) : nullptr;
}

bool may_own(kel_handle *handle, const kel_vstring *owner, const char *place) {
    // Most texts come from outside of the store, and what is owned is in it.
    const auto *const own = static_cast<const StoreHandle *>(handle);
    const bool is_in_store = handle->alloc_hook == own->alloc_in_store;
    if (is_in_store && !own->store->contains(place, 1)) return false;
    const char *const owned = owned_text(handle, owner);
    const auto begin = reinterpret_cast<std::uintptr_t>(owned);
    return owned != nullptr && reinterpret_cast<std::uintptr_t>(place) - begin < longest_text;
}

char *allocate_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *owner,
                    std::uint32_t length) {
    auto *entry = static_cast<MapNode *>(
        handle->alloc_hook(handle->arena, tx_id, sizeof(MapNode) + std::uint64_t{length}));
    if (entry == nullptr) return nullptr;
    AddressMap texts = texts_of(handle);
    MapNode *old = texts.replace({handle, tx_id}, map_key(owner), entry);
    if (old != nullptr) {
        free_entry(handle, tx_id, old);
    } else if (!texts.insert({handle, tx_id}, map_key(owner), entry)) {
        free_entry(handle, tx_id, entry);
        return nullptr;
    }
    return reinterpret_cast<char *>(entry + 1);
}

void release_text(kel_handle *handle, std::uint32_t tx_id, const kel_vstring *owner) {
    MapNode *entry = texts_of(handle).remove({handle, tx_id}, map_key(owner));
    if (entry != nullptr) free_entry(handle, tx_id, entry);
}

}  // namespace tarnbase::runtime
