// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/replication/destroy.h"
#include "runtime/replication/reader.h"
#include "runtime/replication/ring.h"

using namespace tarnbase::runtime;

namespace {

// Makes changes outside of transactions as the writer. Returns the first error.
template <typename Change>
std::uint32_t change_as_writer(kel_store *store, Change change) {
    if (const std::uint32_t error = kel_store_lock(store)) return error;
    const std::uint32_t error = change();
    const std::uint32_t published = kel_store_unlock(store);
    return error != 0 ? error : published;
}

}  // namespace

void kel_table_set_replication(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                               std::uint32_t marked, std::uint32_t write_cursor_armed) {
    const WriteLog log{handle, tx_id};
    log.set(table->replication_marked, marked);
    log.set(table->write_cursor_armed, write_cursor_armed);
}

std::uint32_t kel_replication_attach(kel_handle *handle, kel_table_vector_lookup lookup) {
    std::unique_ptr<Attachment> &attached = private_part(handle).replication;
    if (lookup == nullptr) {
        attached.reset();
        return 0;
    }
    if (!FrameRing(handle)) {
        const std::uint32_t error = change_as_writer(&store_of(handle), [&]() -> std::uint32_t {
            // Another process may have made it meanwhile.
            return FrameRing(handle) ? 0 : FrameRing::configure(handle, 0, 0);
        });
        if (error != 0) return error;
    }
    if (attached == nullptr) attached.reset(new (std::nothrow) Attachment);
    if (attached == nullptr) return fail(ENOMEM, "kel_replication_attach: no memory");
    attached->lookup = lookup;
    return 0;
}

std::uint32_t kel_replication_configure(kel_handle *handle, std::uint64_t frames,
                                        std::uint64_t bytes) {
    return change_as_writer(&store_of(handle),
                            [&] { return FrameRing::configure(handle, frames, bytes); });
}

std::uint32_t kel_replication_reader_open(kel_handle *handle, std::uint64_t position,
                                          kel_replication_reader *reader) {
    return open_reader(handle, position, reader);
}

std::uint32_t kel_replication_next(kel_handle *handle, kel_replication_reader *reader, void *buffer,
                                   std::uint32_t buffer_len, kel_replication_frame *frame) {
    const std::uint32_t status = read_next_frame(handle, reader, buffer, buffer_len, frame);
    if (status != EAGAIN || store_of(handle).scopes.is_reading()) return status;
    if (const std::uint32_t error = kel_store_refresh(&store_of(handle))) return error;
    return read_next_frame(handle, reader, buffer, buffer_len, frame);
}

std::uint64_t kel_replication_lag(kel_handle *handle, const kel_replication_reader *reader) {
    return reader_lag(handle, reader);
}

std::uint32_t kel_replication_finish_destroys(kel_handle *handle, std::uint32_t tx_id,
                                              std::uint32_t *finished) {
    return finish_destroys(handle, tx_id, private_part(handle).replication.get(), finished);
}

std::uint64_t kel_handle_cache_reports(const kel_handle *handle) {
    return private_part(handle).cache_reports;
}

std::uint64_t kel_replication_reads(const kel_handle *handle, const kel_record *record) {
    const Attachment *attached = private_part(handle).replication.get();
    if (attached == nullptr) return 0;
    const ReadCache::Entry *entry = attached->reads.find(record);
    return entry != nullptr ? entry->reads : 0;
}

std::uint32_t kel_replication_for_each_read(kel_handle *handle, kel_table *table,
                                            kel_replication_read_function function, void *context) {
    const Attachment *attached = private_part(handle).replication.get();
    return attached != nullptr ? for_each_read(*attached, table, function, context) : 0;
}
