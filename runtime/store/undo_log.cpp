// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/undo_log.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "runtime/store/store.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

// Long writes are logged in pieces that fit in a page.
constexpr std::uint64_t longest_piece = 32768;

constexpr std::uint32_t padded(std::uint32_t length) { return (length + 7) / 8 * 8; }

char *bytes_of(LogPage *page) { return reinterpret_cast<char *>(page); }

}  // namespace

bool UndoLog::ensure_space(std::uint64_t bytes) {
    if (slot_.log != nullptr && slot_.log->head.used + bytes <= page_size) return true;
    auto *page = reinterpret_cast<LogPage *>(store_.allocator.allocate_page());
    if (page == nullptr) return false;
    page->head.used = sizeof(LogPage);
    page->previous = slot_.log;
    slot_.log = page;
    return true;
}

bool UndoLog::reserve() { return ensure_space(sizeof(Trailer)); }

void UndoLog::append(Kind kind, const void *address, std::uint32_t length, const void *payload,
                     std::uint32_t payload_length) {
    const std::uint32_t before_trailer = padded(payload_length);
    if (!ensure_space(before_trailer + sizeof(Trailer))) {
        slot_.log_incomplete = 1;
        return;
    }
    char *place = bytes_of(slot_.log) + slot_.log->head.used;
    if (payload_length != 0) std::memcpy(place, payload, payload_length);
    const Trailer trailer{const_cast<void *>(address), length, kind};
    std::memcpy(place + before_trailer, &trailer, sizeof trailer);
    slot_.log->head.used += before_trailer + static_cast<std::uint32_t>(sizeof trailer);
}

void UndoLog::old_bytes(const void *address, std::uint64_t length) {
    for (const char *from = static_cast<const char *>(address); length > 0;) {
        const auto piece = static_cast<std::uint32_t>(std::min(length, longest_piece));
        append(Kind::old_bytes, from, piece, from, piece);
        from += piece;
        length -= piece;
    }
}

void UndoLog::delta(const void *address, std::int32_t delta) {
    append(Kind::delta, address, static_cast<std::uint32_t>(delta), nullptr, 0);
}

void UndoLog::allocated(const void *block) { append(Kind::allocated, block, 0, nullptr, 0); }

void UndoLog::deferred_free(const void *block) {
    if (!reserve()) {
        ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): no room to note that %p is to be freed",
                       block);
        return;
    }
    append(Kind::deferred_free, block, 0, nullptr, 0);
    slot_.deferred_frees += 1;
}

void UndoLog::release_newest_page() {
    LogPage *page = slot_.log;
    slot_.log = page->previous;
    store_.allocator.release_page(&page->head, page->head.used);
}

template <typename Visitor>
void UndoLog::drain_newest_page(Visitor visit) {
    LogPage *page = slot_.log;
    while (page->head.used > sizeof(LogPage)) {
        const auto trailer_at = page->head.used - static_cast<std::uint32_t>(sizeof(Trailer));
        Trailer trailer;
        std::memcpy(&trailer, bytes_of(page) + trailer_at, sizeof trailer);
        const std::uint32_t payload = trailer.kind == Kind::old_bytes ? padded(trailer.length) : 0;
        const std::uint32_t start = trailer_at - payload;
        visit(trailer, bytes_of(page) + start);
        const std::uint32_t end = page->head.used;
        page->head.used = start;
        std::memset(bytes_of(page) + start, 0, end - start);
    }
    release_newest_page();
}

void UndoLog::undo_entry(const Trailer &trailer, const char *payload, UndoScope scope) {
    switch (trailer.kind) {
        case Kind::old_bytes:
            std::memcpy(trailer.address, payload, trailer.length);
            break;
        case Kind::delta:
            if (scope == UndoScope::store_only && !store_.contains(trailer.address, 8)) break;
            std::atomic_ref(*static_cast<std::uint64_t *>(trailer.address)) -=
                static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(trailer.length)});
            break;
        case Kind::allocated:
            store_.release_now(trailer.address);
            break;
        case Kind::deferred_free:
            break;
    }
}

void UndoLog::roll_back(UndoScope scope) {
    while (slot_.log != nullptr) {
        drain_newest_page([&](const Trailer &trailer, const char *payload) {
            undo_entry(trailer, payload, scope);
        });
    }
}

void UndoLog::commit() {
    while (slot_.log != nullptr) {
        if (slot_.deferred_frees == 0) {
            release_newest_page();
            continue;
        }
        drain_newest_page([&](const Trailer &trailer, const char *) {
            if (trailer.kind != Kind::deferred_free) return;
            store_.release_now(trailer.address);
            slot_.deferred_frees -= 1;
        });
    }
}

}  // namespace tarnbase::runtime
