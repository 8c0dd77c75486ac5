/* SPDX-License-Identifier: Apache-2.0 */
// From a node of a key index to its record.
#ifndef TARNBASE_TABLE_NODE_H
#define TARNBASE_TABLE_NODE_H

#include <cstddef>

#include "tarnbase/record.h"

namespace tarnbase::table {

inline kel_record *record_of(kel_index_node *node) {
    return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                          offsetof(kel_record, index_node));
}

inline const kel_record *record_of(const kel_index_node *node) {
    return reinterpret_cast<const kel_record *>(reinterpret_cast<const char *>(node) -
                                                offsetof(kel_record, index_node));
}

}  // namespace tarnbase::table

#endif
