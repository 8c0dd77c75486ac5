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

bool UndoLog::reserve() { return ensure_space(sizeof(Trailer)); }

bool UndoLog::append(Kind kind, const void *address, std::uint32_t length, const void *payload,
                     std::uint32_t payload_length) {
    const std::size_t before_trailer = padded(payload_length);
    if (!ensure_space(before_trailer + sizeof(Trailer))) {
        incomplete_ = true;
        return false;
    }
    char *place = newest_->bytes + newest_->used;
    if (payload_length != 0) std::memcpy(place, payload, payload_length);
    const Trailer trailer{const_cast<void *>(address), length, kind};
    std::memcpy(place + before_trailer, &trailer, sizeof trailer);
    newest_->used += before_trailer + sizeof trailer;
    return true;
}

void UndoLog::old_bytes(const void *address, std::uint64_t length) {
    if (logged_.contain(address, length)) return;
    const auto *const begin = static_cast<const char *>(address);
    for (std::uint64_t done = 0; done < length;) {
        const auto piece = static_cast<std::uint32_t>(std::min(length - done, longest_piece));
        append(Kind::old_bytes, begin + done, piece, begin + done, piece);
        done += piece;
    }
    if (!incomplete_) logged_.add(address, length);
}

void UndoLog::delta(const void *address, std::int32_t delta) {
    append(Kind::delta, address, static_cast<std::uint32_t>(delta), nullptr, 0);
}

void UndoLog::allocated(const void *block) { append(Kind::allocated, block, 0, nullptr, 0); }

bool UndoLog::deferred_free(const void *block) {
    if (!reserve()) return false;
    append(Kind::deferred_free, block, 0, nullptr, 0);
    deferred_frees_ += 1;
    return true;
}

UndoLog::Trailer UndoLog::entry_before(const Chunk &chunk, std::size_t end, std::size_t &start) {
    Trailer trailer;
    const std::size_t trailer_at = end - sizeof trailer;
    std::memcpy(&trailer, chunk.bytes + trailer_at, sizeof trailer);
    start = trailer_at - (trailer.kind == Kind::old_bytes ? padded(trailer.length) : 0);
    return trailer;
}

void UndoLog::restore(const Trailer &trailer, const char *payload) {
    if (trailer.kind == Kind::old_bytes) {
        std::memcpy(trailer.address, payload, trailer.length);
    } else if (trailer.kind == Kind::delta) {
        std::atomic_ref(*static_cast<std::uint64_t *>(trailer.address)) -=
            static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(trailer.length)});
    }
}

}  // namespace tarnbase::runtime
