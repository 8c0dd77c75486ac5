/* SPDX-License-Identifier: Apache-2.0 */
// CRC32C, the cyclic redundancy check of RFC 3720, appendix B.4.
#ifndef TARNBASE_RUNTIME_LOG_CRC32C_H
#define TARNBASE_RUNTIME_LOG_CRC32C_H

#include <cstdint>
#include <span>

namespace tarnbase::runtime {

// The CRC of `bytes`, or of `bytes` after others that have the CRC `before`.
std::uint32_t crc32c(std::span<const char> bytes, std::uint32_t before = 0);

}  // namespace tarnbase::runtime

#endif
