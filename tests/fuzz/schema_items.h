/* SPDX-License-Identifier: Apache-2.0 */
// Every structure, enumeration and table of the schema, and the conditions under which
// their forms are predictable.
#ifndef TARNBASE_TESTS_FUZZ_SCHEMA_ITEMS_H
#define TARNBASE_TESTS_FUZZ_SCHEMA_ITEMS_H

#include <span>
#include <vector>

#include "frame/schema.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// In the order in which the schema's descriptors are listed.
const std::vector<const Structure *> &all_structures();
const std::vector<const Enumeration *> &all_enumerations();
// In ascending order of LUID.
inline std::span<const Table *const> all_tables() { return {module.tables, module.table_count}; }

inline std::span<const Field> fields_of(const Structure &type) {
    return {type.fields, type.field_count};
}
inline void *place_of(const Field &field, void *object) {
    return static_cast<u8 *>(object) + field.offset;
}
inline const void *place_of(const Field &field, const void *object) {
    return static_cast<const u8 *>(object) + field.offset;
}
inline kel_object *head(void *object) { return static_cast<kel_object *>(object); }
inline const kel_object *head(const void *object) {
    return static_cast<const kel_object *>(object);
}

}  // namespace tarnbase::fuzz

#endif
