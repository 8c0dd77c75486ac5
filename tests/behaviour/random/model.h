/* SPDX-License-Identifier: Apache-2.0 */
// What two tables of a kind should contain and return, in containers of the standard
// library. A rollback restores a copy of it.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_MODEL_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_MODEL_H

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "tarnbase/record.h"

namespace tarn::test {

// A record's place in the order: by tenant, then key, then source.
struct Place {
    std::uint16_t tenant = 0;
    std::uint32_t key = 0;
    std::uint8_t src = 0;

    std::uint64_t rank() const {
        return std::uint64_t{tenant} << 40 | std::uint64_t{key} << 8 | src;
    }
    bool operator<(const Place &other) const { return rank() < other.rank(); }
};

// Which records a read passes over.
struct Filter {
    std::uint8_t src = KEL_SOURCE_DEFAULT;
    bool match_src = true;
    bool skip_pending = false;
};

constexpr std::uint32_t table_count = 2;
constexpr std::uint32_t outside = table_count;  // a row's `table` when it is in no index
constexpr std::uint32_t no_row = ~std::uint32_t{0};

// A record that is alive.
struct Row {
    kel_record *record = nullptr;  // null: the row is free
    Place place;
    std::uint32_t table = outside;
    bool linked = false;    // its `table` link is set
    bool inserted = false;  // it has been in an index
    bool pending = false;
    bool by_pkey = false;
    bool store_type = false;    // its descriptor is the store's copy
    bool store_object = false;  // its object's descriptors are
    std::uint32_t refs = 1;
    std::uint32_t value = 0;
    std::uint32_t text = 0;

    std::uint8_t flags() const;
};

// The expected result of a read, and how many reads it reports to the replication engine.
struct Found {
    const Row *row = nullptr;
    std::uint32_t reports = 0;
};

// A table's counters for one tenant.
struct TenantCounts {
    std::uint32_t total = 0;
    std::map<std::uint8_t, std::uint32_t> by_source;
};

struct TableModel {
    kel_table *block = nullptr;
    bool marked = false;                            // for replication
    std::map<Place, std::uint32_t> index;           // to the number of the row
    std::map<std::uint16_t, TenantCounts> tenants;  // but for the default one
};

class Model {
 public:
    std::array<TableModel, table_count> tables;
    std::vector<Row> rows;
    std::uint32_t alive = 0;
    // Records made and destroyed under the library's descriptor and the store's copy.
    std::array<std::uint64_t, 2> created{};
    std::array<std::uint64_t, 2> destroyed{};

    std::uint32_t add(const Row &row);  // a new record; returns the number of its row
    void forget(std::uint32_t row);     // a record that was destroyed, outside
    void insert(std::uint32_t row, std::uint32_t table, bool by_pkey, std::uint16_t tenant);
    void remove(std::uint32_t row, std::uint16_t tenant);
    // A removal from an index that the record is not in.
    void remove_absent(std::uint32_t row);

    bool holds(std::uint32_t table, const Place &place) const {
        return tables[table].index.count(place) != 0;
    }
    const Row *at(std::uint32_t table, const Place &place) const;
    // The first record after, or before, `place` in the tenant's run that passes.
    const Row *next(std::uint32_t table, const Place &place, std::uint16_t tenant,
                    const Filter &filter) const;
    const Row *prev(std::uint32_t table, const Place &place, std::uint16_t tenant,
                    const Filter &filter) const;
    const Row *first(std::uint32_t table, std::uint16_t tenant, const Filter &filter) const;
    const Row *last(std::uint32_t table, std::uint16_t tenant, const Filter &filter) const;
    // The direct neighbour, if it has the same key, of any tenant.
    const Row *sub_next(std::uint32_t table, const Place &place) const;
    const Row *sub_prev(std::uint32_t table, const Place &place) const;

    Found search(std::uint32_t table, const Place &place, bool nearest, bool forward,
                 bool skip_pending) const;
    Found by_key(std::uint32_t table, const Place &place, bool forward, bool skip_pending) const;
    Found shadow(std::uint32_t table, const Row &row) const;

    // Over all tenants.
    std::uint32_t count(std::uint32_t table, std::uint8_t src) const;
    // The count that a tenant other than the default one gets.
    std::uint32_t tenant_count(std::uint32_t table, std::uint16_t tenant) const;
    std::uint32_t tenant_count(std::uint32_t table, std::uint16_t tenant, std::uint8_t src) const;

 private:
    bool passes(const Row &row, const Filter &filter) const;
};

// One read of a record, reported unless it is a shadow.
Found found_of(const Row *row);

}  // namespace tarn::test

#endif
