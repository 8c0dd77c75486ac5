/* SPDX-License-Identifier: Apache-2.0 */
// The layout of a table's records and objects. The runtime has no schema, so it makes a record in
// a private store, through the table's vector, and looks where its parts are.
#ifndef TARNBASE_RUNTIME_CHECK_TYPES_H
#define TARNBASE_RUNTIME_CHECK_TYPES_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "runtime/replication/table_vector.h"
#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

enum class PartKind : std::uint8_t { text, address, boolean, other_value, enumeration, structure };

// Whether a part is of one of the runtime's own types.
constexpr bool is_value(PartKind kind) {
    return kind != PartKind::enumeration && kind != PartKind::structure;
}

// An object inside of an object.
struct Part {
    std::uint32_t offset;  // from the outermost object
    PartKind kind;
    bool has_state;                // it has a place in the state block
    std::uint32_t state_distance;  // to that place
    const kel_type_info *type;     // constant form
};

struct ObjectType {
    const kel_type_info *type;    // constant form
    std::uint64_t plain_bytes;    // of the object without a state block
    std::uint64_t tracked_bytes;  // of a block for the object with one, at least
    std::int8_t top_variant;
    std::vector<std::uint32_t> used_lengths;  // by variant
    std::vector<Part> parts;
};

struct TableType {
    TableVector vector;
    const kel_type_info *table;   // constant form
    const kel_type_info *record;  // constant form
    e_avl_compare_function order;
    std::uint64_t record_bytes;
    ObjectType object;
    std::optional<ObjectType> key;  // on a table with a key structure
};

class TableTypes {
 public:
    // `lookup` may be null: then no type is known.
    explicit TableTypes(kel_table_vector_lookup lookup);
    ~TableTypes();
    TableTypes(const TableTypes &) = delete;
    TableTypes &operator=(const TableTypes &) = delete;

    // The type of tables with this 16-byte LUID, or null.
    const TableType *with_luid(const std::uint8_t *luid);
    const std::map<std::string, std::unique_ptr<TableType>> &known() const { return types_; }
    // A handle of another store, to print with.
    kel_handle *handle() const { return handle_; }

 private:
    std::unique_ptr<TableType> make_type(const std::uint8_t *luid);

    kel_table_vector_lookup lookup_;
    kel_store *store_ = nullptr;
    kel_handle *handle_ = nullptr;
    std::map<std::string, std::unique_ptr<TableType>> types_;  // by LUID
};

}  // namespace tarnbase::runtime

#endif
