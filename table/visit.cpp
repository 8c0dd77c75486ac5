// SPDX-License-Identifier: Apache-2.0
// The callback of a walk through the tree. What a tree passes behind node and
// context must reach the walk's function unchanged, although nobody here knows
// what it is. A function that leaves the argument registers alone can't be had of
// every compiler, so it is declared with as many words more as registers carry
// and hands them on by name; table.h declares it with the two that are known.
#include <cstdint>

#include "table/node.h"

using Word = std::uintptr_t;
using WideFunction = std::uint32_t (*)(kel_record *record, void *context, Word third, Word fourth,
                                       Word fifth, Word sixth);

#if defined(__clang__)
#define ANY_CALL __attribute__((no_sanitize("function")))
#else
#define ANY_CALL
#endif

extern "C" ANY_CALL std::uint32_t tarn_table_visit(kel_index_node *node, void *pair, Word third,
                                                   Word fourth, Word fifth, Word sixth) {
    const auto *target = static_cast<const kel_walk_pair *>(pair);
    const auto function =
        reinterpret_cast<WideFunction>(reinterpret_cast<void (*)()>(target->function));
    return function(tarn::table::record_of(node), target->context, third, fourth, fifth, sixth);
}
