// SPDX-License-Identifier: Apache-2.0
// The store's list of tables. Its anchor lies in the header: it is always there.
#include "runtime/store/store.h"
#include "tarnbase/runtime.h"

kel_table_list *kellib_database_table_toc_create(kel_handle *handle, std::uint32_t,
                                                 std::uint32_t *err) {
    return *err != 0 ? nullptr : &tarn::runtime::store_of(handle).header->tables;
}
