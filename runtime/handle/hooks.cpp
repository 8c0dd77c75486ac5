// SPDX-License-Identifier: Apache-2.0
// The hooks of a handle. The first argument of each is the handle.
#include "runtime/handle/handle.h"

namespace {

using tarnbase::runtime::handle_of;
using tarnbase::runtime::private_part;
using tarnbase::runtime::store_of;

void *type_alloc(void *type_arena, std::uint32_t tx_id, std::uint64_t size) {
    return store_of(handle_of(type_arena)).allocate(tx_id, size);
}

void *alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
    return store_of(handle_of(arena)).allocate(tx_id, size);
}

void free_block(void *arena, std::uint32_t tx_id, void *block) {
    if (block != nullptr) store_of(handle_of(arena)).release(tx_id, block);
}

void write_log(void *arena, void *address, std::uint64_t length, std::uint32_t tx_id) {
    store_of(handle_of(arena)).log_write(tx_id, address, length);
}

void delta_log(void *arena, std::uint64_t *address, std::int32_t delta, std::uint32_t tx_id) {
    store_of(handle_of(arena)).log_delta(tx_id, address, delta);
}

// A descriptor's copy stays if the transaction that made it is rolled back.
void type_map_insert(void *type_map, std::uint32_t, const char *luid_text,
                     kel_type_info_copy *copy) {
    tarnbase::runtime::type_map_insert(handle_of(type_map), luid_text, copy);
}

kel_type_info_copy *type_map_lookup(void *type_map, std::uint32_t tx_id, const char *luid_text) {
    kel_handle *handle = handle_of(type_map);
    return private_part(handle).found_types.lookup(handle, tx_id, luid_text);
}

}  // namespace

void tarnbase::runtime::set_hooks(Handle &handle) {
    handle.type_alloc_hook = type_alloc;
    handle.alloc_hook = alloc;
    handle.alloc_in_store = alloc;
    handle.free_hook = free_block;
    handle.write_log_hook = write_log;
    handle.delta_log_hook = delta_log;
    handle.type_map_insert_hook = ::type_map_insert;
    handle.type_map_lookup_hook = ::type_map_lookup;
    kel_handle *itself = &handle;
    handle.arena = itself;
    handle.type_map = itself;
    handle.type_arena = itself;
}

bool tarnbase::runtime::announce_range(kel_handle *handle, std::uint32_t tx_id, const void *address,
                                       std::uint64_t length) {
    if (handle->write_log_hook != write_log) return false;
    kel_store &store = store_of(handle_of(handle->arena));
    if (store.sharing != nullptr && !store.sharing->is_writer()) return false;
    store.log_write(tx_id, address, length);
    return true;
}
