/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_VALUE_USAGE_H
#define TARNBASE_RUNTIME_VALUE_USAGE_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// Count the creation and destruction of an object of a value type, in the constant
// descriptor: a store has no copies of these.
void count_created(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor);
void count_destroyed(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor);

}  // namespace tarnbase::runtime

#endif
