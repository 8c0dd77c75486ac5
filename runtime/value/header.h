/* SPDX-License-Identifier: Apache-2.0 */
// Filling, marking and reading the Object Header of a value. Templates on the value's type,
// since each type has the header's members inline.
#ifndef TARNBASE_RUNTIME_VALUE_HEADER_H
#define TARNBASE_RUNTIME_VALUE_HEADER_H

#include <algorithm>
#include <cstdint>

#include "runtime/base/announce.h"
#include "runtime/base/errors.h"
#include "runtime/variant/domain.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

// Whether the handle tracks state. Aborts if the mode is neither on nor off.
bool tracking_is_on(const kel_handle *handle);

// Stores into a value, announced if `logged` is set.
struct Writer {
    kel_handle *handle;
    std::uint32_t tx_id;
    bool logged;

    template <typename T>
    void store(T &place, T value) const {
        if (logged) {
            WriteLog{handle, tx_id}.set(place, value);
        } else {
            place = value;
        }
    }
};

template <typename Value>
void add_flags(const Writer &writer, Value *value, unsigned flags) {
    writer.store(value->flags, static_cast<std::uint8_t>(value->flags | flags));
}

// Fills the header of a zeroed value. Value types have only variant 0, or a negative variant
// if the handle's domain has one.
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

// The same for a value with a share in a state block.
template <typename Value>
void initialize_tracked_header(const Writer &writer, Value *value, const kel_type_info *descriptor,
                               std::uint8_t flags) {
    initialize_header(writer, value, descriptor, flags);
    if (tracking_is_on(writer.handle)) add_flags(writer, value, OBJ_STATE_TRACKED);
}

// Removes the value's entry in the hd mapping, which its parent made to record where the
// value's state is. Calls the service, so that a program that replaces the hd mapping is
// called too.
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

// Clears the modified mark and returns what it was.
std::uint32_t take_modified_mark(void *value, const std::uint32_t *err);

// Null sorts first. `decided` if one of the two is null, with their order.
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

}  // namespace tarnbase::runtime

#endif
