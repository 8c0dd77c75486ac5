/* SPDX-License-Identifier: Apache-2.0 */
// The bytes of a whole store, for tests that a rollback restores every byte.
#ifndef TARNBASE_TESTS_SUPPORT_SNAPSHOT_H
#define TARNBASE_TESTS_SUPPORT_SNAPSHOT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tarnbase/embedded.h"

namespace tarn::test {

struct ByteChange {
    std::size_t offset = 0;  // from the store's base
    std::uint8_t before = 0;
    std::uint8_t after = 0;

    // A change of the modified mark alone, which no hook announces.
    bool is_modified_mark() const { return (before ^ after) == 0x80; }
};

class StoreSnapshot {
 public:
    explicit StoreSnapshot(const kel_store *store);

    // The bytes that differ now, apart from the transaction counters that every
    // transaction moves.
    std::vector<ByteChange> changes() const;
    // The same without changes of modified marks.
    std::vector<ByteChange> lasting_changes() const;

 private:
    const kel_store *store_;
    std::vector<std::uint8_t> bytes_;
};

// "offset: before -> after", one a row.
std::string to_text(const std::vector<ByteChange> &changes);

}  // namespace tarn::test

#endif
