// SPDX-License-Identifier: Apache-2.0
// The callback of a walk through the tree. Arguments that a tree passes after node and
// context must reach the walk's function unchanged, although their types are unknown here.
// No standard C++ leaves the argument registers alone, so each function on the way takes
// as many words as there are registers for arguments and passes them on by name.
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
