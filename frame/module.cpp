// SPDX-License-Identifier: Apache-2.0
// The library's entry in the runtime's module list, and the operations on its
// descriptors as a whole.
#include "tarnbase/module.h"

#include "frame/conventions.h"
#include "frame/schema.h"
#include "frame/startup.h"

namespace tarnbase {

kel_module_record module_record = {"tarnbase", tarnbase_type_list, nullptr, nullptr};

namespace {

std::uint8_t started = 0;

// A copy of `constant` in the store's type arena, entered in the type map.
kel_type_info_copy *enter_copy(kel_handle *handle, std::uint32_t tx_id,
                               const kel_type_info *constant) {
    auto *copy = static_cast<kel_type_info_copy *>(
        handle->type_alloc_hook(handle->type_arena, KEL_TX_NONE, sizeof(kel_type_info_copy)));
    if (copy == nullptr) return nullptr;
    copy->info = *constant;
    copy->store_word_1 = 0;
    copy->store_word_2 = 0;
    copy->info.store_private = handle->store_types_enabled;
    copy->info.type_slot = KEL_TYPE_SLOT_NONE;
    handle->type_map_insert_hook(handle->type_map, tx_id, copy->info.luid_text, copy);
    return copy;
}

}  // namespace

__attribute__((constructor)) void start() {
    if (started != 0) return;
    kel_module_list &list = kel_module_tot_root;
    module_record.link_next = nullptr;
    module_record.link_prev = list.last;
    *module_record.link_prev = &module_record;
    list.last = &module_record.link_next;
    ++list.count;
    started = 1;
}

// The flag stays set: a module record is linked once in a process.
__attribute__((destructor)) void stop() {
    kel_module_record &record = module_record;
    if (record.link_next == nullptr && record.link_prev == nullptr) return;
    if (record.link_next != nullptr) {
        record.link_next->link_prev = record.link_prev;
    } else {
        kel_module_tot_root.last = record.link_prev;
    }
    *record.link_prev = record.link_next;
    record.link_next = nullptr;
    record.link_prev = nullptr;
    --kel_module_tot_root.count;
}

}  // namespace tarnbase

void tarnbase_typeinfo_initialize(kel_handle *handle, uint32_t tx_id, uint32_t *err) {
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        const kel_type_info *constant = *item;
        kel_type_info_copy *copy =
            handle->type_map_lookup_hook(handle->type_map, tx_id, constant->luid_text);
        const std::uint32_t is_new = copy == nullptr ? 1U : 0U;
        if (copy == nullptr) copy = tarnbase::enter_copy(handle, tx_id, constant);
        if (copy == nullptr) {
            tarnbase::Call{handle, tx_id, err}.report(ENOMEM);
            return;
        }
        if (constant->variant_info != nullptr) {
            kel_update_variant_info(handle, tx_id, copy, constant, is_new);
        }
    }
}

void tarnbase_type_variant_dump(void (*print)(const char *format, ...)) {
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        const kel_variant_info *info = (*item)->variant_info;
        if (info == nullptr) {
            tarnbase::trace_type(KEL_TRACE_ERROR,
                                 "(ERR): type variant cached info is NULL during usage dump");
            continue;
        }
        print("n_variants %d\n", info->variant_count);
        for (int i = 0; i < info->variant_count; ++i) {
            print("variant %d used length %d alloc slop %d\n", i,
                  static_cast<int>(info->variants[i].used_length),
                  static_cast<int>(info->variants[i].alloc_slop));
        }
    }
}
