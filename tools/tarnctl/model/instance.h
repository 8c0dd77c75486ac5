// SPDX-License-Identifier: Apache-2.0
//
// The tables of a store, and how a user names them:
//
//   tbl_ldap_conn         the table, if the store has only one of this type
//   tbl_ldap_conn:ldap    the one with the name "ldap"
//   tbl_ldap_conn#7       the one with the id 7
//
// The prefix "tbl_" can be left out.
#ifndef TARNCTL_MODEL_INSTANCE_H
#define TARNCTL_MODEL_INSTANCE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/schema.h"
#include "model/store.h"

namespace tarnctl {

// Every table's name begins with it.
inline constexpr std::string_view table_prefix = "tbl_";

// A table that is open in a store.
struct Instance {
    const Table *table;
    kel_table *block;

    // "ldap", or "#7".
    std::string name() const;
    // "tbl_ldap_conn:ldap", or "tbl_ldap_conn#7": unique in the store.
    std::string full_name() const;
};

// A table as the user wrote it.
struct TableReference {
    const Table *table;
    std::optional<std::string> name;
    std::optional<uint64_t> id;

    // "tbl_ldap_conn", "tbl_ldap_conn:ldap" or "tbl_ldap_conn#7".
    std::string text() const;
    // Whether the reference names the instance.
    bool means(const Instance &instance) const;
};

// The table of this name. Failure `usage` with a suggestion if there is none.
const Table &table_named(std::string_view name);
TableReference parse_table(std::string_view text);

// The store's tables in the order of the catalogue, instances of one table by name. Tables that
// aren't in the catalogue are left out, and counted through `unknown` unless it is null.
std::vector<Instance> instances(const Store &store, std::size_t *unknown = nullptr);
// The table of a block; none if it isn't in the catalogue.
std::optional<Instance> instance_of(const Store &store, kel_table *block);
std::vector<Instance> instances_of(const Store &store, const Table &table);

// The instance that the reference names. Failure `difference` if the store has none, `usage` if it
// has several.
Instance find_instance(const Store &store, const TableReference &reference);
// Failure `data` if the block, which was opened as `table`, is of another table: a name with a '/'
// is a path, which tables of all types share.
void need_kind(const Store &store, const Table &table, const kel_table &block);
// As find_instance, but makes the table if there is none, outside any transaction: under the
// reference's name (Failure `usage` if that is empty), or else its usual one.
Instance find_or_make_instance(const Store &store, const TableReference &reference);
// Removes an empty table from the store, outside any transaction.
void free_instance(const Store &store, const Instance &instance);

}  // namespace tarnctl

#endif
