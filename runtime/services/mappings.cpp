// SPDX-License-Identifier: Apache-2.0
// Object identity and mappings.
#include <cstring>

#include "runtime/base/errors.h"
#include "runtime/handle/handle.h"
#include "runtime/handle/mappings.h"
#include "runtime/tenant/counters.h"

using namespace tarnbase::runtime;

namespace {

bool is_table(const void *object) {
    const kel_type_info *descriptor = static_cast<const kel_object *>(object)->descriptor;
    return descriptor != nullptr && std::strcmp(descriptor->kind, "table") == 0;
}

// The library counts created and destroyed tables without an announcement.
void note_table_counts(kel_handle *handle, const void *table) {
    const kel_variant_info *info = static_cast<const kel_object *>(table)->descriptor->variant_info;
    if (info != nullptr) store_of(handle).note_block(info->variants);
}

}  // namespace

void *kel_oid_mapping_create(kel_handle *handle, std::uint32_t tx_id, void *object,
                             std::uint32_t kind, std::uint32_t dynamic, std::uint64_t ior,
                             std::uint32_t *err) {
    if (*err != 0) return nullptr;
    if (kind == KEL_OID_KIND_TABLE && is_table(object)) note_table_counts(handle, object);
    return identities_of(handle).map({handle, tx_id}, {object, kind, dynamic, ior}, err);
}

std::uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, std::uint32_t tx_id, void *object,
                                              std::uint32_t *err) {
    if (*err != 0) return 0;
    if (!identities_of(handle).unmap({handle, tx_id}, object)) return 0;
    if (is_table(object)) {
        note_table_counts(handle, object);
        drop_tenant_counters(handle, tx_id, static_cast<kel_table *>(object));
    }
    return 1;
}

void kellib_lookup_and_update_oid_ref_count(kel_handle *handle, std::uint32_t tx_id,
                                            std::uint64_t oid, std::uint32_t, std::uint32_t *err) {
    if (*err != 0) return;
    Identities identities = identities_of(handle);
    Identity *identity = identities.with_id(oid);
    if (identity == nullptr) {
        report_error(handle, err, ENOENT);
        return;
    }
    void *object = identities.drop_reference({handle, tx_id}, *identity);
    const Handle &part = private_part(handle);
    if (object != nullptr && part.release != nullptr) {
        part.release(handle, tx_id, object, part.release_context);
    }
}

void kel_hd_mapping_destroy(kel_handle *handle, std::uint32_t tx_id, void *object,
                            std::uint32_t *err) {
    if (*err != 0) return;
    object_data_of(handle).remove({handle, tx_id}, object);
}
