// SPDX-License-Identifier: Apache-2.0
#include "tests/support/snapshot.h"

#include <cstddef>
#include <cstring>

#include "runtime/store/header.h"

namespace tarn::test {

namespace {

using tarnbase::runtime::StoreHeader;

const std::uint8_t *base_of(const kel_store_description &store) {
    return static_cast<const std::uint8_t *>(store.base);
}

kel_store_description describe(const kel_store *store) {
    kel_store_description description;
    kel_store_describe(store, &description);
    return description;
}

// Bytes that are compared at once.
constexpr std::size_t stride = 4096;

// Words of the header that every transaction moves, and the size of a store that
// has grown.
bool moves_with_transactions(std::size_t offset) {
    const auto within = [offset](std::size_t first, std::size_t length) {
        return offset >= first && offset < first + length;
    };
    return within(tarnbase::runtime::counters_offset,
                  tarnbase::runtime::counters_end - tarnbase::runtime::counters_offset);
}

}  // namespace

StoreSnapshot::StoreSnapshot(const kel_store *store) : store_(store) {
    const kel_store_description now = describe(store);
    bytes_.assign(base_of(now), base_of(now) + now.size);
}

std::vector<ByteChange> StoreSnapshot::changes() const {
    const kel_store_description now = describe(store_);
    const std::uint8_t *bytes = base_of(now);
    std::vector<ByteChange> found;
    for (std::size_t i = 0; i < now.size; ++i) {
        if (i % stride == 0 && i + stride <= bytes_.size() && i + stride <= now.size &&
            std::memcmp(bytes + i, bytes_.data() + i, stride) == 0) {
            i += stride - 1;
            continue;
        }
        // Free bytes are zero, so what the store has grown by was zero before.
        const std::uint8_t before = i < bytes_.size() ? bytes_[i] : std::uint8_t{0};
        if (bytes[i] != before && !moves_with_transactions(i)) {
            found.push_back({i, before, bytes[i]});
        }
    }
    return found;
}

std::vector<ByteChange> StoreSnapshot::lasting_changes() const {
    std::vector<ByteChange> found = changes();
    std::erase_if(found, [](const ByteChange &change) { return change.is_modified_mark(); });
    return found;
}

std::string to_text(const std::vector<ByteChange> &changes) {
    std::string text;
    for (const ByteChange &change : changes) {
        text += std::to_string(change.offset) + ": " + std::to_string(change.before) + " -> " +
                std::to_string(change.after) + "\n";
    }
    return text;
}

}  // namespace tarn::test
