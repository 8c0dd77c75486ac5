/* SPDX-License-Identifier: Apache-2.0 */
// The numbers of a checkpoint's format, and the names of its files.
#ifndef TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_FORMAT_H
#define TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "runtime/checkpoint/checkpoint.h"

namespace tarnbase::runtime {

inline constexpr std::uint64_t checkpoint_magic = 0x5450'4b43'4e52'4154;  // "TARNCKPT"
inline constexpr std::uint64_t table_offset = 4096;
// Each page of this size has a checksum.
inline constexpr std::uint64_t image_page_bytes = 65536;
// The unit of holes in the front of an image.
inline constexpr std::uint64_t hole_bytes = 4096;

// The bytes of the image in which a page may have holes.
std::uint64_t front_of(const CheckpointHead &head);

// The offset of an image of that many bytes: after the head and the table of checksums.
std::uint64_t image_offset_for(std::uint64_t image_bytes);

std::uint32_t head_checksum(const CheckpointHead &head);
// The checksum of a page of zeros.
std::uint32_t zero_page_checksum();
// Whether all bytes, at most `hole_bytes`, are zero.
bool is_zero(std::span<const char> bytes);

// What is wrong with the head's numbers, or an empty text. Its first four members and its
// checksums aren't looked at.
std::string wrong_number(const CheckpointHead &head);

// The name of a file of the store's folder, if it is a checkpoint's.
struct CheckpointFile {
    std::uint64_t position;
    bool is_working;
};
std::optional<CheckpointFile> parse_checkpoint_name(std::string_view name);

}  // namespace tarnbase::runtime

#endif
