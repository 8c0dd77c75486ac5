// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/store_changes.h"

#include <algorithm>
#include <cstring>

#include "tests/fuzz/fill.h"

namespace tarnbase::fuzz {

namespace {

constexpr std::size_t change_bytes = 9;
constexpr u64 page = 4096;

template <typename T>
void put(u8 *place, T value) {
    std::memcpy(place, &value, sizeof value);
}

u64 get(const u8 *place) {
    u64 value = 0;
    std::memcpy(&value, place, sizeof value);
    return value;
}

u32 number(Bytes bytes, std::size_t at) {
    u32 value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

}  // namespace

Image::Image(std::vector<u8> bytes, u64 base) : bytes_(std::move(bytes)), base_(base) {
    for (u64 at = 0; at < bytes_.size(); at += sizeof(u64)) {
        if (get(&bytes_[at]) != 0) words_.push_back(static_cast<u32>(at));
    }
}

// The last change may be cut short: zeros follow.
void Image::change(u8 *image, Bytes changes) const {
    while (!changes.empty()) {
        u8 bytes[change_bytes] = {};
        const std::size_t length = std::min(changes.size(), change_bytes);
        std::copy_n(changes.begin(), length, bytes);
        change(image, bytes[0], number(bytes, 1), number(bytes, 5));
        changes = changes.subspan(length);
    }
}

void Image::change(u8 *image, u8 kind, u32 place, u32 value) const {
    u8 *const byte = image + place % bytes_.size();
    u8 *const start = image + place % bytes_.size() / page * page;
    switch (kind % 16) {
        case 12:
            std::fill_n(start, page, u8{0});
            return;
        case 13:
            std::memmove(start, image + value % bytes_.size() / page * page, page);
            return;
        case 14:
            std::fill(byte, image + bytes_.size(), u8{0});
            return;
        default:
            change_word(image, kind, place, value);
    }
}

void Image::change_word(u8 *image, u8 kind, u32 place, u32 value) const {
    const u64 small = kind >> 4;
    u8 *const word = image + word_at(place);
    u8 *const other = image + word_at(value);
    switch (kind % 16) {
        case 0:
        case 1:
            return put(word, get(word) ^ 1ULL << value % 64);
        case 2:
            image[place % bytes_.size()] ^= static_cast<u8>(1U << value % 8);
            return;
        case 3:
            word[small % 8] = static_cast<u8>(value);
            return;
        case 4:
            return put(word + small % 2 * 4, value);
        case 5:
            return put(word, u64{value} << small * 2);
        case 6:
            return put(word, small % 2 == 0 ? ~0ULL : 0ULL);
        case 7:
        case 8:
            return put(word, get(other));
        case 9:
            return put(word, base_ + value % bytes_.size() / 16 * 16);
        case 10:
            return put(word, base_ + word_at(value));
        case 11:
            return put(word, get(word) + 16 * (small - 8));
        default: {
            const u64 content = get(other);
            put(other, get(word));
            put(word, content);
        }
    }
}

void change_seeds(const TakeSeed &take) {
    constexpr u32 seeds = 128;
    for (u32 i = 0; i < seeds; ++i) {
        Random random(i);
        std::vector<u8> input = {static_cast<u8>(i)};
        for (u32 left = (1 + i % 3) * change_bytes; left > 0; --left) {
            input.push_back(static_cast<u8>(random.below(256)));
        }
        take("changes_" + std::to_string(i), input);
    }
}

}  // namespace tarnbase::fuzz
