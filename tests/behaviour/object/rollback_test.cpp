// SPDX-License-Identifier: Apache-2.0
// After any sequence of operations in one transaction and a rollback, every byte
// of the store is as before.
#include <cerrno>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

class Rollback : public ObjectModeTest {
 protected:
    // The values before the transaction.
    std::vector<st_every *> everies = {make.every(1), make.every(2), make.every(3)};
    std::vector<st_grown *> growns = {make.grown(1), make.grown(2)};
    std::vector<lamp_state *> lamps = {lamp_state_create(handle, tx)};
    std::vector<void *> gone;
    std::mt19937 random;
    std::vector<u8> workspace = std::vector<u8>(16384);

    u32 below(u32 limit) { return static_cast<u32>(random() % limit); }
    st_every *every() { return everies[below(static_cast<u32>(everies.size()))]; }
    st_grown *grown() { return growns[below(static_cast<u32>(growns.size()))]; }

    using Operations = std::vector<std::pair<const char *, std::function<void()>>>;

    // The operations that announce all their stores. Unannounced by design, and so
    // not here: set_all_state_tracking_flag, state_flag_set_arr, the block that
    // <type>_set copies, the destruction of an enumeration and what its unmarshal and
    // from_xml store.
    Operations operations() {
        Operations all = operations_on_objects();
        for (auto &each : operations_on_fields()) all.push_back(std::move(each));
        return all;
    }
    Operations operations_on_objects() {
        return {
            {"create", [&] { everies.push_back(make.every(below(50))); }},
            {"create grown", [&] { growns.push_back(make.grown(below(50))); }},
            {"create lamp", [&] { lamps.push_back(lamp_state_create(handle, tx)); }},
            {"destroy",
             [&] {
                 if (everies.size() < 2) return;
                 const u32 index = below(static_cast<u32>(everies.size()));
                 st_every_destroy(handle, tx, everies[index]);
                 everies.erase(everies.begin() + index);
             }},
            {"older",
             [&] {
                 kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
                 growns.push_back(make.grown(below(50)));
                 kel_handle_set_variant(handle, &_st_grown_type_info_internal, 1);
             }},
            {"clone",
             [&] {
                 st_every *clone = nullptr;
                 st_every_clone(handle, tx, every(), &clone, workspace.data(), 16000, &err);
                 everies.push_back(clone);
             }},
            {"set",
             [&] {
                 // Into an object of this transaction: its state block is new as well.
                 st_every *fresh = make.every(below(50));
                 st_every_set(handle, tx, fresh, every(), &err);
                 everies.push_back(fresh);
             }},
        };
    }
    Operations operations_on_fields() {
        return {
            {"fill", [&] { make.fill(every(), below(50)); }},
            {"fill grown", [&] { make.fill(grown(), below(50)); }},
            {"embed", [&] { st_every_set_instance_embedded(handle, tx, every()); }},
            {"element",
             [&] {
                 st_grown_minute_set_value(handle, tx, grown(), below(minutes),
                                           static_cast<u8>(below(256)), &err);
             }},
            {"flag",
             [&] {
                 if (tracking())
                     st_every_label_state_flag_set(handle, tx, every(), static_cast<u8>(below(256)),
                                                   &err);
             }},
            {"adjust", [&] { st_grown_adjust_variant(handle, tx, grown(), &err); }},
            {"map",
             [&] {
                 u64 oid = 0;
                 kel_object_map(handle, tx, every(), &oid);
             }},
            {"enum", [&] { lamp_state_set_value(handle, tx, lamps[0], below(3), &err); }},
            {"offsets",
             [&] {
                 st_every *one = every();
                 if (tracking()) st_every_offset_update(handle, tx, one, at(one, every_size), &err);
             }},
        };
    }
};
TARN_EACH_MODE(Rollback);

