/* SPDX-License-Identifier: Apache-2.0 */
// Checks what leads to the rest of a store: the type map, the table list, the keyed store and the
// trees of tables by id.
#ifndef TARNBASE_RUNTIME_CHECK_CATALOG_H
#define TARNBASE_RUNTIME_CHECK_CATALOG_H

#include <string>
#include <unordered_map>
#include <vector>

#include "runtime/check/descriptors.h"
#include "runtime/store/image.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

struct ListedTable {
    kel_table *table;
    std::string name;       // "table tbl_ldap_conn:main"
    std::string luid_text;  // of its type; empty if it isn't known
    bool is_found = false;  // under its key, or by its id
};

class Catalog {
 public:
    Catalog(const Image &image, Findings &findings, Blocks &blocks)
        : image_(image), findings_(findings), blocks_(blocks), descriptors_(blocks, findings) {}

    void check();
    // A program can lose a table without damage to the store.
    void check_tables_are_found();
    // After everything else: the blocks that a program has entered under keys of its own, unless
    // they have another owner.
    void claim_programs_blocks();

    // A program's block may lead to others, which the store doesn't know.
    bool has_programs_blocks() const { return !programs_.empty(); }

    std::vector<ListedTable> &tables() { return tables_; }
    Descriptors &descriptors() { return descriptors_; }
    const Descriptors &descriptors() const { return descriptors_; }
    // The listed table at an address, or null.
    ListedTable *listed(const kel_table *table);
    // The value of the ring's key, or null.
    void *ring() const { return ring_; }

 private:
    void check_types();
    void check_list();
    void check_table(ListedTable &listed);
    void check_keys();
    bool is_table_key(const std::string &key) const;
    void check_key(const std::string &key, void *value);
    void check_ids(const std::string &key, kel_table_id_root *root);
    void describe(ListedTable &listed) const;

    const Image &image_;
    Findings &findings_;
    Blocks &blocks_;
    Descriptors descriptors_;
    std::vector<ListedTable> tables_;
    std::unordered_map<const kel_table *, std::size_t> by_address_;
    std::vector<const void *> programs_;
    void *ring_ = nullptr;
};

}  // namespace tarnbase::runtime

#endif
