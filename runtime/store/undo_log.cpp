// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/undo_log.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace tarnbase::runtime {

namespace {

// Long writes are logged in pieces that fit in a chunk.
constexpr std::uint64_t longest_piece = 32768;

// Memory for the next transactions, 1 MiB: taking it from the system anew, page by page, takes
// longer than logging. What a larger transaction needed is freed.
constexpr std::uint32_t most_spares = 16;

constexpr std::size_t word = 8;

std::uint64_t load_word(const char *at) {
    std::uint64_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void store_word(char *at, std::uint64_t value) { std::memcpy(at, &value, sizeof value); }

std::uint64_t number_of(const void *address) { return reinterpret_cast<std::uintptr_t>(address); }

}  // namespace

// Frees a chain of chunks one by one: destructors that call each other would use up the stack.
UndoLog::~UndoLog() {
    clear();
    while (spare_ != nullptr) spare_ = std::move(spare_->previous);
}

void UndoLog::drop_newest() {
    std::unique_ptr<Chunk> dropped = std::move(newest_);
    newest_ = std::move(dropped->previous);
    if (spares_ == most_spares) return;
    dropped->used = 0;
    dropped->previous = std::move(spare_);
    spare_ = std::move(dropped);
    spares_ += 1;
}

std::unique_ptr<UndoLog::Chunk> UndoLog::take_chunk() {
    if (spare_ == nullptr) return std::unique_ptr<Chunk>(new (std::nothrow) Chunk);
    std::unique_ptr<Chunk> chunk = std::move(spare_);
    spare_ = std::move(chunk->previous);
    spares_ -= 1;
    return chunk;
}

void UndoLog::clear() {
    while (newest_ != nullptr) drop_newest();
    logged_.clear();
    if (next_delta_ != 0) deltas_ = {};
    next_delta_ = 0;
    deferred_frees_ = 0;
    incomplete_ = false;
}

bool UndoLog::ensure_space(std::size_t bytes) {
    if (newest_ != nullptr && newest_->used + bytes <= chunk_bytes) return true;
    std::unique_ptr<Chunk> chunk = take_chunk();
    if (chunk == nullptr) return false;
    chunk->previous = std::move(newest_);
    newest_ = std::move(chunk);
    return true;
}

bool UndoLog::reserve() { return ensure_space(word); }

char *UndoLog::extend(std::size_t bytes) {
    if (!ensure_space(bytes)) {
        incomplete_ = true;
        return nullptr;
    }
    char *const place = newest_->bytes + newest_->used;
    newest_->used += bytes;
    return place;
}

void UndoLog::append_old_bytes(const char *bytes, std::uint32_t length) {
    char *const place = extend(padded(length) + 2 * word);
    if (place == nullptr) return;
    std::memcpy(place, bytes, length);
    store_word(place + padded(length), number_of(bytes));
    store_word(place + padded(length) + word,
               std::uint64_t{length} << number_at | static_cast<std::uint64_t>(Kind::old_bytes));
}

void UndoLog::old_bytes(const void *address, std::uint64_t length) {
    if (logged_.contain(address, length)) return;
    const auto *const begin = static_cast<const char *>(address);
    forget_deltas(begin, length);
    for (std::uint64_t done = 0; done < length;) {
        const auto piece = static_cast<std::uint32_t>(std::min(length - done, longest_piece));
        append_old_bytes(begin + done, piece);
        done += piece;
    }
    if (!incomplete_) logged_.add(address, length);
}

// A delta after these bytes were saved is undone before they are restored.
void UndoLog::forget_deltas(const char *bytes, std::uint64_t length) {
    if (next_delta_ == 0) return;
    for (Delta &delta : deltas_) {
        const std::uint64_t counter = number_of(delta.address), first = number_of(bytes);
        if (counter < first + length && first < counter + sizeof(std::uint64_t)) delta = {};
    }
}

bool UndoLog::add_to_known(const void *address, std::int32_t delta) {
    for (const Delta &known : deltas_) {
        if (known.address != address || known.word == nullptr) continue;
        const auto present = static_cast<std::int32_t>(load_word(known.word) >> number_at);
        std::int32_t sum = 0;
        if (__builtin_add_overflow(present, delta, &sum)) return false;
        store_word(known.word, std::uint64_t{static_cast<std::uint32_t>(sum)} << number_at |
                                   static_cast<std::uint64_t>(Kind::delta));
        return true;
    }
    return false;
}

void UndoLog::delta(const void *address, std::int32_t delta) {
    if (add_to_known(address, delta)) return;
    char *const place = extend(2 * word);
    if (place == nullptr) return;
    store_word(place, number_of(address));
    store_word(place + word, std::uint64_t{static_cast<std::uint32_t>(delta)} << number_at |
                                 static_cast<std::uint64_t>(Kind::delta));
    deltas_[next_delta_++ % deltas_.size()] = {address, place + word};
}

void UndoLog::append_block(Kind kind, const void *block) {
    char *const place = extend(word);
    if (place != nullptr) store_word(place, number_of(block) | static_cast<std::uint64_t>(kind));
}

void UndoLog::allocated(const void *block) { append_block(Kind::allocated, block); }

bool UndoLog::deferred_free(const void *block) {
    if (!reserve()) return false;
    append_block(Kind::deferred_free, block);
    deferred_frees_ += 1;
    return true;
}

UndoLog::Entry UndoLog::entry_before(const Chunk &chunk, std::size_t end) {
    const std::uint64_t last = load_word(chunk.bytes + end - word);
    const auto kind = static_cast<Kind>(last & kind_mask);
    if (kind == Kind::allocated || kind == Kind::deferred_free) {
        return {kind, 0, reinterpret_cast<void *>(last & ~kind_mask), end - word};
    }
    const auto number = static_cast<std::uint32_t>(last >> number_at);
    const std::size_t start = end - 2 * word - (kind == Kind::old_bytes ? padded(number) : 0);
    return {kind, number, reinterpret_cast<void *>(load_word(chunk.bytes + end - 2 * word)), start};
}

void UndoLog::restore(const Entry &entry, const char *payload) {
    if (entry.kind == Kind::old_bytes) {
        std::memcpy(entry.address, payload, entry.number);
    } else if (entry.kind == Kind::delta) {
        std::atomic_ref(*static_cast<std::uint64_t *>(entry.address)) -=
            static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(entry.number)});
    }
}

}  // namespace tarnbase::runtime
