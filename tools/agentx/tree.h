// SPDX-License-Identifier: Apache-2.0
//
// All objects in the order of their identifiers, with their values in a store.
#ifndef TOOLS_AGENTX_TREE_H
#define TOOLS_AGENTX_TREE_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "agentx/rows.h"
#include "watch/feed.h"

namespace agentx {

struct Answer {
    Oid oid;
    Cell cell;
};

class Tree {
 public:
    // `base`: of the module's own MIB. `tenant`: whose records standard tables have.
    Tree(const Oid &base, uint16_t tenant);

    // Subtrees of objects, none of which contains another one.
    std::vector<Oid> roots() const;

    // All records of a store, instead of those that were added.
    void rebuild(const tarnctl::Store &store);
    // What a transaction has changed.
    void change(const tarnctl::Instance &instance, const std::optional<tarnctl::Record> &before,
                const std::optional<tarnctl::Record> &after);
    uint64_t left_out() const;

    std::optional<Cell> get(View &view, const Oid &oid) const;
    // The first object below `root` after `oid`, or equal to it.
    std::optional<Answer> next(View &view, const Oid &oid, bool or_equal, const Oid &root) const;

    // The object that shows a field in the module's own MIB; empty if the record has no row.
    Oid own_object(const Place &place, const tarnctl::Record &record, std::string_view path) const;

 private:
    struct Column {
        Oid front;  // the entry and the number
        const Rows *rows;
        std::size_t column;
    };

    // The column that may contain `oid`, or the first one after it.
    std::vector<Column>::const_iterator column_from(const Oid &oid) const;
    static std::optional<Answer> next_in(View &view, const Column &column, Oid after,
                                         bool or_equal);

    const Oid base_;
    StoreRow store_;
    std::map<const tarnctl::Table *, AssignedNumbers> numbers_;
    std::vector<std::unique_ptr<RecordRows>> tables_;
    std::multimap<const tarnctl::Table *, RecordRows *> by_table_;
    std::vector<Column> columns_;
};

// Where a record of a table is.
Place place_of(const tarnctl::Instance &instance, const tarnctl::Record &record);

}  // namespace agentx

#endif
