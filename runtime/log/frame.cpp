/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/frame.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "runtime/log/crc32c.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t word = 8;
constexpr unsigned length_at = 40;
constexpr unsigned kind_at = 62;
constexpr std::uint64_t length_mask = (1ULL << (kind_at - length_at)) - 1;
constexpr std::uint64_t offset_mask = (1ULL << length_at) - 1;
static_assert(offset_mask + 1 == most_offset);

// The longest content of an operation. The next one's offset is again a multiple of 8.
constexpr std::size_t most_content = length_mask & ~(word - 1);

// A builder that has more memory than this frees it after the frame.
constexpr std::size_t most_kept_bytes = std::size_t{1} << 20;

constexpr std::size_t padded(std::size_t size) { return (size + word - 1) & ~(word - 1); }

constexpr std::uint64_t operation_head(OperationKind kind, std::size_t length,
                                       std::uint64_t offset) {
    return std::uint64_t{static_cast<std::uint8_t>(kind)} << kind_at |
           std::uint64_t{length} << length_at | offset;
}

void store_word(char *at, std::uint64_t value) { std::memcpy(at, &value, sizeof value); }

std::uint64_t load_word(const char *at) {
    std::uint64_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// Copies a content and pads it.
void store_content(char *at, std::span<const char> content) {
    if (content.empty()) return;
    store_word(at + padded(content.size()) - word, 0);
    std::memcpy(at, content.data(), content.size());
}

// The CRC of a frame with zeros in the place of its CRC.
std::uint32_t frame_crc(FrameHead head, std::span<const char> operations) {
    head.crc = 0;
    const std::span<const char> bytes(reinterpret_cast<const char *>(&head), sizeof head);
    return crc32c(operations, crc32c(bytes));
}

}  // namespace

void FrameBuilder::clear() {
    if (size_ > most_kept_bytes) {
        bytes_.reset();
        size_ = 0;
    }
    used_ = sizeof(FrameHead);
    note_bytes_ = 0;
}

void FrameBuilder::grow(std::size_t size) {
    constexpr std::size_t first_size = 4096;
    const std::size_t larger = std::max({first_size, 2 * size_, used_ + size});
    void *const grown = std::realloc(bytes_.get(), larger);
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes_.release());
    bytes_.reset(static_cast<char *>(grown));
    size_ = larger;
}

// Makes the frame longer. Returns where the new bytes begin.
char *FrameBuilder::extend(std::size_t size) {
    if (size_ < used_ + size) grow(size);
    char *at = bytes_.get() + used_;
    used_ += size;
    return at;
}

void FrameBuilder::release(std::uint64_t offset) {
    store_word(extend(word), operation_head(OperationKind::release, 0, offset));
}

void FrameBuilder::allocate(std::uint64_t offset, std::uint64_t block_size,
                            std::span<const char> content) {
    const auto first = content.first(std::min(content.size(), most_content));
    char *at = extend(2 * word + padded(first.size()));
    store_word(at, operation_head(OperationKind::allocate, first.size(), offset));
    store_word(at + word, block_size);
    store_content(at + 2 * word, first);
    write(offset + first.size(), content.subspan(first.size()));
}

void FrameBuilder::write(std::uint64_t offset, std::span<const char> content) {
    while (!content.empty()) {
        const auto piece = content.first(std::min(content.size(), most_content));
        char *at = extend(word + padded(piece.size()));
        store_word(at, operation_head(OperationKind::write, piece.size(), offset));
        store_content(at + word, piece);
        offset += piece.size();
        content = content.subspan(piece.size());
    }
}

void FrameBuilder::references(std::uint64_t offset, std::span<const char, 8> content) {
    char *at = extend(2 * word);
    store_word(at, operation_head(OperationKind::references, word, offset));
    store_content(at + word, content);
}

void FrameBuilder::note(std::uint64_t kind, std::span<const char> content) {
    const std::size_t size = word + padded(content.size());
    char *at = extend(size);
    store_word(at, operation_head(OperationKind::release, content.size(), kind));
    store_content(at + word, content);
    note_bytes_ += size;
}

std::span<const char> FrameBuilder::finish(std::uint64_t sequence) {
    extend(0);
    const std::span<const char> frame(bytes_.get(), used_);
    FrameHead head{sequence, static_cast<std::uint32_t>(used_), 0};
    head.crc = frame_crc(head, frame.subspan(sizeof head));
    std::memcpy(bytes_.get(), &head, sizeof head);
    return frame;
}

const char *check_frame(std::span<const char> bytes, std::uint64_t sequence) {
    FrameHead head;
    if (bytes.size() < sizeof head) return "a frame is cut short";
    std::memcpy(&head, bytes.data(), sizeof head);
    if (head.sequence != sequence) return "a frame has a wrong sequence number";
    if (head.length < sizeof head || head.length % word != 0 || head.length > most_frame_bytes) {
        return "a frame has an impossible length";
    }
    if (head.length > bytes.size()) return "a frame is cut short";
    const auto operations = bytes.first(head.length).subspan(sizeof head);
    if (frame_crc(head, operations) != head.crc) return "a frame has a wrong checksum";
    return nullptr;
}

OperationReader::OperationReader(std::span<const char> frame) {
    if (frame.size() < sizeof(FrameHead)) {
        damaged_ = true;
    } else {
        rest_ = frame.subspan(sizeof(FrameHead));
    }
}

bool OperationReader::next(Operation &operation) {
    if (rest_.empty()) return false;
    if (take(operation)) return true;
    damaged_ = true;
    rest_ = {};
    return false;
}

// Takes the next operation. False: it is damaged.
bool OperationReader::take(Operation &operation) {
    if (rest_.size() < word) return false;
    const std::uint64_t head = load_word(rest_.data());
    const auto kind = static_cast<OperationKind>(head >> kind_at);
    const std::size_t length = head >> length_at & length_mask;
    operation = {kind, head & offset_mask, 0, {}};
    rest_ = rest_.subspan(word);

    std::uint64_t extent = length;
    if (kind == OperationKind::allocate) {
        if (rest_.size() < word) return false;
        operation.block_size = extent = load_word(rest_.data());
        rest_ = rest_.subspan(word);
    } else if (kind == OperationKind::release) {
        if (length != 0) operation.kind = OperationKind::note;
    } else if (kind == OperationKind::references && length != word) {
        return false;
    }
    if (length > extent || extent > most_offset - operation.offset) return false;
    if (padded(length) > rest_.size()) return false;
    operation.bytes = rest_.first(length);
    rest_ = rest_.subspan(padded(length));
    return true;
}

}  // namespace tarnbase::runtime
