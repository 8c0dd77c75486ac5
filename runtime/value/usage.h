/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_VALUE_USAGE_H
#define TARNBASE_RUNTIME_VALUE_USAGE_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarn::runtime {

// Count an object of a value type that is made or goes. The counters are those of
// the constant descriptor: value types have no copies in a store.
void count_created(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor);
void count_destroyed(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor);

}  // namespace tarn::runtime

#endif
