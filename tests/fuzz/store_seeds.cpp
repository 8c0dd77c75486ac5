// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "runtime/base/byte_order.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"
#include "runtime/log/segment_files.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/folder.h"
#include "tests/fuzz/round.h"
#include "tests/fuzz/store_pieces.h"

namespace tarnbase::fuzz {

namespace {

using runtime::CheckpointHead;

void append(std::vector<u8> &bytes, u64 number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<u8>(number >> (8 * i)));
}

void append_piece(std::vector<u8> &bytes, u64 offset, Bytes piece) {
    append(bytes, offset, 4);
    append(bytes, piece.size(), 2);
    bytes.insert(bytes.end(), piece.begin(), piece.end());
}

template <typename Value>
Bytes bytes_of(std::span<const Value> values) {
    return {reinterpret_cast<const u8 *>(values.data()), values.size_bytes()};
}

// The head of an image of that many pages, without its checksums.
CheckpointHead head_of(u64 pages) {
    CheckpointHead head{};
    head.magic = runtime::checkpoint_magic;
    head.version = runtime::checkpoint_format_version;
    head.byte_order = runtime::native_byte_order;
    head.id = seed_id;
    head.base = 0x2000'0000'0000;
    head.capacity = 1 << 30;
    head.position = seed_position;
    head.segment = seed_position / 2;
    head.sequence = 7;
    head.image_bytes = pages * runtime::image_page_bytes;
    head.image_offset = runtime::image_offset_for(head.image_bytes);
    return head;
}

// Random bytes in the middle of some pages; the other pages are zero.
std::vector<char> random_image(u64 pages, Random &random) {
    constexpr u64 set_bytes = 100;
    std::vector<char> image(pages * runtime::image_page_bytes);
    for (u64 page = 0; page < pages; page += 2) {
        char *at = &image[page * runtime::image_page_bytes + runtime::image_page_bytes / 2];
        for (u64 i = 0; i < set_bytes; ++i) at[i] = static_cast<char>(random.below(256));
    }
    return image;
}

std::vector<u8> checkpoint_seed(u64 pages, u8 repairs, Random &random) {
    constexpr u64 piece_bytes = 128;
    const std::vector<char> image = random_image(pages, random);
    std::vector<u32> checksums;
    for (u64 i = 0; i < pages; ++i) {
        checksums.push_back(
            runtime::crc32c({&image[i * runtime::image_page_bytes], runtime::image_page_bytes}));
    }
    CheckpointHead head = head_of(pages);
    const Bytes table = bytes_of(std::span<const u32>(checksums));
    head.pages_crc = runtime::crc32c({reinterpret_cast<const char *>(table.data()), table.size()});
    head.crc = runtime::head_checksum(head);

    std::vector<u8> seed = {repairs};
    append(seed, head.image_offset + image.size(), 4);
    append_piece(seed, 0, bytes_of(std::span<const CheckpointHead>(&head, 1)));
    append_piece(seed, runtime::table_offset, table);
    for (u64 page = 0; page < pages; page += 2) {
        const u64 at = page * runtime::image_page_bytes + runtime::image_page_bytes / 2;
        append_piece(seed, head.image_offset + at,
                     bytes_of(std::span<const char>(&image[at], piece_bytes)));
    }
    return seed;
}

void append_frame(std::vector<u8> &log, u64 sequence, Random &random) {
    constexpr u64 block = 64;
    runtime::FrameBuilder builder;
    builder.clear();
    const auto any_offset = [&] { return u64{random.below(1 << 20)} * block; };
    for (u32 i = random.below(3); i > 0; --i) builder.release(any_offset());
    const std::vector<char> content = random_image(1, random);
    const std::span<const char> set(&content[runtime::image_page_bytes / 2], block);
    for (u32 i = random.below(3); i > 0; --i) {
        builder.allocate(any_offset(), 2 * block, set.first(random.below(block)));
    }
    for (u32 i = random.below(4); i > 0; --i) {
        builder.write(any_offset(), set.first(1 + random.below(block - 1)));
    }
    const std::span<const char> frame = builder.finish(sequence);
    log.insert(log.end(), frame.begin(), frame.end());
}

// The file of a segment in which frames were written.
std::span<const char> with_frames(const runtime::Segment &segment, u32 count, Random &random) {
    std::vector<u8> frames;
    for (u64 sequence = 1; sequence <= count; ++sequence) append_frame(frames, sequence, random);
    std::ranges::copy(frames, segment.from(seed_position).begin());
    return segment.file();
}

void append_file(std::vector<u8> &bytes, int folder, const std::string &name) {
    const runtime::File file(::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    require(::fstat(file.descriptor(), &status) == 0, "a file has a size");
    std::vector<char> content(static_cast<std::size_t>(status.st_size));
    require(runtime::read_fully(file.descriptor(), content, 0) == 0, "a file can be read");
    bytes.insert(bytes.end(), content.begin(), content.end());
}

}  // namespace

void checkpoint_seeds(const TakeSeed &take) {
    constexpr u8 all = repair_head | repair_table | repair_pages;
    constexpr u8 repairs[] = {0, repair_head, repair_head | repair_table, all};
    for (u64 pages = 1; pages <= 4; ++pages) {
        for (const u8 each : repairs) {
            Random random(static_cast<u32>(pages));
            take(std::to_string(pages) + "_pages." + std::to_string(each),
                 checkpoint_seed(pages, each, random));
        }
    }
}

void log_seeds(const TakeSeed &take) {
    constexpr u32 logs = 32;
    for (u32 i = 0; i < logs; ++i) {
        Random random(i);
        std::vector<u8> log = {static_cast<u8>(i % 4 == 0 ? 0 : repair_head)};
        for (u64 sequence = 1; sequence <= 1 + i % 4; ++sequence) {
            append_frame(log, sequence, random);
        }
        take("log_" + std::to_string(i), log);
    }
}

void segment_seeds(const TakeSeed &take) {
    const Folder folder;
    runtime::SegmentCompressor compressor;
    for (u32 i = 0; i < 16; ++i) {
        Random random(i);
        runtime::Segment segment;
        require(segment.create(folder.descriptor(), seed_id, seed_position) == 0 &&
                    compressor.write(folder.descriptor(), seed_id, seed_position,
                                     with_frames(segment, i % 4, random)) == 0,
                "a segment can be made");
        std::vector<u8> seed = {static_cast<u8>(i % 4 == 0 ? 0 : repair_head)};
        append_file(seed, folder.descriptor(), runtime::compressed_segment_name(seed_position));
        take("segment_" + std::to_string(i), seed);
    }
}

std::vector<std::vector<u8>> store_words() {
    std::vector<std::vector<u8>> words;
    const auto word = [&](u64 number, std::size_t size) {
        words.emplace_back();
        append(words.back(), number, size);
    };
    word(runtime::checkpoint_magic, 8);
    word(runtime::native_byte_order, 4);
    for (const u64 number : {1ULL << 16, 1ULL << 40, 1ULL << 63, ~0ULL, ~0ULL << 16, 4096ULL}) {
        word(number, 8);
    }
    for (u64 kind = 0; kind < 4; ++kind) word(kind << 62 | 8ULL << 40 | 64, 8);
    return words;
}

}  // namespace tarnbase::fuzz
