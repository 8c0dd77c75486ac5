/* SPDX-License-Identifier: Apache-2.0 */
// A table as the engine sees it: the vector of its operations.
#ifndef TARNBASE_RUNTIME_REPLICATION_TABLE_VECTOR_H
#define TARNBASE_RUNTIME_REPLICATION_TABLE_VECTOR_H

#include <cstddef>
#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

struct Attachment;

class TableVector {
 public:
    // The vector of that table, from the engine's lookup; `attached` may be null. Null, with
    // *err set, if there is none.
    static TableVector of(kel_handle *handle, std::uint32_t tx_id, const Attachment *attached,
                          const kel_table *table, std::uint32_t *err);

    TableVector() = default;
    explicit TableVector(const void *const *slots) : slots_(slots) {}
    explicit operator bool() const { return slots_ != nullptr; }

    const char *table_name() const {
        return static_cast<const char *>(slots_[KEL_SLOT_NAME]) + sizeof "table " - 1;
    }
    kel_table *open(kel_handle *handle, std::uint32_t tx_id, const char *name,
                    std::uint32_t *err) const {
        using Function = kel_table *(*)(kel_handle *, std::uint32_t, const char *, std::uint32_t,
                                        std::uint32_t *);
        return slot<Function>(KEL_SLOT_TABLE_OPEN)(handle, tx_id, name, 0, err);
    }
    void insert(kel_handle *handle, std::uint32_t tx_id, kel_table *table, kel_record *record,
                std::uint32_t *err) const {
        using Function =
            void (*)(kel_handle *, std::uint32_t, kel_table *, kel_record *, std::uint32_t *);
        slot<Function>(KEL_SLOT_INSERT)(handle, tx_id, table, record, err);
    }
    kel_record *unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                          std::uint32_t length, std::uint32_t *err) const {
        using Function = std::uint32_t (*)(kel_handle *, std::uint32_t, kel_record **, const void *,
                                           std::uint32_t, std::uint32_t, std::uint32_t *);
        kel_record *record = nullptr;
        slot<Function>(KEL_SLOT_RECORD_UNMARSHAL)(handle, tx_id, &record, buffer, length, 0, err);
        return record;
    }
    std::uint32_t print_key(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            const kel_record *record, char *buffer, std::uint32_t length,
                            std::uint32_t *err) const {
        using Function =
            std::uint32_t (*)(kel_handle *, std::uint32_t, kel_table *, const kel_record *, char *,
                              std::uint32_t, std::uint32_t *);
        return slot<Function>(KEL_SLOT_PKEY_PRINT)(handle, tx_id, table, record, buffer, length,
                                                   err);
    }
    void destroy_record(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                        std::uint32_t *err) const {
        using Function = void (*)(kel_handle *, std::uint32_t, kel_record *, std::uint32_t *);
        slot<Function>(KEL_SLOT_DESTROY_RECORD)(handle, tx_id, record, err);
    }
    void remove(kel_handle *handle, std::uint32_t tx_id, kel_table *table, kel_record *record,
                std::uint32_t *err) const {
        using Function =
            void (*)(kel_handle *, std::uint32_t, kel_table *, kel_record *, std::uint32_t *);
        slot<Function>(KEL_SLOT_DELETE)(handle, tx_id, table, record, err);
    }
    void request_destroy(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                         kel_record *record, std::uint32_t *err) const {
        using Function =
            void (*)(kel_handle *, std::uint32_t, kel_table *, kel_record *, std::uint32_t *);
        slot<Function>(KEL_SLOT_REQUEST_RECORD_DESTROY)(handle, tx_id, table, record, err);
    }
    std::uint32_t marshal(kel_handle *handle, std::uint32_t tx_id, void *buffer,
                          const kel_record *record, std::uint32_t length,
                          std::uint32_t *err) const {
        using Function = std::uint32_t (*)(kel_handle *, std::uint32_t, void *, const kel_record *,
                                           std::uint32_t, std::uint32_t *);
        return slot<Function>(KEL_SLOT_RECORD_MARSHAL)(handle, tx_id, buffer, record, length, err);
    }
    std::uint32_t length(kel_handle *handle, std::uint32_t tx_id, const kel_record *record) const {
        using Function = std::uint32_t (*)(kel_handle *, std::uint32_t, const kel_record *);
        return slot<Function>(KEL_SLOT_RECORD_LEN)(handle, tx_id, record);
    }

 private:
    template <typename Function>
    Function slot(kel_table_slot index) const {
        return reinterpret_cast<Function>(const_cast<void *>(slots_[index]));
    }

    const void *const *slots_ = nullptr;
};

}  // namespace tarnbase::runtime

#endif
