// SPDX-License-Identifier: Apache-2.0
// Search by key. The key is put into a probe, a record that lives on the stack
// and is in no tree, which the index compares with its records. A search
// allocates nothing and duplicates no text.
#include <cstring>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/key.h"
#include "table/node.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

// In bits, of a probe's object.
constexpr std::size_t object_alignment = 8 * alignof(std::uint64_t);

}  // namespace

kel_record *search(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                   const void *key, std::uint32_t nearest, std::uint32_t forward, std::uint32_t src,
                   std::uint32_t skip_pending, std::uint32_t *err) {
    if (!enter(handle, err)) return nullptr;
    if (table == nullptr || key == nullptr) {
        report(handle, err, ENOENT);
        return nullptr;
    }
    kel_record probe{};
    if (model.key_kind == KeyKind::structure) {
        probe.key_object = const_cast<void *>(key);
    } else {
        const Structure &type = *model.type;
        probe.object = __builtin_alloca_with_align(type.plain_size, object_alignment);
        std::memset(probe.object, 0, type.plain_size);
        object::initialize(type, {handle, tx_id, err}, probe.object,
                           {.descriptor = type.descriptor, .log_writes = 0, .quiet = 1});
        put_key_value(model, probe.object, key);
    }
    probe.src = static_cast<std::uint8_t>(src);
    probe.tenant_id = current_tenant();

    kel_index_node *node = e_avl_search(table->index_root, &probe.index_node, model.compare);
    kel_record *found = node != nullptr ? record_of(node) : nullptr;
    if (found == nullptr || (skip_pending != 0 && is_pending(found))) {
        if (nearest == 0) return nullptr;
        // A walk that hides pending records keeps to the source asked for; the
        // other one takes the default source, whatever was asked.
        const std::uint32_t walk_src = skip_pending != 0 ? src : KEL_SOURCE_DEFAULT;
        const std::uint32_t skip = skip_pending != 0 ? 1 : 0;
        found = forward != 0 ? next(model, handle, tx_id, table, &probe, walk_src, 1, skip, err)
                             : prev(model, handle, tx_id, table, &probe, walk_src, 1, skip, err);
        if (found == nullptr) return nullptr;
    }
    return answer(model, handle, tx_id, table, found, err);
}

kel_record *search_sub_first(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             const void *key, std::uint32_t *err) {
    kel_record *found = search(model, handle, tx_id, table, key, 1, 1, KEL_SOURCE_DEFAULT, 0, err);
    return found != nullptr && has_key_value(model, found, key) ? found : nullptr;
}

kel_record *search_cr(Model model, kel_handle *handle, kel_table *table, const void *key,
                      std::uint32_t src, std::uint32_t nearest) {
    return search(model, handle, handle->cr_tx_id, table, key, nearest != 0 ? 1 : 0, 1,
                  source_of_cr(src), 0, &handle->last_error);
}

kel_record *search_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             const void *object, std::uint32_t nearest, std::uint32_t src,
                             std::uint32_t *err) {
    return search(model, handle, tx_id, table, key_value_in(model, object), nearest, 1, src, 0,
                  err);
}

}  // namespace tarnbase::table
