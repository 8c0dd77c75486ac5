// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/boot.h"

#include <fcntl.h>

#include <algorithm>
#include <array>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"

namespace tarnbase::runtime {

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
    hash += value + 0x9e37'79b9'7f4a'7c15;
    hash = (hash ^ hash >> 30) * 0xbf58'476d'1ce4'e5b9;
    hash = (hash ^ hash >> 27) * 0x94d0'49bb'1331'11eb;
    return hash ^ hash >> 31;
}

std::optional<std::uint64_t> boot_number() {
    const File file(::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
    std::array<char, 36> id;
    if (!file.is_open() || read_fully(file.descriptor(), id, 0) != 0) return std::nullopt;
    std::uint64_t hash = 0;
    for (const char byte : id) hash = mix(hash, static_cast<unsigned char>(byte));
    return std::max<std::uint64_t>(hash, 1);
}

}  // namespace tarnbase::runtime
