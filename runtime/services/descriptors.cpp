// SPDX-License-Identifier: Apache-2.0
// Descriptors and modules.
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "runtime/catalog/descriptor_copy.h"
#include "tarnbase/record.h"

// Ready before any library's start-up routine runs.
constinit kel_module_list kel_module_tot_root = {0, nullptr, &kel_module_tot_root.first};

const kel_type_info *kel_type_info_ptr_get(kel_handle *handle, std::uint32_t tx_id,
                                           const kel_type_info *constant,
                                           kel_type_info_initializer initializer) {
    return tarnbase::runtime::descriptor_copy(handle, tx_id, constant, initializer);
}

void kel_update_variant_info(kel_handle *handle, std::uint32_t, kel_type_info_copy *copy,
                             const kel_type_info *constant, std::uint32_t is_new) {
    tarnbase::runtime::update_variants(handle, copy, constant, is_new != 0);
}

std::uint32_t table_vft_cpy(void *destination, const void *source, std::uint32_t count) {
    if (destination == nullptr || source == nullptr) return EINVAL;
    std::memcpy(destination, source, std::size_t{count} * KEL_TABLE_VFT_SLOTS * sizeof(void *));
    return 0;
}
