// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/mutate.h"

#include <algorithm>

#include "tests/fuzz/wire_items.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

// Before the frames.
constexpr u32 prefix = 1;

std::vector<WireItem> items_of(Bytes stream) {
    if (stream.size() <= prefix) return {};
    std::vector<WireItem> items = items_of_stream(stream.subspan(prefix));
    for (WireItem &item : items) item.offset += prefix;
    return items;
}

void append_frame(std::vector<u8> &stream, Random &random) {
    const Conditions conditions(static_cast<u8>(random.below(mode_count)));
    const Round round(conditions);
    const Table &model = *all_tables()[random.below(module.table_count)];
    const std::vector<u8> frame = new_frame(model, round, random);
    stream.insert(stream.end(), frame.begin(), frame.end());
}

void store_number(std::vector<u8> &stream, const WireItem &item, u64 number) {
    for (u32 i = 0; i < item.length && i < 8; ++i) {
        stream[item.offset + i] = static_cast<u8>(number >> (8 * i));
    }
}

u32 number_in(const std::vector<u8> &stream, const WireItem &item) {
    u32 number = 0;
    for (u32 i = 0; i < item.length && i < 4; ++i) {
        number |= u32{stream[item.offset + i]} << (8 * i);
    }
    return number;
}

// The limits of every range, and values close to the current number and to the number of
// remaining bytes.
u32 interesting_number(u32 current, u32 left, Random &random) {
    const u32 numbers[] = {
        0,        1,           2,           4,           127,          128,     255,      256,
        1440,     current + 1, current - 1, current + 4, current + 20, left,    left + 1, left - 1,
        left - 4, 0x7fffffff,  0x7ffffff0,  0x80000000,  ~0U,          ~0U - 3, ~0U - 64, 0xffff};
    return numbers[random.below(std::size(numbers))];
}

u32 interesting_value(const std::vector<u8> &stream, const WireItem &item, Random &random) {
    constexpr u8 variants[] = {0, 1, 2, 3, 127, 128, 255};
    constexpr u8 flags[] = {0, 8, 32, 40, 1, 4, 64, 255};
    constexpr u8 families[] = {0, 4, 6, 1, 10, 255};
    switch (item.kind) {
        case WireKind::variant:
            return variants[random.below(std::size(variants))];
        case WireKind::flags:
            return flags[random.below(std::size(flags))];
        case WireKind::family:
            return families[random.below(std::size(families))];
        default:
            return interesting_number(number_in(stream, item),
                                      static_cast<u32>(stream.size()) - item.offset, random);
    }
}

void change_item(std::vector<u8> &stream, const WireItem &item, Random &random) {
    if (item.length == 0) return;
    if (item.length > 8) {
        stream[item.offset + random.below(item.length)] = static_cast<u8>(random.word());
    } else {
        store_number(stream, item, interesting_value(stream, item, random));
    }
}

void remove_range(std::vector<u8> &stream, const WireItem &range) {
    const auto begin = stream.begin() + range.offset;
    stream.erase(begin, begin + range.length);
}

void insert_range(std::vector<u8> &stream, u32 offset, const std::vector<u8> &bytes) {
    stream.insert(stream.begin() + offset, bytes.begin(), bytes.end());
}

std::vector<u8> copy_of(const std::vector<u8> &stream, const WireItem &range) {
    const auto begin = stream.begin() + range.offset;
    return {begin, begin + range.length};
}

// As a newer writer sends it: an object with more bytes than its reader's fields, and a
// jump that includes them.
void lengthen(std::vector<u8> &stream, const std::vector<WireItem> &items, Random &random) {
    std::vector<WireItem> objects;
    std::ranges::copy_if(items, std::back_inserter(objects), [&](const WireItem &item) {
        return item.kind == WireKind::object && item.length >= 6 && stream[item.offset + 1] < 32;
    });
    if (objects.empty()) return;
    const WireItem object = objects[random.below(static_cast<u32>(objects.size()))];
    const std::vector<u8> more(1 + random.below(24), static_cast<u8>(random.word()));
    const WireItem jump = {WireKind::jump, object.offset + 2, 4};
    store_number(stream, jump, number_in(stream, jump) + more.size());
    insert_range(stream, object.offset + object.length, more);
    if (random.once_in(2)) ++stream[object.offset];
}

