// SPDX-License-Identifier: Apache-2.0
/// @file
/// The fields in which two states of a record differ (tarnbase/difference.h).
#ifndef TARNBASE_TARN_DIFFERENCE_HPP
#define TARNBASE_TARN_DIFFERENCE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tarnbase/difference.h"
#include "tarnbase/tarn/address.hpp"
#include "tarnbase/tarn/bytes.hpp"
#include "tarnbase/tarn/record.hpp"
#include "tarnbase/tarn/session.hpp"

namespace tarn {

/// A value of a field: none, a number, a truth value, an enumerator's user value as an unsigned
/// number, a text, an address, or the elements of an array.
/// Lifetime: that of the record, of texts and elements.
using field_value = std::variant<std::monostate, std::uint64_t, std::int64_t, bool,
                                 std::string_view, address, byte_range>;

/// A field that differs.
struct field_difference {
    std::string name;      ///< "num_conns"; of an inner structure "addr.port"
    std::uint32_t number;  ///< its place in its structure, from 0
    bool is_key;           ///< it is the key, or a part of it
    field_value before;    ///< what it was
    field_value after;     ///< what it is
};

namespace detail {

inline field_value value_of(const tarnbase_field_value &value) {
    switch (value.kind) {
        case TARNBASE_VALUE_UNSIGNED:
        case TARNBASE_VALUE_ENUMERATION:
            return value.number;
        case TARNBASE_VALUE_SIGNED:
            return static_cast<std::int64_t>(value.number);
        case TARNBASE_VALUE_BOOLEAN:
            return value.number != 0;
        case TARNBASE_VALUE_TEXT: {
            std::uint32_t length = 0;
            const auto *text = static_cast<const kel_vstring *>(value.data);
            const char *first = kel_vstring_bytes(text, &length);
            return std::string_view(first, length);
        }
        case TARNBASE_VALUE_ADDRESS:
            return address(*static_cast<const ::ip_address *>(value.data));
        case TARNBASE_VALUE_ARRAY:
            return byte_range(static_cast<const std::uint8_t *>(value.data),
                              static_cast<std::size_t>(value.number));
        default:
            return std::monostate();
    }
}

inline std::uint32_t add_difference(const tarnbase_field_difference *each, void *context) {
    static_cast<std::vector<field_difference> *>(context)->push_back(
        {each->name, each->number, each->is_key != 0, value_of(each->before),
         value_of(each->after)});
    return 0;
}

}  // namespace detail

/// Returns: the fields that differ between two states of a record of any table, in their order. One
/// may be null: then all fields that the other one has.
/// Errors: EINVAL both are null, or of different tables; ENOENT the library has no such table.
inline result<std::vector<field_difference>> try_differences(const session &in,
                                                             const kel_record *before,
                                                             const kel_record *after) {
    std::vector<field_difference> found;
    std::uint32_t err = 0;
    tarnbase_record_differences(in.c_handle(), in.c_handle()->cr_tx_id, before, after,
                                detail::add_difference, &found, &err);
    if (err != 0) return detail::make_error(err, "comparing", "two records");
    return found;
}

#if TARN_EXCEPTIONS
/// As try_differences; throws.
inline std::vector<field_difference> differences(const session &in, const kel_record *before,
                                                 const kel_record *after) {
    return try_differences(in, before, after).value();
}
/// Of a change that a replica reports.
template <typename Change>
std::vector<field_difference> differences(const session &in, const Change &change) {
    return differences(in, change.before ? change.before->c_record() : nullptr,
                       change.after ? change.after->c_record() : nullptr);
}
#endif

}  // namespace tarn

#endif
