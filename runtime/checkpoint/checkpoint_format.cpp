// SPDX-License-Identifier: Apache-2.0
#include "runtime/checkpoint/checkpoint_format.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "runtime/arena/allocator.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"

namespace tarnbase::runtime {

namespace {

std::string in_bytes(const char *member, std::uint64_t value) {
    return std::string(member) + " is " + std::to_string(value) + " bytes";
}

}  // namespace

std::uint64_t image_offset_for(std::uint64_t image_bytes) {
    const std::uint64_t table = image_bytes / image_page_bytes * sizeof(std::uint32_t);
    return table_offset + (table + hole_bytes - 1) / hole_bytes * hole_bytes;
}

std::uint64_t front_of(const CheckpointHead &head) {
    return std::min(Allocator::front_bytes(head.capacity), head.image_bytes);
}

std::uint32_t head_checksum(const CheckpointHead &head) {
    return crc32c({reinterpret_cast<const char *>(&head), offsetof(CheckpointHead, crc)});
}

std::uint32_t zero_page_checksum() {
    static const std::uint32_t checksum = [] {
        static constexpr std::array<char, image_page_bytes> zeros{};
        return crc32c(zeros);
    }();
    return checksum;
}

bool is_zero(std::span<const char> bytes) {
    static constexpr std::array<char, hole_bytes> zeros{};
    return std::memcmp(bytes.data(), zeros.data(), bytes.size()) == 0;
}

std::string wrong_number(const CheckpointHead &head) {
    if (head.capacity == 0 || head.capacity % image_page_bytes != 0 ||
        head.capacity > most_offset) {
        return in_bytes("the capacity", head.capacity);
    }
    if (head.base == 0 || head.base % image_page_bytes != 0 ||
        head.base > std::numeric_limits<std::uint64_t>::max() - head.capacity) {
        return "the base address is " + std::to_string(head.base);
    }
    if (head.segment > head.position) {
        return "position " + std::to_string(head.position) + " is before its log segment, " +
               std::to_string(head.segment);
    }
    if (head.image_bytes == 0 || head.image_bytes % image_page_bytes != 0 ||
        head.image_bytes > head.capacity) {
        return in_bytes("the image", head.image_bytes) + " of a capacity of " +
               std::to_string(head.capacity);
    }
    if (head.image_offset != image_offset_for(head.image_bytes)) {
        return in_bytes("the offset of the image", head.image_offset);
    }
    return {};
}

}  // namespace tarnbase::runtime