// Adds trace data to an object without any.
void add_ra_data(std::vector<u8> &stream, const std::vector<WireItem> &items, Random &random) {
    std::vector<WireItem> flags;
    std::ranges::copy_if(items, std::back_inserter(flags), [&](const WireItem &item) {
        return item.kind == WireKind::flags && (stream[item.offset] & OBJ_RA_DATA) == 0;
    });
    if (flags.empty()) return;
    const WireItem item = flags[random.below(static_cast<u32>(flags.size()))];
    stream[item.offset] |= OBJ_RA_DATA;
    std::vector<u8> data(9);
    for (u8 &byte : data) byte = static_cast<u8>(random.word());
    insert_range(stream, item.offset + 1, data);
}

void change_structure(std::vector<u8> &stream, const std::vector<WireItem> &items, Random &random) {
    const auto count = static_cast<u32>(items.size());
    const WireItem item = items[random.below(count)];
    switch (random.below(10)) {
        case 0:
            return remove_range(stream, item);
        case 1:
            return insert_range(stream, items[random.below(count)].offset, copy_of(stream, item));
        case 2:
            return stream.resize(item.offset + random.below(item.length + 1));
        case 3:
            return lengthen(stream, items, random);
        case 4:
            return add_ra_data(stream, items, random);
        default:
            return change_item(stream, item, random);
    }
}

}  // namespace

void mutate_bytes(std::vector<u8> &bytes, Random &random) {
    constexpr u8 boundary_values[] = {0, 1, 2, 4, 6, 8, 32, 40, 127, 128, 255};
    if (bytes.empty()) return bytes.push_back(static_cast<u8>(random.word()));
    const auto size = static_cast<u32>(bytes.size());
    const u32 at = random.below(size);
    const WireItem number = {WireKind::value, at, std::min(4U, size - at)};
    switch (random.below(6)) {
        case 0:
            bytes[at] = static_cast<u8>(random.word());
            return;
        case 1:
            bytes[at] = boundary_values[random.below(std::size(boundary_values))];
            return;
        case 2:
            return store_number(bytes, number, interesting_value(bytes, number, random));
        case 3:
            return bytes.resize(at);
        case 4:
            return remove_range(bytes, {WireKind::value, at, random.below(size - at) + 1});
        default:
            return insert_range(bytes, at, copy_of(bytes, {WireKind::value, at, size - at}));
    }
}

std::vector<u8> new_stream(Random &random) {
    std::vector<u8> stream = {static_cast<u8>(random.word())};
    for (u32 i = 1 + random.below(3); i > 0; --i) append_frame(stream, random);
    return stream;
}

void mutate_stream(std::vector<u8> &stream, std::size_t limit, Random &random,
                   const ChangeAny &change_any) {
    const std::vector<WireItem> items = items_of(stream);
    const u32 choice = random.below(16);
    if (items.empty() || choice == 0) {
        stream = new_stream(random);
    } else if (choice == 1) {
        append_frame(stream, random);
    } else if (choice == 2) {
        stream[0] = static_cast<u8>(random.word());
    } else if (choice < 5) {
        change_any(stream);
    } else {
        change_structure(stream, items, random);
    }
    if (stream.size() > limit) stream.resize(limit);
}

std::vector<u8> cross_streams(Bytes first, Bytes second, Random &random) {
    const auto cut = [&](Bytes stream) {
        const std::vector<WireItem> items = items_of(stream);
        return items.empty() ? u32{0} : items[random.below(static_cast<u32>(items.size()))].offset;
    };
    const u32 end = cut(first);
    const u32 begin = cut(second);
    std::vector<u8> crossed(first.begin(), first.begin() + end);
    crossed.insert(crossed.end(), second.begin() + begin, second.end());
    return crossed;
}

}  // namespace tarnbase::fuzz
