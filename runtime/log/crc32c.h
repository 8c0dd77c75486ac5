/* SPDX-License-Identifier: Apache-2.0 */
// CRC32C, the cyclic redundancy check of RFC 3720, appendix B.4.
#ifndef TARNBASE_RUNTIME_LOG_CRC32C_H
#define TARNBASE_RUNTIME_LOG_CRC32C_H

#include <cstdint>
#include <span>

namespace tarnbase::runtime {

// The CRC of `bytes`, or of `bytes` after others that have the CRC `before`.
std::uint32_t crc32c(std::span<const char> bytes, std::uint32_t before = 0);

// The two ways to compute it, for tests. The second one requires a processor with instructions
// for it.
std::uint32_t crc32c_by_table(std::span<const char> bytes, std::uint32_t before = 0);
std::uint32_t crc32c_by_instruction(std::span<const char> bytes, std::uint32_t before = 0);
bool has_crc32c_instruction();

}  // namespace tarnbase::runtime

#endif
