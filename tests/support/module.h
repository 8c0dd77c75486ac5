/* SPDX-License-Identifier: Apache-2.0 */
// Every structure, enumeration and table of the schema that a test is linked with.
#ifndef TARNBASE_TESTS_SUPPORT_MODULE_H
#define TARNBASE_TESTS_SUPPORT_MODULE_H

#include <span>

#include "frame/schema.h"

namespace tarnbase {

// In the order of their descriptors.
inline std::span<const Structure *const> all_structures() {
    return {module.structures, module.structure_count};
}
inline std::span<const Enumeration *const> all_enumerations() {
    return {module.enumerations, module.enumeration_count};
}
// In ascending order of LUID.
inline std::span<const Table *const> all_tables() { return {module.tables, module.table_count}; }

// The library looks up the roots of tables by id once in a process. After this it looks them up
// again, in the next store.
inline void forget_table_roots() {
    for (const Table *table : all_tables()) *table->root_cache = nullptr;
}

}  // namespace tarnbase

#endif
