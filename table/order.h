/* SPDX-License-Identifier: Apache-2.0 */
// The total order of a key index: tenant, key, source. One instantiation a table.
//   exported <table>_<key>_avl_compare: compare_nodes<kind, key type or field>
#ifndef TARNBASE_TABLE_ORDER_H
#define TARNBASE_TABLE_ORDER_H

#include <cstddef>
#include <cstdint>

#include "frame/schema.h"

namespace tarn::table {

// Of a table keyed by field number I of structure S: 0 before, 1 equal, 2 after.
template <const Structure &S, std::size_t I>
std::uint32_t compare_by_field(const kel_index_node *a, const kel_index_node *b);

// Of a table keyed by key structure K.
template <const Structure &K>
std::uint32_t compare_by_key_object(const kel_index_node *a, const kel_index_node *b);

}  // namespace tarn::table

#endif
