// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/reader.h"

#include <cerrno>
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/replication/ring.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;  // for texts

std::uint32_t no_ring(const char *what) {
    return fail(ENOENT, "%s: the store has no replication ring", what);
}

std::uint32_t ahead_of_stream(const char *what, std::uint64_t position, const FrameRing &ring) {
    return fail(EINVAL, "%s: position %llu is ahead of the stream, which ends at %llu", what,
                Number{position}, Number{ring.next()});
}

std::uint32_t skip_to(kel_replication_reader *reader, std::uint64_t position) {
    const std::uint64_t count = position - reader->position;
    reader->missed += count;
    reader->position = position;
    return fail(EOVERFLOW, "the reader has missed %llu frames before position %llu", Number{count},
                Number{position});
}

}  // namespace

std::uint32_t open_reader(kel_handle *handle, std::uint64_t position,
                          kel_replication_reader *reader) {
    const FrameRing ring(handle);
    if (!ring) return no_ring("kel_replication_reader_open");
    if (position == KEL_REPLICATION_OLDEST) position = ring.first();
    if (position == KEL_REPLICATION_NEWEST) position = ring.committed_end();
    if (position > ring.next()) {
        return ahead_of_stream("kel_replication_reader_open", position, ring);
    }
    *reader = {position, 0};
    return 0;
}

std::uint32_t read_next_frame(kel_handle *handle, kel_replication_reader *reader, void *buffer,
                              std::uint32_t buffer_len, kel_replication_frame *frame) {
    const FrameRing ring(handle);
    if (!ring) return no_ring("kel_replication_next");
    const std::uint64_t position = reader->position;
    if (position > ring.next()) return ahead_of_stream("kel_replication_next", position, ring);
    if (position < ring.first()) return skip_to(reader, ring.first());
    if (position == ring.next() || ring.is_open(position)) {
        return fail(EAGAIN, "the reader has read all frames");
    }
    const Frame *found = ring.frame(position);
    if (found == nullptr) return skip_to(reader, position + 1);
    *frame = found->head;
    if (frame->length > buffer_len) {
        return fail(EMSGSIZE, "the frame has %u bytes, the buffer %u", frame->length, buffer_len);
    }
    if (ring.is_inside_store(found, frame->length)) {
        std::memcpy(buffer, found->bytes(), frame->length);
    }
    reader->position = position + 1;
    return 0;
}

std::uint64_t reader_lag(kel_handle *handle, const kel_replication_reader *reader) {
    const FrameRing ring(handle);
    if (!ring) return 0;
    const std::uint64_t end = ring.committed_end();
    return end > reader->position ? end - reader->position : 0;
}

}  // namespace tarnbase::runtime
