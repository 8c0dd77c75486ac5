// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/table/spies.h"

#include <dlfcn.h>

#include <algorithm>

#include "tests/support/service_at_work.h"

namespace tarn::test {

Spies spies;

void Spies::reset() {
    calls.clear();
    wishes = {};
    last_header = {};
    hooks = nullptr;
    at_each = nullptr;
}

std::vector<Call> Spies::of(const std::string &service) const {
    std::vector<Call> found;
    for (const Call &call : calls) {
        if (call.service == service) found.push_back(call);
    }
    return found;
}

std::string Spies::order(const std::vector<std::string> &services) const {
    std::string text;
    for (const Call &call : calls) {
        if (std::find(services.begin(), services.end(), call.service) == services.end()) continue;
        text += (text.empty() ? "" : " ") + call.service;
    }
    return text;
}

Call &Spies::note(const char *service) {
    if (at_each) at_each(service);
    Call call;
    call.service = service;
    call.hooks = hooks != nullptr ? hooks->events.size() : 0;
    calls.push_back(call);
    return calls.back();
}

namespace {

template <typename Service>
Service *next(Service *, const char *name) {
    return reinterpret_cast<Service *>(dlsym(RTLD_NEXT, name));
}

std::uint64_t word(const void *pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }
std::uint64_t word(e_avl_compare_function compare) {
    return reinterpret_cast<std::uintptr_t>(compare);
}

template <typename... Further>
void note_node(const char *service, std::uint32_t tx_id, const void *node, Further... further) {
    Call &call = spies.note(service);
    call.tx_id = tx_id;
    call.subject = node;
    call.arguments = {word(further)...};
}

}  // namespace

}  // namespace tarn::test

using tarn::test::Call;
using tarn::test::next;
using tarn::test::note_node;
using tarn::test::spies;
using tarn::test::Storing;

// The runtime's function of the same name.
#define RUNTIME(service) next(&service, #service)

void kel_clear_last_error(kel_handle *handle) {
    spies.note("kel_clear_last_error");
    static auto *const real = RUNTIME(kel_clear_last_error);
    real(handle);
}

void kel_store_err(kel_handle *handle, uint32_t code) {
    spies.note("kel_store_err").arguments = {code};
    static auto *const real = RUNTIME(kel_store_err);
    real(handle, code);
}

void ptrail_module_init_fn(const char *name, uint16_t *module_id, uint64_t *state) {
    spies.note("ptrail_module_init_fn").text = name;
    static auto *const real = RUNTIME(ptrail_module_init_fn);
    real(name, module_id, state);
}

void ptrail_get_radioactive_bit(uint64_t *uuid, uint8_t *mark) {
    spies.note("ptrail_get_radioactive_bit");
    static auto *const real = RUNTIME(ptrail_get_radioactive_bit);
    real(uuid, mark);
    if (spies.wishes.correlation) {
        *uuid = *spies.wishes.correlation;
        *mark = spies.wishes.correlation_mark;
    }
}

void kellib_record_update_ra_all(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                 uint64_t uuid, uint8_t mark) {
    Call &call = spies.note("kellib_record_update_ra_all");
    call.tx_id = tx_id;
    call.subject = record;
    call.arguments = {uuid, mark};
    static const Storing real(RUNTIME(kellib_record_update_ra_all));
    real(handle, tx_id, record, uuid, mark);
}

void *loam_get_key(void *arena, const char *key) {
    spies.note("loam_get_key").text = key;
    static auto *const real = RUNTIME(loam_get_key);
    return real(arena, key);
}

uint32_t loam_set_key(void *arena, const char *key, void *value) {
    Call &call = spies.note("loam_set_key");
    call.text = key;
    call.subject = value;
    if (spies.wishes.set_key) return *spies.wishes.set_key;
    static const Storing real(RUNTIME(loam_set_key));
    return real(arena, key, value);
}

void loam_delete_key(void *arena, const char *key) {
    spies.note("loam_delete_key").text = key;
    static const Storing real(RUNTIME(loam_delete_key));
    real(arena, key);
}

uint32_t loam_set_range(void *arena, void *address, uint64_t length, uint32_t tx_id) {
    Call &call = spies.note("loam_set_range");
    call.tx_id = tx_id;
    call.subject = address;
    call.arguments = {length};
    if (spies.wishes.set_range) return *spies.wishes.set_range;
    if (spies.wishes.range_word) *static_cast<uint64_t *>(address) = *spies.wishes.range_word;
    static auto *const real = RUNTIME(loam_set_range);
    return real(arena, address, length, tx_id);
}

