/* SPDX-License-Identifier: Apache-2.0 */
// A store's files as short inputs: pieces of a file that is zero elsewhere.
//
//   offset  size  item
//        0     1  the checksums that are made right
//        1     4  bytes of the file
//        5        pieces: 4 bytes offset, 2 bytes length, the bytes
//
// A log is the first byte, then its frames; a compressed segment is that byte, then its file.
#ifndef TARNBASE_TESTS_FUZZ_STORE_PIECES_H
#define TARNBASE_TESTS_FUZZ_STORE_PIECES_H

#include <algorithm>
#include <vector>

#include "runtime/log/log.h"
#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

inline constexpr u8 repair_head = 1;
inline constexpr u8 repair_table = 2;
inline constexpr u8 repair_pages = 4;

// The seeds are checkpoints of this store, at this position.
inline constexpr runtime::StoreId seed_id = {'s', 't', 'o', 'r', 'e'};
inline constexpr u64 seed_position = 0x4000;

struct Piece {
    u64 offset;
    Bytes bytes;
};

class Pieces {
 public:
    explicit Pieces(Bytes input) : rest_(input) { file_bytes_ = number(4) % (max_bytes + 1); }

    u64 file_bytes() const { return file_bytes_; }
    bool next(Piece &piece) {
        if (rest_.empty()) return false;
        const u64 offset = number(4) % max_bytes;
        const u64 length = std::min<u64>({number(2), rest_.size(), max_bytes - offset});
        piece = {offset, rest_.first(length)};
        rest_ = rest_.subspan(length);
        return true;
    }

 private:
    // Larger files take too long.
    static constexpr u64 max_bytes = 512 << 10;

    u64 number(std::size_t size) {
        u64 value = 0;
        for (std::size_t i = 0; i < size && !rest_.empty(); ++i) {
            value |= u64{rest_.front()} << (8 * i);
            rest_ = rest_.subspan(1);
        }
        return value;
    }

    Bytes rest_;
    u64 file_bytes_;
};

void checkpoint_seeds(const TakeSeed &take);
void log_seeds(const TakeSeed &take);
void segment_seeds(const TakeSeed &take);

// Numbers of both formats, for a dictionary.
std::vector<std::vector<u8>> store_words();

}  // namespace tarnbase::fuzz

#endif
