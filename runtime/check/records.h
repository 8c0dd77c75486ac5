/* SPDX-License-Identifier: Apache-2.0 */
// Checks the tables of a store: the tree of each, its records with their objects, and the counts
// of records by source and by tenant.
#ifndef TARNBASE_RUNTIME_CHECK_RECORDS_H
#define TARNBASE_RUNTIME_CHECK_RECORDS_H

#include <array>
#include <string>

#include "runtime/check/catalog.h"
#include "runtime/check/objects.h"
#include "runtime/index/node.h"

namespace tarnbase::runtime {

// What the checks of records share.
struct RecordParts {
    Findings &findings;
    Blocks &blocks;
    const Descriptors &descriptors;
    TableTypes &types;
    ObjectCheck &objects;
    BlockSet &opaque;  // objects of unknown types
};

// A record's links to its objects, its flags and its side entry. The record's block has its
// owner. `type` may be null. Returns whether the key can be read.
bool check_record(RecordParts &parts, const TableType *type, kel_record *record,
                  Allocator::Extent block, const ObjectCheck::Where &where);

class TableCheck {
 public:
    TableCheck(RecordParts &parts, const ListedTable &listed, const TableType *type)
        : parts_(parts), listed_(listed), table_(*listed.table), type_(type) {}

    void run();

    // For the walk over the tree.
    bool enter(Node *node);
    void visit(Node *node);
    std::string name(const Node *node) const;

 private:
    void check_order(kel_record *record);
    void check_counts();
    void check_tenants();

    RecordParts &parts_;
    const ListedTable &listed_;
    kel_table &table_;
    const TableType *type_;
    std::uint64_t records_ = 0;
    std::array<std::uint64_t, 256> by_source_{};
    kel_record *last_ = nullptr;            // the record before, if it can be compared
    const kel_record *readable_ = nullptr;  // the last one whose key can be read
};

}  // namespace tarnbase::runtime

#endif