kel_table_list *kellib_database_table_toc_create(kel_handle *handle, uint32_t tx_id,
                                                 uint32_t *err) {
    spies.note("kellib_database_table_toc_create").tx_id = tx_id;
    if (spies.wishes.toc_error != 0) {
        *err = spies.wishes.toc_error;
        return nullptr;
    }
    static auto *const real = RUNTIME(kellib_database_table_toc_create);
    return real(handle, tx_id, err);
}

kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *scratch) {
    Call &call = spies.note("tbi_rb_tree_LM_RB_FIND");
    call.tx_id = tx_id;
    call.subject = tree_head;
    call.arguments = {block->table_id};
    static auto *const real = RUNTIME(tbi_rb_tree_LM_RB_FIND);
    return real(arena, tx_id, tree_head, block, scratch);
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    Call &call = spies.note("tbi_rb_tree_LM_RB_INSERT");
    call.tx_id = tx_id;
    call.subject = block;
    static const Storing real(RUNTIME(tbi_rb_tree_LM_RB_INSERT));
    real(arena, tx_id, tree_head, block);
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    Call &call = spies.note("tbi_rb_tree_LM_RB_REMOVE");
    call.tx_id = tx_id;
    call.subject = block;
    static const Storing real(RUNTIME(tbi_rb_tree_LM_RB_REMOVE));
    real(arena, tx_id, tree_head, block);
}

void *kel_oid_mapping_create(kel_handle *handle, uint32_t tx_id, void *object, uint32_t kind,
                             uint32_t dynamic, uint64_t ior, uint32_t *err) {
    Call &call = spies.note("kel_oid_mapping_create");
    call.tx_id = tx_id;
    call.subject = object;
    call.arguments = {kind, dynamic, ior};
    if (spies.wishes.no_mapping) return nullptr;
    if (spies.wishes.mapping_error != 0) {
        *err = spies.wishes.mapping_error;
        return object;
    }
    static const Storing real(RUNTIME(kel_oid_mapping_create));
    return real(handle, tx_id, object, kind, dynamic, ior, err);
}

uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object,
                                         uint32_t *err) {
    Call &call = spies.note("kel_request_oid_mapping_destroy");
    call.tx_id = tx_id;
    call.subject = object;
    if (spies.wishes.unmapping_error != 0) {
        *err = spies.wishes.unmapping_error;
        return 1;
    }
    if (spies.wishes.request_unmapping) return *spies.wishes.request_unmapping;
    static const Storing real(RUNTIME(kel_request_oid_mapping_destroy));
    return real(handle, tx_id, object, err);
}

void kel_hd_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object, uint32_t *err) {
    Call &call = spies.note("kel_hd_mapping_destroy");
    call.tx_id = tx_id;
    call.subject = object;
    if (spies.wishes.hd_mapping_error != 0) {
        *err = spies.wishes.hd_mapping_error;
        return;
    }
    static const Storing real(RUNTIME(kel_hd_mapping_destroy));
    real(handle, tx_id, object, err);
}

const kel_type_info *kel_type_info_ptr_get(kel_handle *handle, uint32_t tx_id,
                                           const kel_type_info *constant,
                                           kel_type_info_initializer initializer) {
    Call &call = spies.note("kel_type_info_ptr_get");
    call.tx_id = tx_id;
    call.subject = constant;
    if (spies.wishes.descriptor != nullptr) return spies.wishes.descriptor;
    static const Storing real(RUNTIME(kel_type_info_ptr_get));
    return real(handle, tx_id, constant, initializer);
}

uint32_t e_avl_insert(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                      uintptr_t *aux, e_avl_compare_function compare) {
    note_node("e_avl_insert", tx_id, node, arena, root, aux, compare);
    static const Storing real(RUNTIME(e_avl_insert));
    return real(arena, tx_id, root, node, aux, compare);
}

uint32_t e_avl_delete(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                      uintptr_t *aux, e_avl_compare_function compare) {
    note_node("e_avl_delete", tx_id, node, arena, root, aux, compare);
    static const Storing real(RUNTIME(e_avl_delete));
    return real(arena, tx_id, root, node, aux, compare);
}

kel_index_node *e_avl_search(void *root, const kel_index_node *probe,
                             e_avl_compare_function compare) {
    note_node("e_avl_search", 0, probe, root, compare);
    static auto *const real = RUNTIME(e_avl_search);
    return real(root, probe, compare);
}

kel_index_node *e_avl_get_first(void *root) {
    note_node("e_avl_get_first", 0, root);
    static auto *const real = RUNTIME(e_avl_get_first);
    return real(root);
}

kel_index_node *e_avl_get_last(void *root) {
    note_node("e_avl_get_last", 0, root);
    static auto *const real = RUNTIME(e_avl_get_last);
    return real(root);
}

