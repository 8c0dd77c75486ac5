/* SPDX-License-Identifier: Apache-2.0 */
// Changes of a store's image. An input is a byte with conditions, then changes of nine bytes:
//
//   offset  size  item
//        0     1  kind of the change; bits 4 to 7 are a small number
//        1     4  place: a word of the image that isn't zero, or any byte
//        5     4  value: a number, another place, or a place that a pointer leads to
#ifndef TARNBASE_TESTS_FUZZ_STORE_CHANGES_H
#define TARNBASE_TESTS_FUZZ_STORE_CHANGES_H

#include <vector>

#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// The lowest three bits of the conditions are zero: the image is written as a checkpoint, and the
// store is opened.
inline constexpr u8 not_through_file = 7;
// It is read with tracking on.
inline constexpr u8 with_tracking = 8;
// The store isn't opened but salvaged; the checksums of what has changed are wrong.
inline constexpr u8 salvaged = 16;
inline constexpr u8 wrong_checksums = 32;

class Image {
 public:
    // `bytes` are those of a sound store that is mapped at `base`.
    Image(std::vector<u8> bytes, u64 base);

    const std::vector<u8> &bytes() const { return bytes_; }
    // Makes the changes in `image`, a copy of the bytes.
    void change(u8 *image, Bytes changes) const;

 private:
    void change(u8 *image, u8 kind, u32 place, u32 value) const;
    // Changes a byte or a word, or exchanges two words.
    void change_word(u8 *image, u8 kind, u32 place, u32 value) const;
    // The offset of a word in use.
    u64 word_at(u32 place) const { return words_[place % words_.size()]; }

    std::vector<u8> bytes_;
    u64 base_;
    std::vector<u32> words_;  // offsets of the words that aren't zero
};

void change_seeds(const TakeSeed &take);

}  // namespace tarnbase::fuzz

#endif
