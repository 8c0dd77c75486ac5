// SPDX-License-Identifier: Apache-2.0
// Each round hashes four bytes as two little-endian halves. The rest follows, and a last
// mix, which an empty input gets too.
#include <cstdint>

#include "runtime/value/hash.h"
#include "runtime/wire/little_endian.h"
#include "tarnbase/value.h"

namespace tarnbase::runtime {

namespace {

std::uint32_t half(const std::uint8_t *bytes) { return load_little<std::uint16_t>(bytes); }

// A single byte counts as a signed number.
std::uint32_t single(const std::uint8_t *byte) {
    return static_cast<std::uint32_t>(std::int32_t{load_little<std::int8_t>(byte)});
}

std::uint32_t mix_rest(std::uint32_t hash, const std::uint8_t *bytes, std::size_t length) {
    switch (length) {
        case 3:
            hash += half(bytes);
            hash ^= hash << 16;
            hash ^= single(bytes + 2) << 18;
            return hash + (hash >> 11);
        case 2:
            hash += half(bytes);
            hash ^= hash << 11;
            return hash + (hash >> 17);
        case 1:
            hash += single(bytes);
            hash ^= hash << 10;
            return hash + (hash >> 1);
        default:
            return hash;
    }
}

std::uint32_t mix_last_bits(std::uint32_t hash) {
    hash ^= hash << 3;
    hash += hash >> 5;
    hash ^= hash << 4;
    hash += hash >> 17;
    hash ^= hash << 25;
    return hash + (hash >> 6);
}

}  // namespace

std::uint32_t hash_bytes(const void *data, std::size_t length, std::uint32_t seed) {
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    std::uint32_t hash = seed;
    for (; length >= 4; length -= 4, bytes += 4) {
        hash += half(bytes);
        hash = (hash << 16) ^ ((half(bytes + 2) << 11) ^ hash);
        hash += hash >> 11;
    }
    return mix_last_bits(mix_rest(hash, bytes, length));
}

}  // namespace tarnbase::runtime

std::uint32_t SuperFastHash(const char *data, std::int32_t length, std::uint32_t seed) {
    const bool empty = data == nullptr || length <= 0;
    return tarnbase::runtime::hash_bytes(data, empty ? 0 : static_cast<std::size_t>(length), seed);
}