kel_index_node *e_avl_get_next(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    note_node("e_avl_get_next", 0, node, root, compare);
    static auto *const real = RUNTIME(e_avl_get_next);
    return real(root, node, compare);
}

kel_index_node *e_avl_get_prev(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    note_node("e_avl_get_prev", 0, node, root, compare);
    static auto *const real = RUNTIME(e_avl_get_prev);
    return real(root, node, compare);
}

uint32_t e_avl_walk(void *root, e_avl_walk_function callback, void *context) {
    Call &call = spies.note("e_avl_walk");
    call.subject = root;
    call.arguments = {reinterpret_cast<std::uintptr_t>(callback)};
    static auto *const real = RUNTIME(e_avl_walk);
    return real(root, callback, context);
}

uint32_t kel_get_instance_modified(const void *object, uint32_t is_structure, uint32_t is_small) {
    spies.note("kel_get_instance_modified").subject = object;
    static auto *const real = RUNTIME(kel_get_instance_modified);
    return real(object, is_structure, is_small);
}

void mt_get_tenant_id(uint16_t *tenant) {
    spies.note("mt_get_tenant_id");
    static auto *const real = RUNTIME(mt_get_tenant_id);
    real(tenant);
}

void keldb_update_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                 uint32_t direction, uint16_t tenant, uint8_t src, uint32_t *err) {
    Call &call = spies.note("keldb_update_tenant_counter");
    call.tx_id = tx_id;
    call.subject = table;
    call.arguments = {direction, tenant, src};
    static const Storing real(RUNTIME(keldb_update_tenant_counter));
    real(handle, tx_id, table, direction, tenant, src, err);
    if (spies.wishes.tenant_counter_error != 0) *err = spies.wishes.tenant_counter_error;
}

void keldb_get_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t *count,
                              uint16_t tenant, const uint8_t *src) {
    Call &call = spies.note("keldb_get_tenant_counter");
    call.tx_id = tx_id;
    call.subject = table;
    call.arguments = {tenant};
    if (src != nullptr) call.arguments.push_back(*src);
    static auto *const real = RUNTIME(keldb_get_tenant_counter);
    real(handle, tx_id, table, count, tenant, src);
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              kel_record *record, uint32_t *err) {
    Call &call = spies.note("keldb_enq_rec_move_write_cursor_internal");
    call.tx_id = tx_id;
    call.subject = record;
    call.arguments = {record->flags};
    call.extra = table;
    static const Storing real(RUNTIME(keldb_enq_rec_move_write_cursor_internal));
    real(handle, tx_id, table, record, err);
    if (spies.wishes.cursor_error != 0) *err = spies.wishes.cursor_error;
}

void keldb_request_record_destroy(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                  uint32_t *err) {
    Call &call = spies.note("keldb_request_record_destroy");
    call.tx_id = tx_id;
    call.subject = record;
    if (spies.wishes.request_destroy_error != 0) {
        *err = spies.wishes.request_destroy_error;
        return;
    }
    static auto *const real = RUNTIME(keldb_request_record_destroy);
    real(handle, tx_id, record, err);
}

void kelrepl_add_to_cache(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                          const void *const *vector, uint32_t *err) {
    Call &call = spies.note("kelrepl_add_to_cache");
    call.tx_id = tx_id;
    call.subject = record;
    call.extra = vector;
    static auto *const real = RUNTIME(kelrepl_add_to_cache);
    real(handle, tx_id, table, record, vector, err);
    if (spies.wishes.cache_error != 0) *err = spies.wishes.cache_error;
}

uint32_t kellib_validate_object_flags(const void *object, uint32_t one, uint32_t other_one) {
    Call &call = spies.note("kellib_validate_object_flags");
    call.subject = object;
    call.arguments = {one, other_one};
    if (spies.wishes.validation) return *spies.wishes.validation;
    static auto *const real = RUNTIME(kellib_validate_object_flags);
    return real(object, one, other_one);
}

uint32_t _kel_message_header_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                     const kel_message_header *header, uint32_t remaining,
                                     uint32_t *err) {
    spies.note("_kel_message_header_marshal").arguments = {remaining};
    spies.last_header = *header;
    static auto *const real = RUNTIME(_kel_message_header_marshal);
    return real(handle, tx_id, buffer, header, remaining, err);
}

uint32_t _kel_message_header_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                       kel_message_header *header, uint32_t remaining,
                                       uint32_t *err) {
    spies.note("_kel_message_header_unmarshal").arguments = {remaining};
    static auto *const real = RUNTIME(_kel_message_header_unmarshal);
    return real(handle, tx_id, buffer, header, remaining, err);
}
