/* SPDX-License-Identifier: Apache-2.0 */
// Checks the tables of a store: the tree of each, its records with their objects, and the counts
// of records by source and by tenant.
#ifndef TARNBASE_RUNTIME_CHECK_RECORDS_H
#define TARNBASE_RUNTIME_CHECK_RECORDS_H

#include <array>
#include <map>
#include <string>

#include "runtime/check/catalog.h"
#include "runtime/check/index_walk.h"
#include "runtime/check/mends.h"
#include "runtime/check/objects.h"

namespace tarnbase::runtime {

// What the checks of records share.
struct RecordParts {
    Findings &findings;
    Blocks &blocks;
    const Descriptors &descriptors;
    TableTypes &types;
    ObjectCheck &objects;
    BlockSet &opaque;  // objects of unknown types
    Mends &mends;
};

// A record's links to its objects, its flags and its side entry. The record's block has its
// owner. `type` may be null. Returns whether the key can be read.
bool check_record(RecordParts &parts, const TableType *type, kel_record *record,
                  Allocator::Extent block, const ObjectCheck::Where &where);

class TableCheck final : private IndexedNodes {
 public:
    TableCheck(RecordParts &parts, const ListedTable &listed, const TableType *type)
        : parts_(parts), listed_(listed), table_(*listed.table), type_(type) {}

    void run();

 private:
    void walk_index();
    bool enter(kel_index_node *node) override;
    void visit(kel_index_node *node) override;
    bool get_key(const kel_index_node *node, KeyBytes &bytes) const override;
    std::string name(const kel_index_node *node) const override;

    struct Counts {
        std::uint32_t total = 0;
        std::array<std::uint32_t, 256> by_source{};
        bool is_counted = false;
    };

    void count(const kel_record &record);
    void check_order(kel_record *record);
    void check_counts();
    void check_count(std::uint32_t &count, std::uint32_t expected, const std::string &what);
    void check_tenants();
    void check_tenant(struct TenantCounters &counters);
    void add_uncounted(std::uint16_t tenant, const Counts &counts);

    RecordParts &parts_;
    const ListedTable &listed_;
    kel_table &table_;
    const TableType *type_;
    Counts counts_;
    std::map<std::uint16_t, Counts> by_tenant_;  // without the default one
    bool is_complete_ = true;                    // the walk has seen the whole tree
    kel_record *last_ = nullptr;                 // the record before, if it can be compared
    const kel_record *readable_ = nullptr;       // the last one whose key can be read
};

}  // namespace tarnbase::runtime

#endif
