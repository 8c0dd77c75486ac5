/* SPDX-License-Identifier: Apache-2.0 */
// The total order of a key index: tenant, key, source. One instantiation a table.
//   exported <table>_<key>_avl_compare: compare_nodes<kind, key type or field>
// This is what a search spends its time in: the kind of key is settled at compile
// time, and a node gives tenant, source and objects at fixed distances.
#ifndef TARNBASE_TABLE_ORDER_H
#define TARNBASE_TABLE_ORDER_H

#include <cstddef>
#include <cstdint>

#include "frame/schema.h"
#include "object/enumeration.h"
#include "table/node.h"

namespace tarnbase::table {

// What the index tree takes as the order of `a` and `b`: 0 before, 1 equal, 2 after.
template <typename T>
constexpr std::uint32_t order_of(T a, T b) {
    return 1U + static_cast<std::uint32_t>(a > b) - static_cast<std::uint32_t>(a < b);
}

// The order of two nodes; `order_keys` compares the keys of their records.
template <typename OrderKeys>
std::uint32_t compare_nodes(const kel_index_node *a, const kel_index_node *b,
                            OrderKeys order_keys) {
    if (a == nullptr || b == nullptr) return order_of(a != nullptr, b != nullptr);
    const kel_record *first = record_of(a);
    const kel_record *second = record_of(b);
    if (first->tenant_id != second->tenant_id) {
        return order_of(first->tenant_id, second->tenant_id);
    }
    const std::uint32_t by_key = order_keys(first, second);
    return by_key != 1 ? by_key : order_of(first->src, second->src);
}

// A field of a record's object; null for a record without one.
template <typename T>
const T *field_at(const kel_record *record, std::uint32_t offset) {
    if (record->object == nullptr) return nullptr;
    return reinterpret_cast<const T *>(static_cast<const char *>(record->object) + offset);
}

// An integer key's place in the order: a record without an object comes first.
inline std::uint64_t rank_of(const std::uint32_t *key) {
    return key == nullptr ? 0 : std::uint64_t{1} + *key;
}

// Of a table keyed by field number I of structure S: 0 before, 1 equal, 2 after.
template <const Structure &S, std::size_t I>
std::uint32_t compare_by_field(const kel_index_node *a, const kel_index_node *b) {
    return compare_nodes(a, b, [](const kel_record *first, const kel_record *second) {
        constexpr Field field = S.fields[I];
        if constexpr (field.kind == FieldKind::vstring) {
            return order_of(kel_vstring_compare(field_at<kel_vstring>(first, field.offset),
                                                field_at<kel_vstring>(second, field.offset)),
                            0);
        } else if constexpr (field.kind == FieldKind::address) {
            return order_of(ip_address_compare(field_at<ip_address>(first, field.offset),
                                               field_at<ip_address>(second, field.offset)),
                            0);
        } else if constexpr (field.kind == FieldKind::enumeration) {
            return order_of(enumeration::compare(field_at<kel_enum_object>(first, field.offset),
                                                 field_at<kel_enum_object>(second, field.offset)),
                            0);
        } else {
            static_assert(field.kind == FieldKind::u_int32, "no key can be of this kind");
            return order_of(rank_of(field_at<std::uint32_t>(first, field.offset)),
                            rank_of(field_at<std::uint32_t>(second, field.offset)));
        }
    });
}

// Of a table keyed by key structure K.
template <const Structure &K>
std::uint32_t compare_by_key_object(const kel_index_node *a, const kel_index_node *b) {
    return compare_nodes(a, b, [](const kel_record *first, const kel_record *second) {
        return order_of(K.compare(first->key_object, second->key_object), 0);
    });
}

}  // namespace tarnbase::table

#endif
