/* SPDX-License-Identifier: Apache-2.0 */
// The Object Header of a value: how it is filled, marked and read. Templates on
// the value's type, since the header's members stand inline in each.
#ifndef TARNBASE_RUNTIME_VALUE_HEADER_H
#define TARNBASE_RUNTIME_VALUE_HEADER_H

#include <algorithm>
#include <cstdint>

#include "runtime/base/errors.h"
#include "runtime/variant/domain.h"
#include "tarnbase/runtime.h"

namespace tarn::runtime {

// Whether the handle tracks state. A mode word that is neither on nor off ends
// the process.
bool tracking_is_on(const kel_handle *handle);

// Who makes a store, and whether it is announced first.
struct Writer {
    kel_handle *handle;
    std::uint32_t tx_id;
    bool logged;

    template <typename T>
    void store(T &place, T value) const {
        if (logged)
            announce(handle, tx_id, &place, sizeof(T));  // NOLINT(bugprone-sizeof-expression)
        place = value;
    }
};

template <typename Value>
void add_flags(const Writer &writer, Value *value, unsigned flags) {
    writer.store(value->flags, static_cast<std::uint8_t>(value->flags | flags));
}

// Fills the header of a zeroed value. Value types have variant 0 alone, and a
// negative variant if the domain says so.
template <typename Value>
void initialize_header(const Writer &writer, Value *value, const kel_type_info *descriptor,
                       std::uint8_t flags) {
    const auto variant =
        std::min<std::int8_t>(domain_variant(writer.handle->variant_domain, descriptor), 0);
    writer.store(value->created_variant, variant);
    writer.store(value->variant, variant);
    writer.store(value->descriptor, descriptor);
    add_flags(writer, value, flags);
}

// The same for a value with a share of its own in a state block.
template <typename Value>
void initialize_tracked_header(const Writer &writer, Value *value, const kel_type_info *descriptor,
                               std::uint8_t flags) {
    initialize_header(writer, value, descriptor, flags);
    if (tracking_is_on(writer.handle)) add_flags(writer, value, OBJ_STATE_TRACKED);
}

// Drops the value's entry in the hd mapping, which its parent made when it told
// the value where its state is.
template <typename Value>
void leave_hd_mapping(kel_handle *handle, std::uint32_t tx_id, Value *value) {
    if ((value->flags & OBJ_STATE_ELSEWHERE) == 0 || handle->hd_mapping_enabled == 0) return;
    std::uint32_t error = 0;
    kel_hd_mapping_destroy(handle, tx_id, value, &error);
}

template <typename Value>
void set_embedded(kel_handle *handle, std::uint32_t tx_id, Value *value) {
    if (value != nullptr) add_flags(Writer{handle, tx_id, true}, value, OBJ_EMBEDDED);
}

// Reads the modified mark and clears it.
std::uint32_t take_modified_mark(void *value, const std::uint32_t *err);

// Null sorts first. Whether one of the two is null, and then the order.
struct NullOrder {
    bool decided;
    std::int32_t order;
};
inline NullOrder order_of_nulls(const void *a, const void *b) {
    return {a == nullptr || b == nullptr, (a != nullptr ? 1 : 0) - (b != nullptr ? 1 : 0)};
}

// -1, 0 or 1.
template <typename T>
std::int32_t order_of(T a, T b) {
    return (a > b ? 1 : 0) - (a < b ? 1 : 0);
}

}  // namespace tarn::runtime

#endif
