/* SPDX-License-Identifier: Apache-2.0 */
// What says that a file belongs to a store.
#ifndef TARNBASE_RUNTIME_LOG_STORE_ID_H
#define TARNBASE_RUNTIME_LOG_STORE_ID_H

#include <array>
#include <cstdint>

namespace tarnbase::runtime {

using StoreId = std::array<std::uint8_t, 16>;

}  // namespace tarnbase::runtime

#endif
