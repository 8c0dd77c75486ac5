/* SPDX-License-Identifier: Apache-2.0 */
// What is known about the order of a key index besides its comparison: how to encode a key as bytes
// whose order agrees with it. An index keeps some of these bytes and so rarely reads its records.
#ifndef TARNBASE_RUNTIME_INDEX_KEY_ORDER_H
#define TARNBASE_RUNTIME_INDEX_KEY_ORDER_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "runtime/index/tree.h"

namespace tarnbase::runtime {

// The most bytes that an index page skips, and the bytes of a digest.
inline constexpr std::uint32_t longest_prefix = 32;
inline constexpr std::uint32_t digest_bytes = 8;

// The first bytes of a key, as unsigned bytes from the most significant on, followed by zeros. Of
// two keys, the one that orders first never has greater bytes; keys with equal bytes may differ.
using KeyBytes = std::array<unsigned char, longest_prefix + digest_bytes>;

// Where a comparison finds the key of a node: distances from the node in units of 16 bytes. An
// index prefetches that memory. Distances may be wrong, and 0 is none.
struct KeyHints {
    std::int32_t object;
    std::int32_t text;
};

// The order of a comparison.
class KeyOrder {
 public:
    virtual void encode(const kel_index_node *node, KeyBytes &bytes) const = 0;
    virtual KeyHints hints(const kel_index_node *node) const = 0;

 protected:
    KeyOrder() = default;
    KeyOrder(const KeyOrder &) = default;
    KeyOrder &operator=(const KeyOrder &) = default;
    ~KeyOrder() = default;
};

// The order of a comparison, or null if only the comparison is known.
const KeyOrder *order_of_keys(Compare compare);
// Makes `order` that of `compare`; null makes it unknown. An order must last as long as the
// process.
void set_order_of_keys(Compare compare, const KeyOrder *order);

}  // namespace tarnbase::runtime

#endif
