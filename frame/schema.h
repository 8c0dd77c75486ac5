/* SPDX-License-Identifier: Apache-2.0 */
// The model that the schema compiler writes and the workers read: what a worker
// needs of a field, a structure, an enumeration or a table. All of it is constant data.
#ifndef TARNBASE_FRAME_SCHEMA_H
#define TARNBASE_FRAME_SCHEMA_H

#include <cstdint>

#include "frame/kinds.h"
#include "tarnbase/runtime.h"

namespace tarnbase {

struct Structure;
struct Enumeration;

// A run: numbers of one kind and one variant, each adjacent to the one before it in the object.
struct Field {
    const char *name;
    std::uint32_t name_length;
    FieldKind kind;
    std::int8_t first_variant;        // the variant that added the field
    std::uint16_t run;                // fields from here on that are a run of numbers; at least 1
    std::uint32_t offset;             // from the object's first byte
    std::uint32_t state;              // position of its flag byte in the state block
    std::uint32_t elements;           // of an array; 0 otherwise
    const kel_type_info *descriptor;  // of an embedded object; null otherwise
    const Enumeration *enumeration;   // of an enumeration field
    const Structure *structure;       // of a nested structure
};

struct Structure {
    const char *name;
    const kel_type_info *descriptor;  // constant form
    kel_object *fallback;             // zeroed, plain_size bytes
    std::uint32_t plain_size;         // allocation without the state block
    std::uint32_t state_length;       // of the state block
    std::int8_t top_variant;
    std::uint32_t field_count;
    const Field *fields;
    // field_numbers[v] field numbers are valid in a domain of variant v.
    const std::uint32_t *field_numbers;
    std::int32_t (*compare)(const void *a, const void *b);
    std::uint32_t (*hash)(const void *object, std::uint32_t seed);
};

// The storage of a structure's fallback object: `Size` bytes, zeroed.
template <std::uint32_t Size>
struct Fallback {
    kel_object object;
    unsigned char rest[Size - sizeof(kel_object)];
};

struct Enumerator {
    const char *name;
    std::uint32_t user_value;
};

struct Enumeration {
    const char *name;
    const kel_type_info *descriptor;  // constant form
    kel_enum_object *fallback;
    std::uint32_t first_user_value;  // the user value of internal value 0
    std::uint32_t count;
    const Enumerator *enumerators;  // by internal value
};

struct Table {
    const char *name;
    const char *luid_text;
    const std::uint8_t *luid;
    const kel_type_info *table_descriptor;
    const kel_type_info *record_descriptor;
    const Structure *type;      // of the data object
    const Structure *key_type;  // of the key object; null on a table keyed by a field
    const Field *key;           // in `type`; or the whole key object, of kind structure
    const char *key_label;      // "st_ldap_conn sname", or "pexSessionEntry_key "
    e_avl_compare_function compare;
    const void *const *vector;       // KEL_TABLE_VFT_SLOTS slots
    kel_record *fallback;            // zeroed, record_size bytes
    kel_table_id_root **root_cache;  // process-wide
    std::uint32_t record_size;
};

// The items of a schema, from its module file.
struct Module {
    const char *name;
    const kel_type_info *const *descriptors;  // tarnbase_type_list
    const Structure *const *structures;       // in the order of their descriptors
    std::uint32_t structure_count;
    const Enumeration *const *enumerations;  // likewise
    std::uint32_t enumeration_count;
    const Table *const *tables;  // by index: ascending LUID text
    std::uint32_t table_count;
};
extern const Module module;
// The constant source of the Table Directory: the tables' vectors by index.
extern const void *const source_vectors[][KEL_TABLE_VFT_SLOTS];

}  // namespace tarnbase

#endif
