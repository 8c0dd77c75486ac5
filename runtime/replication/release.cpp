// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/release.h"

#include <cerrno>
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/replication/table_vector.h"

namespace tarnbase::runtime {

namespace {

// Restores the error that a chain of `_cr` calls left in the handle.
class KeepLastError {
 public:
    explicit KeepLastError(kel_handle *handle) : handle_(handle), kept_(handle->last_error) {}
    ~KeepLastError() { handle_->last_error = kept_; }
    KeepLastError(const KeepLastError &) = delete;
    KeepLastError &operator=(const KeepLastError &) = delete;

 private:
    kel_handle *handle_;
    std::uint32_t kept_;
};

// Whether the record is one of the vector's table: its descriptor is "<table>_record".
bool is_record_of(const TableVector &vector, const kel_record *record) {
    const kel_type_info *descriptor = record->descriptor;
    if (descriptor == nullptr || descriptor->magic != KEL_TYPE_INFO_MAGIC) return false;
    const std::size_t length = std::strlen(vector.table_name());
    return std::strncmp(descriptor->name, vector.table_name(), length) == 0 &&
           std::strcmp(descriptor->name + length, "_record") == 0;
}

// Returns 0 when the record is in no index.
std::uint32_t leave_index(kel_handle *handle, std::uint32_t tx_id, const TableVector &vector,
                          kel_record *record) {
    kel_table *table = record->table;
    std::uint32_t error = 0;
    if (table->replication_marked == 0 || handle->replication_engine_active != 0) {
        vector.remove(handle, tx_id, table, record, &error);
        if (record->table == nullptr) return 0;
    } else {
        vector.request_destroy(handle, tx_id, table, record, &error);
        if (error == 0) {
            return fail(EINPROGRESS,
                        "kel_record_release: the table %s is marked for replication: the record "
                        "stays in its index until kel_replication_finish_destroys",
                        vector.table_name());
        }
    }
    return fail(error, "kel_record_release: the record stays in the index of %s: error %u",
                vector.table_name(), error);
}

}  // namespace

std::uint32_t release_record(kel_handle *handle, std::uint32_t tx_id, const void *const *vector,
                             kel_record *record) {
    if (record == nullptr) return 0;
    const TableVector table(vector);
    if (!is_record_of(table, record)) {
        return fail(EINVAL, "kel_record_release: the block is no record of %s", table.table_name());
    }
    const KeepLastError keep(handle);
    if (record->table != nullptr && record->ref_count == 1) {
        if (const auto error = leave_index(handle, tx_id, table, record)) return error;
    }
    std::uint32_t error = 0;
    table.destroy_record(handle, tx_id, record, &error);
    if (error == 0) return 0;
    return fail(error,
                "kel_record_release: the record of %s is in no index, but its block stays, since "
                "its mapping can't be removed: error %u",
                table.table_name(), error);
}

}  // namespace tarnbase::runtime
