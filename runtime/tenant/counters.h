/* SPDX-License-Identifier: Apache-2.0 */
// Records of a table by tenant and source, for all tenants but the default one.
#ifndef TARNBASE_RUNTIME_TENANT_COUNTERS_H
#define TARNBASE_RUNTIME_TENANT_COUNTERS_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarn::runtime {

// Gives the counters of a table that is going away back.
void drop_tenant_counters(kel_handle *handle, std::uint32_t tx_id, kel_table *table);

}  // namespace tarn::runtime

#endif
