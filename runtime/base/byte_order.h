/* SPDX-License-Identifier: Apache-2.0 */
// The number in the heads of files by which a machine of another byte order is recognised.
#ifndef TARNBASE_RUNTIME_BASE_BYTE_ORDER_H
#define TARNBASE_RUNTIME_BASE_BYTE_ORDER_H

#include <cstdint>

namespace tarnbase::runtime {

inline constexpr std::uint32_t native_byte_order = 0x0102'0304;

}  // namespace tarnbase::runtime

#endif