TEST_P(Rollback, AnySequenceOfObjectOperationsIsUndoneToTheByte) {
    // Descriptor copies and the first texts are made outside any transaction.
    for (u32 round = 0; round < 20; ++round) {
        const u32 seed = 4711 + round;
        random.seed(seed);
        const auto everies_before = everies;
        const auto growns_before = growns;
        const auto lamps_before = lamps;
        const StoreSnapshot snapshot(session.store());
        const u64 blocks = session.blocks();
        const kel_variant_usage counted = usage(head(everies[0])->descriptor);
        ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
        make.tx = tx;
        const auto possible = operations();
        std::string steps;
        for (u32 step = 0; step < 1 + round * 2; ++step) {
            const auto &[name, operation] = possible[below(static_cast<u32>(possible.size()))];
            steps += std::string(" ") + name;
            operation();
            ASSERT_EQ(err, 0U) << "seed " << seed << ", step " << step << ":" << steps;
        }
        ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
        EXPECT_EQ(to_text(snapshot.lasting_changes()), "") << "seed " << seed << ":" << steps;
        EXPECT_EQ(session.blocks(), blocks) << "seed " << seed << ":" << steps;
        const kel_variant_usage after = usage(head(everies_before[0])->descriptor);
        EXPECT_EQ(after.created, counted.created) << "seed " << seed << ":" << steps;
        EXPECT_EQ(after.destroyed, counted.destroyed) << "seed " << seed << ":" << steps;
        EXPECT_EQ(after.live, counted.live) << "seed " << seed << ":" << steps;
        everies = everies_before;
        growns = growns_before;
        lamps = lamps_before;
        tx = make.tx = KEL_TX_NONE;
        make.check(everies[0], 1);
        make.check(growns[1], 2);
    }
}

TEST_P(Rollback, AWriteOfEachFieldIsUndone) {
    st_every *object = everies[0];
    const auto before = bytes_of(object, st_every_sizeof(handle));
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    make.tx = tx;
    make.fill(object, 40);
    make.check(object, 40);
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    tx = make.tx = KEL_TX_NONE;
    make.check(object, 1);
    for (const u32 offset : {0U, 64U, 80U, 160U, 208U, 224U}) {
        kel_set_instance_modified(
            at(object, offset), 1, 0,
            (before[offset + offsetof(kel_object, flags)] & OBJ_MODIFIED) != 0);
    }
    EXPECT_EQ(bytes_of(object, st_every_sizeof(handle)), before);
}

TEST_P(Rollback, ADestroyedObjectIsRestored) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    st_every_destroy(handle, tx, everies[2]);
    st_grown_destroy(handle, tx, growns[0]);
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    tx = KEL_TX_NONE;
    make.check(everies[2], 3);
    make.check(growns[0], 1);
    st_every_destroy(handle, tx, everies[2]);
    st_grown_destroy(handle, tx, growns[0]);
}

TEST_P(Rollback, ACopyIntoAnOlderObjectIsUndoneExceptItsStateBlock) {
    const auto before = bytes_of(everies[0], every_size);
    const auto source_flags = bytes_of(at(everies[1], every_size), tracking() ? every_states : 0);
    if (tracking()) st_every_label_state_flag_set(handle, tx, everies[1], 77, &err);
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    st_every_set(handle, tx, everies[0], everies[1], &err);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    tx = KEL_TX_NONE;
    EXPECT_EQ(bytes_of(everies[0], every_size), before);
    make.check(everies[0], 1);
    make.check(everies[1], 2);
    if (tracking()) {
        EXPECT_EQ(*at(everies[0], every_size + 9), 77);
    }
}

TEST_P(Rollback, EachOperationWithItsNthAllocationFailingIsUndone) {
    for (u64 n = 1; n < 40; ++n) {
        const StoreSnapshot snapshot(session.store());
        ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
        kel_store_fail_allocation(session.store(), n);
        st_every *clone = nullptr;
        st_every_clone(handle, tx, everies[0], &clone, workspace.data(), 16000, &err);
        if (err == 0) st_every_label_set(handle, tx, clone, Text("another long label"), &err);
        if (err == 0) st_every_set(handle, tx, everies[1], clone, &err);
        kel_store_fail_allocation(session.store(), 0);
        const bool done = err == 0;
        if (!done) {
            EXPECT_EQ(err, ENOMEM) << n;
        }
        err = 0;
        ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
        // The state block of a copy is not announced; its flags here are the same.
        EXPECT_EQ(to_text(snapshot.lasting_changes()), "") << "allocation " << n;
        if (done) {
            EXPECT_GT(n, 2U);
            return;
        }
    }
    FAIL() << "it never succeeds";
}

}  // namespace
}  // namespace tarn::test
