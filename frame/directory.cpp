// SPDX-License-Identifier: Apache-2.0
// The Table Directory: from a table's LUID to its vector. It is filled at first
// use. A lookup is a binary search, since a table's index is its place among the
// tables in ascending order of LUID; it neither allocates nor needs the handle.
#include <cstring>

#include "frame/conventions.h"
#include "frame/schema.h"
#include "tarnbase/module.h"

namespace {

using tarnbase::module;

std::uint32_t filled = 0;

}  // namespace

uint32_t tarnbase_table_vft_init() {
    if (filled != 0) return 0;
    filled = 1;
    tarnbase::trace_table(KEL_TRACE_DEBUG, "(debug): Initializing table vft for %s", module.name);
    return table_vft_cpy(tarnbase_table_lut, tarnbase::source_vectors, module.table_count);
}

void tarnbase_table_get_vft(kel_handle *handle, uint32_t tx_id, const uint8_t *luid,
                            const void *const **vector, uint32_t *err) {
    if (*err != 0) {
        tarnbase::trace_table(KEL_TRACE_DEBUG,
                              "(debug): Error already set when requesting tarnbase table vft");
        return;
    }
    kel_clear_last_error(handle);
    *err = tarnbase_table_vft_init();
    if (*err != 0) kel_store_err(handle, *err);
    *vector = nullptr;
    const std::int32_t index = tarnbase_table_mrst_lookup(luid);
    if (index < 0) {
        tarnbase::Call{handle, tx_id, err}.report(ENOENT);
    } else {
        *vector = tarnbase_table_lut[index];
    }
}

int32_t tarnbase_table_mrst_lookup(const uint8_t *luid) {
    std::uint32_t low = 0;
    std::uint32_t high = module.table_count;
    while (low < high) {
        const std::uint32_t middle = low + (high - low) / 2;
        const int order = std::memcmp(luid, module.tables[middle]->luid, 16);
        if (order == 0) return static_cast<std::int32_t>(middle);
        if (order < 0) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return -1;
}
