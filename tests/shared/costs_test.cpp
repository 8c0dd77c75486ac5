// SPDX-License-Identifier: Apache-2.0
// What changes cost in the store and in its log, as counts: they are the same on every machine.
#include <functional>
#include <optional>
#include <string>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

constexpr std::uint32_t changes = 1000;

// Of one change, on average.
struct Cost {
    double blocks;
    double block_bytes;
    double log_bytes;
};

// A text that isn't stored in the object itself.
std::string name_of(std::uint32_t number) {
    return "a server with a long name " + std::to_string(number);
}

// Opening and closing a table is a change of its own, so it stays open.
class Costs : public SharedStore {
 protected:
    void SetUp() override {
        Connections::create(path);
        connections_.emplace(path);
        table_.emplace(connections_->table());
        for (std::uint32_t i = 0; i < changes; ++i) commit([&] { insert(i); });
    }

    void insert(std::uint32_t number) { table_->insert(table_->make(name_of(number))); }
    void update(std::uint32_t number) { table_->find(name_of(number))->set_num_conns(number + 1); }
    tarn::transaction begin() { return tarn::transaction(connections_->session); }
    template <typename Change>
    void commit(const Change &change) {
        tarn::transaction transaction = begin();
        change();
        transaction.commit();
    }

    Cost of(const std::function<void(std::uint32_t)> &change) {
        const kel_store_description before = description();
        for (std::uint32_t i = 0; i < changes; ++i) change(i);
        const kel_store_description after = description();
        return {per_change(before.blocks, after.blocks),
                per_change(before.block_bytes, after.block_bytes),
                per_change(before.log_end, after.log_end)};
    }

 private:
    kel_store_description description() {
        kel_store_description found;
        kel_store_describe(connections_->store.c_store(), &found);
        return found;
    }
    static double per_change(std::uint64_t before, std::uint64_t after) {
        return static_cast<double>(after - before) / changes;
    }

    std::optional<Connections> connections_;
    std::optional<tarn::table<tarn::ldap_conn>> table_;
};

// The record, its object and its text, and a share of the index's pages.
TEST_F(Costs, OfAnInsertAreThreeBlocksAndAtMost1024BytesOfLog) {
    const Cost cost = of([&](std::uint32_t i) { commit([&] { insert(changes + i); }); });
    EXPECT_LE(cost.blocks, 3.05);
    EXPECT_LE(cost.block_bytes, 240);
    EXPECT_LE(cost.log_bytes, 1024);
}

TEST_F(Costs, OfAChangedNumberAreNoBlockAndAtMost120BytesOfLog) {
    const Cost cost = of([&](std::uint32_t i) { commit([&] { update(i); }); });
    EXPECT_EQ(cost.blocks, 0);
    EXPECT_LE(cost.log_bytes, 120);
}

TEST_F(Costs, OfATransactionWithoutChangesAreAtMost48BytesOfLog) {
    const Cost cost = of([&](std::uint32_t) { commit([] {}); });
    EXPECT_EQ(cost.blocks, 0);
    EXPECT_LE(cost.log_bytes, 48);
}

// The texts whose entries in a map were moved are published as they were before.
TEST_F(Costs, OfARollbackAreNoBlockAndFewBytesOfLog) {
    constexpr int text_in_a_frame = 56, most_moved = 8;
    const Cost cost = of([&](std::uint32_t i) {
        const tarn::transaction transaction = begin();
        insert(changes + i);
    });
    EXPECT_EQ(cost.blocks, 0);
    EXPECT_EQ(cost.block_bytes, 0);
    EXPECT_LE(cost.log_bytes, 128 + most_moved * text_in_a_frame);
}

}  // namespace
}  // namespace shared_test
