/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_VALUE_HASH_H
#define TARNBASE_RUNTIME_VALUE_HASH_H

#include <cstddef>
#include <cstdint>

namespace tarnbase::runtime {

// SuperFastHash without its limit on the length.
std::uint32_t hash_bytes(const void *data, std::size_t length, std::uint32_t seed);

}  // namespace tarnbase::runtime

#endif
