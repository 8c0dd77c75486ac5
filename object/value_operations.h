// SPDX-License-Identifier: Apache-2.0
// One table of value operations, by field kind: what a worker needs to treat all
// fields of a structure alike. An entry is null where the kind has no such
// operation. The signatures are those of value_type.h.
#ifndef TARNBASE_OBJECT_VALUE_OPERATIONS_H
#define TARNBASE_OBJECT_VALUE_OPERATIONS_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::object {

struct ValueOperations {
    // Every kind.
    std::uint32_t (*len)(const Field &, kel_handle *, std::uint32_t tx_id, const void *place);
    std::uint32_t (*marshal)(const Field &, kel_handle *, std::uint32_t tx_id, void *buffer,
                             const void *place, std::uint32_t remaining, std::uint32_t *err);
    std::uint32_t (*unmarshal)(const Field &, kel_handle *, std::uint32_t tx_id, const void *buffer,
                               void *place, std::uint32_t remaining, std::uint32_t in_place,
                               std::uint32_t *err);
    std::uint32_t (*print)(const Field &, kel_handle *, std::uint32_t tx_id, char *buffer,
                           std::uint32_t indent, const void *place, std::uint32_t remaining,
                           std::uint32_t *err);
    void (*from_xml)(const Field &, kel_handle *, std::uint32_t tx_id, const char *path,
                     void *document, void *place, std::uint32_t *err, char *message,
                     std::uint32_t message_len);
    // Not arrays.
    std::uint32_t (*to_xml)(const Field &, kel_handle *, std::uint32_t tx_id, char *buffer,
                            const void *place, std::uint32_t remaining, std::uint8_t state_flag,
                            std::uint32_t *err);
    void (*set)(const Field &, kel_handle *, std::uint32_t tx_id, void *place, const void *source,
                std::uint32_t *err);
    std::uint32_t (*backpropagate)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                                   std::uint32_t *err);
    // Plain values: from a field to `out` of the value's width, and back.
    void (*load)(const Field &, kel_handle *, std::uint32_t tx_id, void *place, void *out,
                 std::uint32_t *err);
    void (*store)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                  std::uint64_t value, std::uint32_t *err);
    // Embedded objects.
    void (*initialize)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                       std::uint32_t log_writes, std::uint32_t quiet, void *sttr_base,
                       std::uint32_t *err);
    void (*set_instance_embedded)(const Field &, kel_handle *, std::uint32_t tx_id, void *place);
    // Embedded objects with a state share of their own.
    std::uint32_t (*get_oid_count)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                                   std::uint32_t *err);
    void (*get_object_references)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                                  std::uint64_t *references, std::uint32_t count,
                                  std::uint32_t *err);
    void (*destroy_internal)(const Field &, kel_handle *, std::uint32_t tx_id, void *place);
    void (*offset_update)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                          void *sttr_base, std::uint32_t *err);
    void (*offset_remove)(const Field &, kel_handle *, std::uint32_t tx_id, void *place,
                          std::uint32_t *err);
};

const ValueOperations &operations(const Field &field);

}  // namespace tarnbase::object

#endif
