// SPDX-License-Identifier: Apache-2.0
//
// The schema as data, for programs that work on any table. The schema compiler writes an entry
// for each item; each operation is the item's exported function with the items' own types erased
// (erase.h).
#ifndef TARNBASE_CATALOGUE_CATALOGUE_H
#define TARNBASE_CATALOGUE_CATALOGUE_H

#include <cstdint>
#include <span>
#include <string_view>

#include "frame/kinds.h"
#include "tarnbase/record.h"
#include "tarnbase/value.h"

namespace tarnbase::catalogue {

using Kind = tarnbase::FieldKind;

struct Enumerator {
    std::string_view name;
    uint32_t value;  // the user value
    std::string_view meaning;
};

struct Enumeration {
    std::string_view name;
    std::string_view meaning;
    const kel_type_info *descriptor;
    std::string_view digest;  // the identity that changes with the enumerators
    std::string_view origin;  // the schema file
    std::span<const Enumerator> enumerators;
};

// What a field is to a program that watches figures.
enum class Measure : uint8_t {
    plain,    // nothing
    counter,  // a number that only grows, or begins again
    gauge,    // a number, a boolean or an enumeration that goes up and down
    label,    // a value that describes the record
    parts,    // a structure, whose fields are measured
};

struct Structure;

// What can be done with a field of `object`, an object of the field's structure.
struct FieldFunctions {
    // Access to the field inside its object: a kel_vstring, an ip_address, an inner object.
    // `index` counts in an array only.
    void *(*get)(kel_handle *handle, uint32_t tx_id, void *object, uint32_t index, uint32_t *err);
    // Copies the value of `source`, which has the field's type. Null for an array.
    void (*set)(kel_handle *handle, uint32_t tx_id, void *object, const void *source,
                uint32_t *err);
    // A plain value, sign-extended to 64 bits; null where there is none.
    uint64_t (*get_value)(kel_handle *handle, uint32_t tx_id, void *object, uint32_t index,
                          uint32_t *err);
    void (*set_value)(kel_handle *handle, uint32_t tx_id, void *object, uint32_t index,
                      uint64_t value, uint32_t *err);
    // The field's state flag; an array has one as a whole, and one an element.
    uint8_t (*state_flag)(kel_handle *handle, uint32_t tx_id, const void *object, uint32_t *err);
    void (*set_state_flag)(kel_handle *handle, uint32_t tx_id, void *object, uint8_t flag,
                           uint32_t *err);
    // Null where there are no elements.
    uint8_t (*element_state_flag)(kel_handle *handle, uint32_t tx_id, const void *object,
                                  uint32_t index, uint32_t *err);
    void (*set_element_state_flag)(kel_handle *handle, uint32_t tx_id, void *object, uint32_t index,
                                   uint8_t flag, uint32_t *err);
};

struct Field {
    std::string_view name;
    std::string_view meaning;
    std::string_view unit;  // of a number, where it is fixed; else empty
    Measure measure;
    std::string_view measure_name;  // the field's name unless the schema has another; maybe empty
    std::string_view type;  // as the schema names it: "u_int32", "kel_vstring", "st_aaa_type"
    Kind kind;
    int first_variant;               // the variant that the field came in with
    uint32_t elements;               // of an array, else 0
    const Enumeration *enumeration;  // or null
    const Structure *structure;      // or null

    FieldFunctions call;

    const tarnbase::KindFacts &facts() const { return tarnbase::facts_of(kind); }
    bool is_number() const { return tarnbase::is_number(kind); }
    // Whether its values, or those of its elements, are integers.
    bool is_integer() const { return is_number() || kind == Kind::array; }
    bool is_signed() const { return tarnbase::is_signed(kind); }
};

struct Structure {
    std::string_view name;
    std::string_view meaning;
    std::string_view origin;  // the schema file
    const kel_type_info *descriptor;
    std::string_view digest;  // the identity that changes with the fields
    uint32_t state_length;    // bytes of the state block
    std::span<const Field> fields;

    void *(*create)(kel_handle *handle, uint32_t tx_id);
    void (*destroy)(kel_handle *handle, uint32_t tx_id, void *object);
    void (*set)(kel_handle *handle, uint32_t tx_id, void *destination, const void *source,
                uint32_t *err);
    int32_t (*compare)(const void *a, const void *b);
    uint32_t (*len)(kel_handle *handle, uint32_t tx_id, const void *object);
    uint32_t (*marshal)(kel_handle *handle, uint32_t tx_id, void *buffer, const void *object,
                        uint32_t buffer_len, uint32_t *err);
    uint32_t (*unmarshal)(kel_handle *handle, uint32_t tx_id, const void *buffer, void *object,
                          uint32_t buffer_len, uint32_t in_place, uint32_t *err);
    uint32_t (*print)(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                      const char *name, const void *object, uint32_t buffer_len, uint32_t *err);
    uint32_t (*to_xml)(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                       const void *object, uint32_t buffer_len, uint8_t state_flag, uint32_t *err);
    void (*from_xml)(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                     void *object, uint32_t *err, char *message, uint32_t message_len);

