// SPDX-License-Identifier: Apache-2.0
//
// Sizes as people write them: 4096, 512M, 64G; in powers of 1024.
#ifndef TARNCTL_BASE_SIZE_H
#define TARNCTL_BASE_SIZE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnctl {

// None if the text isn't a size, or too large for 64 bits.
std::optional<uint64_t> parse_size(std::string_view text);
// "64 GiB", "1.5 MiB", "80 bytes".
std::string size_text(uint64_t bytes);

}  // namespace tarnctl

#endif
