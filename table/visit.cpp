// SPDX-License-Identifier: Apache-2.0
// The callback of a walk through the tree. What a tree passes behind node and
// context must reach the walk's function unchanged, although nobody here knows
// what it is. A function that leaves the argument registers alone can't be had of
// every compiler, so each on the way takes as many words as registers carry and
// hands them on by name.
#include "table/node.h"
#include "table/table.h"

namespace tarnbase::table {

using Word = std::uintptr_t;
using WideFunction = std::uint32_t (*)(kel_record *record, void *context, Word third, Word fourth,
                                       Word fifth, Word sixth);

TARN_CALLED_WITH_FEWER std::uint32_t visit(kel_index_node *node, void *pair, Word third,
                                           Word fourth, Word fifth, Word sixth) {
    const auto *target = static_cast<const kel_walk_pair *>(pair);
    const auto function =
        reinterpret_cast<WideFunction>(reinterpret_cast<void (*)()>(target->function));
    return function(record_of(node), target->context, third, fourth, fifth, sixth);
}

}  // namespace tarnbase::table
