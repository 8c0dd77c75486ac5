/* SPDX-License-Identifier: Apache-2.0 */
// Which start of the machine this is.
#ifndef TARNBASE_RUNTIME_BASE_BOOT_H
#define TARNBASE_RUNTIME_BASE_BOOT_H

#include <cstdint>
#include <optional>

namespace tarnbase::runtime {

// A hash of the kernel's boot id, never 0: the same until the machine is started again. None: it
// can't be found out.
std::optional<std::uint64_t> boot_number();

// A step of splitmix64.
std::uint64_t mix(std::uint64_t hash, std::uint64_t value);

}  // namespace tarnbase::runtime

#endif
