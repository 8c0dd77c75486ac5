// SPDX-License-Identifier: Apache-2.0
// The store's list of tables. Its anchor lies in the header: it is always there. Each open
// of a table asks for it first.
#include "runtime/store/table_list.h"

#include <utility>

#include "runtime/handle/handle.h"
#include "tarnbase/runtime.h"

namespace {

thread_local constinit bool refused = false;

}  // namespace

void tarn::runtime::refuse_table_block() { refused = true; }

bool tarn::runtime::takes_refusal_of_table_block() { return std::exchange(refused, false); }

kel_table_list *kellib_database_table_toc_create(kel_handle *handle, std::uint32_t,
                                                 std::uint32_t *err) {
    refused = false;
    return *err != 0 ? nullptr : &tarn::runtime::store_of(handle).header->tables;
}