    // Null if there is no such field.
    const Field *find(std::string_view field) const;
};

// A `key` argument has the type of the table's key: a uint32_t for numbers and enumerations, a
// kel_vstring, an ip_address, or an object of the key structure.
struct Table {
    std::string_view name;
    std::string_view meaning;
    std::string_view origin;         // the schema file
    std::string_view digest;         // the identity that changes with the key and the type
    std::string_view record_digest;  // likewise, of the records
    const uint8_t *luid;             // 16 bytes
    const kel_type_info *descriptor;
    const kel_type_info *record_descriptor;
    const Structure *type;
    const Structure *key_type;  // null on a table keyed by a field
    const Field *key_field;     // null on a table keyed by a structure

    kel_table *(*open)(kel_handle *handle, uint32_t tx_id, const char *name, uint32_t open_only,
                       uint32_t *err);
    // The runtime caches the root of a store's tables by id: a process opens them in one store
    // only.
    kel_table *(*open_by_id)(kel_handle *handle, uint32_t tx_id, uint64_t id, uint32_t open_only,
                             uint32_t *err);
    // Removes the table from the store. Requires: the table is empty.
    void (*free)(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t *err);
    uint32_t (*count)(kel_handle *handle, uint32_t tx_id, kel_table *table);
    uint32_t (*count_by_src)(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t src);

    kel_record *(*create_record)(kel_handle *handle, uint32_t tx_id, uint32_t src, uint32_t *err);
    void (*destroy_record)(kel_handle *handle, uint32_t tx_id, kel_record *record, uint32_t *err);
    void *(*object)(kel_handle *handle, uint32_t tx_id, kel_record *record);
    void (*set_object)(kel_handle *handle, uint32_t tx_id, kel_record *record, void *object);
    void *(*key_object)(kel_handle *handle, uint32_t tx_id, kel_record *record);  // or null
    void (*set_key_object)(kel_handle *handle, uint32_t tx_id, kel_record *record, void *key);

    void (*insert)(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                   uint32_t *err);
    void (*erase)(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                  uint32_t *err);
    kel_record *(*search_w_src)(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                const void *key, uint32_t src, uint32_t *err);
    kel_record *(*search_internal)(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   const void *key, uint32_t nearest, uint32_t forward,
                                   uint32_t src, uint32_t skip_pending, uint32_t *err);
    kel_record *(*first_ignore_src)(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                    uint32_t *err);
    kel_record *(*next_ignore_src)(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   const kel_record *record, uint32_t *err);
    // All records of all tenants and sources, in the index's order.
    void (*walk)(kel_table *table, kel_walk_function function, void *context, uint32_t *err);
    // The index's own order: 0 `a` comes first, 1 equal, 2 `b` comes first.
    uint32_t (*order)(const kel_index_node *a, const kel_index_node *b);

    uint32_t (*print)(kel_handle *handle, uint32_t tx_id, char *buffer, const kel_record *record,
                      uint32_t buffer_len, uint32_t *err);
    uint32_t (*to_xml)(kel_handle *handle, uint32_t tx_id, char *buffer, const kel_record *record,
                       uint32_t buffer_len, uint32_t *err);
    kel_record *(*from_xml)(kel_handle *handle, uint32_t tx_id, void *document, uint32_t *err,
                            char *message, uint32_t message_len);
    uint32_t (*len)(kel_handle *handle, uint32_t tx_id, const kel_record *record);
    uint32_t (*marshal)(kel_handle *handle, uint32_t tx_id, void *buffer, const kel_record *record,
                        uint32_t buffer_len, uint32_t *err);
    uint32_t (*unmarshal)(kel_handle *handle, uint32_t tx_id, kel_record **record,
                          const void *buffer, uint32_t buffer_len, uint32_t in_place,
                          uint32_t *err);

    // The structure that holds the key: the key structure, or the records' own.
    const Structure &key_carrier() const { return key_type != nullptr ? *key_type : *type; }
};

struct Catalogue {
    std::string_view module;
    std::span<const Enumeration *const> enumerations;
    std::span<const Structure *const> structures;
    std::span<const Table *const> tables;

    // By exact name; null if there is none.
    const Table *table(std::string_view name) const;
    const Structure *structure(std::string_view name) const;
    const Enumeration *enumeration(std::string_view name) const;
    // By the LUID of a descriptor; null if there is none.
    const Table *table_of(const kel_type_info &descriptor) const;
    const Structure *structure_of(const kel_type_info &descriptor) const;
};

// The schema that this program was built with. Generated.
extern const Catalogue schema;

}  // namespace tarnbase::catalogue

#endif
