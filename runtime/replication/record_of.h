/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_REPLICATION_RECORD_OF_H
#define TARNBASE_RUNTIME_REPLICATION_RECORD_OF_H

#include <cstddef>

#include "tarnbase/record.h"

namespace tarnbase::runtime {

// The record that contains an index node.
inline kel_record *record_of(kel_index_node *node) {
    return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                          offsetof(kel_record, index_node));
}

}  // namespace tarnbase::runtime

#endif
