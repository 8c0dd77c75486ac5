// SPDX-License-Identifier: Apache-2.0
// Random operations on a table against a model of it, and the promise that a
// rollback takes back whatever a transaction did.
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "tests/behaviour/table/fixture.h"
#include "tests/behaviour/table/model.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

constexpr u8 sources[] = {0, 1, 1, 1, 2, 7, 255};

class Random : public TableTest {
 protected:
    std::mt19937 engine;
    Model model;
    u16 tenant = 0;

    u32 below(u32 limit) { return std::uniform_int_distribution<u32>(0, limit - 1)(engine); }
    bool chance() { return below(2) == 0; }
    u8 random_src() { return sources[below(std::size(sources))]; }
    Place random_place() { return {tenant, below(std::min(s.keys, 24U)), random_src()}; }
    void choose_tenant(u16 chosen) {
        tenant = chosen;
        kel_thread_set_tenant(chosen);
    }
    template <typename Map>
    auto random_entry(Map &map) {
        return std::next(map.begin(), below(static_cast<u32>(map.size())));
    }
    const Operations &form() { return chance() ? s.plain : s.unsafe; }
    const Traversal &names() {
        const Traversal *const all[] = {&s.by_key, &s.by_pkey, &s.by_pkey_unsafe};
        return *all[below(3)];
    }

    // ---- Changes -----------------------------------------------------------

    void insert_record(kel_record *record, const Place &place) {
        const bool taken = model.inside.count(place) != 0;
        const bool by_pkey = below(4) == 0;
        (by_pkey ? form().pkey_insert : form().insert)(handle, tx, table, record, &err);
        ASSERT_EQ(err, taken ? 17U : 0U);
        err = 0;
        if (taken) return;
        EXPECT_EQ(record->table, table);
        EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX | (by_pkey ? KEL_RECORD_PKEY_INSERTED : 0U));
        model.outside.erase(record);
        model.pending.erase(record);
        model.inside[place] = record;
    }
    void insert_new() {
        const Place place = random_place();
        kel_record *record = make(place.key, place.src, below(1000));
        model.outside[record] = place;
        insert_record(record, place);
    }
    void insert_again() {
        if (model.outside.empty()) return;
        const auto [record, place] = *random_entry(model.outside);
        if (place.tenant != tenant) return;
        insert_record(record, place);
    }
    void delete_one() {
        if (model.inside.empty()) return;
        const auto it = random_entry(model.inside);
        const auto [place, record] = *it;
        choose_tenant(place.tenant);  // so that its counters stay those of its records
        form().remove(handle, tx, table, record, &err);
        ASSERT_EQ(err, 0U);
        EXPECT_EQ(record->table, nullptr);
        model.inside.erase(it);
        model.outside[record] = place;
    }
    void destroy_one() {
        if (chance() && !model.outside.empty()) {
            const auto it = random_entry(model.outside);
            kel_record *record = it->first;
            model.outside.erase(it);
            model.pending.erase(record);
            form().destroy_record(handle, tx, record, &err);
        } else if (!model.inside.empty()) {
            const auto it = random_entry(model.inside);
            const auto [place, record] = *it;
            choose_tenant(place.tenant);
            model.inside.erase(it);
            model.pending.erase(record);
            form().destroy_record(handle, tx, record, &err);
        }
        ASSERT_EQ(err, 0U);
    }
    void make_pending() {
        if (model.inside.empty()) return;
        kel_record *record = random_entry(model.inside)->second;
        set_pending(record);
        model.pending.insert(record);
    }
    void change_value() {
        if (model.inside.empty()) return;
        kel_record *record = random_entry(model.inside)->second;
        const u32 value = below(1000);
        s.set_value(handle, tx, record->object, value, &err);
        ASSERT_EQ(err, 0U);
        EXPECT_EQ(s.get_value(handle, record->object), value);
    }
    // A record outside gets another object, the old one going or staying.
    void replace_object() {
        if (model.outside.empty()) return;
        const auto [record, place] = *random_entry(model.outside);
        void *object = s.object.create(handle, tx);
        if (s.prepare != nullptr) s.prepare(handle, tx, object, &err);
        if (!s.has_key_object()) s.set_key(handle, tx, object, place.key, &err);
        if (chance()) {
            s.object.free_and_set(handle, tx, record, object);
        } else {
            void *old = s.object.detach(handle, tx, record);
            s.object.set(handle, tx, record, object);
            s.object.destroy(handle, tx, old);
        }
        ASSERT_EQ(err, 0U);
    }
    // A record is written to the wire and read over itself and into a new one.
    void send() {
        if (model.inside.empty()) return;
        const auto [place, record] = *random_entry(model.inside);
        std::vector<u8> wire(s.plain.len(handle, tx, record));
        const u32 length = static_cast<u32>(wire.size());
        ASSERT_EQ(form().marshal(handle, tx, wire.data(), record, length, &err), length);
        kel_record *same = record;
        ASSERT_EQ(form().unmarshal(handle, tx, &same, wire.data(), length, 1, &err), length);
        kel_record *copy = nullptr;
        ASSERT_EQ(form().unmarshal(handle, tx, &copy, wire.data(), length, 0, &err), length);
        ASSERT_EQ(s.object.compare(copy->object, record->object), 0);
        ASSERT_EQ(key_of(copy), place.key);
        form().destroy_record(handle, tx, copy, &err);
        ASSERT_EQ(err, 0U);
    }

    void change() {
        choose_tenant(static_cast<u16>(below(3)));
        switch (below(10)) {
            case 0:
            case 1:
            case 2:
            case 3:
                return insert_new();
            case 4:
                return insert_again();
            case 5:
                return delete_one();
            case 6:
                return destroy_one();
            case 7:
                return make_pending();
            case 8:
                return chance() ? change_value() : replace_object();
            default:
                return send();
        }
    }

    // ---- Reads -------------------------------------------------------------

    void check_search() {
        const Place place = random_place();
        const Key key(s, handle, place.key);
        const u32 nearest = below(2);
        const u32 forward = below(2);
        const u32 skip = below(2);
        kel_record *expected = model.at(place);
        const bool hidden = skip != 0 && expected != nullptr && model.pending.count(expected) != 0;
        if (expected == nullptr || hidden) {
            const ModelFilter filter{skip != 0 ? place.src : u8{1}, true, skip != 0};
            expected = nearest == 0   ? nullptr
                       : forward != 0 ? model.next(place, tenant, filter)
                                      : model.prev(place, tenant, filter);
        }
        EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), nearest, forward,
                                          place.src, skip, &err),
                  expected);
        if (skip == 0 && forward == 1) {
            EXPECT_EQ(form().search_object_w_src(handle, tx, table, key.object(), nearest,
                                                 place.src, &err),
                      expected);
        }
        const Place of_one{tenant, place.key, 1};
        EXPECT_EQ(form().search(handle, tx, table, key.value(), &err), model.at(of_one));
        EXPECT_EQ(s.index.search_sub_first(handle, tx, table, key.value(), &err), model.at(of_one));
        EXPECT_EQ(s.index.next_by_key(handle, tx, table, key.value(), &err),
                  model.next(of_one, tenant, {}));
        EXPECT_EQ(form().prev_by_object(handle, tx, table, key.object(), &err),
                  model.prev(of_one, tenant, {}));
        EXPECT_EQ(s.index.next_by_key_not_pending(handle, tx, table, key.value(), &err),
                  model.next(of_one, tenant, {1, true, true}));
        EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err),
                  model.prev(of_one, tenant, {1, true, true}));
    }
    void check_ends() {
        const u8 src = random_src();
        EXPECT_EQ(names().first(handle, tx, table, &err), model.first(tenant, {}));
        EXPECT_EQ(names().last(handle, tx, table, &err), model.last(tenant, {}));
        EXPECT_EQ(names().first_by_src(handle, tx, table, src, &err),
                  model.first(tenant, {src, true, false}));
        EXPECT_EQ(names().last_by_src(handle, tx, table, src, &err),
                  model.last(tenant, {src, true, false}));
        EXPECT_EQ(names().first_ignore_src(handle, tx, table, &err),
                  model.first(tenant, {src, false, false}));
        EXPECT_EQ(s.index.first_not_pending(handle, tx, table, src, &err),
                  model.first(tenant, {src, true, true}));
        EXPECT_EQ(s.index.last_not_pending(handle, tx, table, src, &err),
                  model.last(tenant, {src, true, true}));
    }
    void check_steps() {
        kel_record *position = nullptr;
        Place place{};
        if (chance() && !model.outside.empty()) {
            std::tie(position, place) = *random_entry(model.outside);
        } else if (!model.inside.empty()) {
            std::tie(place, position) = *random_entry(model.inside);
        } else {
            return;
        }
        const u8 src = random_src();
        const u32 match = below(2);
        const u32 skip = below(2);
        const ModelFilter filter{src, match != 0, skip != 0};
        EXPECT_EQ(s.index.next_internal(handle, tx, table, position, src, match, skip, &err),
                  model.next(place, tenant, filter));
        EXPECT_EQ(s.index.prev_internal(handle, tx, table, position, src, match, skip, &err),
                  model.prev(place, tenant, filter));
        EXPECT_EQ(names().next(handle, tx, table, position, &err), model.next(place, tenant, {}));
        EXPECT_EQ(names().prev(handle, tx, table, position, &err), model.prev(place, tenant, {}));
        EXPECT_EQ(names().next_ignore_src(handle, tx, table, position, &err),
                  model.next(place, tenant, {0, false, false}));
        EXPECT_EQ(names().prev_ignore_src(handle, tx, table, position, &err),
                  model.prev(place, tenant, {0, false, false}));
        EXPECT_EQ(names().sub_next(handle, tx, table, position, &err), model.sub_next(place));
        EXPECT_EQ(names().sub_prev(handle, tx, table, position, &err), model.sub_prev(place));
    }
    void check_whole() {
        std::vector<kel_record *> walked;
        s.index.walk(
            table,
            [](kel_record *record, void *context) -> u32 {
                static_cast<std::vector<kel_record *> *>(context)->push_back(record);
                return 0;
            },
            &walked, &err);
        std::vector<kel_record *> expected;
        for (const auto &[place, record] : model.inside) {
            expected.push_back(record);
            ASSERT_EQ(record->tenant_id, place.tenant);
            ASSERT_EQ(record->src, place.src);
            ASSERT_EQ(key_of(record), place.key);
        }
        ASSERT_EQ(walked, expected);
        choose_tenant(0);
        EXPECT_EQ(s.plain.get_count(handle, tx, table), model.inside.size());
        for (const u8 src : sources) {
            EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, src), model.count(src));
        }
        for (const u16 each : {u16{1}, u16{2}}) {
            choose_tenant(each);
            EXPECT_EQ(s.plain.get_count(handle, tx, table), model.count_of_tenant(each));
        }
    }
    void check_some() {
        choose_tenant(static_cast<u16>(below(3)));
        check_search();
        check_ends();
        check_steps();
        EXPECT_EQ(table->record_count, model.inside.size());
        EXPECT_EQ(err, 0U);
        spies.clear();
    }
    bool failed() const { return ::testing::Test::HasFailure(); }
};
TARN_EACH_TABLE_AND_MODE(Random);

TEST_P(Random, OperationsAgreeWithTheModel) {
    for (const u32 seed : {1U, 20240501U}) {
        engine.seed(seed);
        for (u32 step = 0; step < 600; ++step) {
            change();
            check_some();
            if (step % 50 == 0) check_whole();
            ASSERT_FALSE(failed()) << "seed " << seed << ", step " << step;
        }
        check_whole();
        ASSERT_FALSE(failed()) << "seed " << seed << ", at its end";
    }
}

TEST_P(Random, ARollbackLeavesEveryByteAsItWas) {
    engine.seed(7);
    for (u32 step = 0; step < 60; ++step) change();
    for (u32 round = 0; round < 8; ++round) {
        const Model before = model;
        const StoreSnapshot snapshot(session.store());
        const kel_variant_usage records = s.record_descriptor->variant_info->variants[0];
        begin();
        const u32 steps = 1 + below(40);
        for (u32 step = 0; step < steps; ++step) {
            change();
            ASSERT_FALSE(failed()) << "seed 7, round " << round << ", step " << step;
        }
        if (round % 4 == 3) {
            commit();
        } else {
            rollback();
            model = before;
            EXPECT_EQ(to_text(snapshot.lasting_changes()), "") << "seed 7, round " << round;
            EXPECT_EQ(records.created, s.record_descriptor->variant_info->variants[0].created);
            EXPECT_EQ(records.destroyed, s.record_descriptor->variant_info->variants[0].destroyed);
        }
        check_whole();
        ASSERT_FALSE(failed()) << "seed 7, round " << round << ", at its end";
    }
}

TEST_P(Random, DestroyingEverythingGivesEveryBlockBack) {
    const u64 blocks = settled_blocks();
    engine.seed(3);
    for (u32 step = 0; step < 200; ++step) change();
    for (const auto &[place, record] : model.inside) {
        choose_tenant(place.tenant);
        destroy(record);
    }
    for (const auto &entry : model.outside) destroy(entry.first);
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(table->index_root, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_FALSE(failed()) << "seed 3";
}

// Each operation with each of its allocations failing in turn.
TEST_P(Random, AnAllocationThatFailsLeavesNothingBehindAfterARollback) {
    put(0);
    std::vector<u8> wire(s.plain.len(handle, tx, find(0)));
    const u32 length = static_cast<u32>(wire.size());
    s.plain.marshal(handle, tx, wire.data(), find(0), length, &err);
    for (u64 n = 1; n < 20; ++n) {
        const StoreSnapshot snapshot(session.store());
        begin();
        kel_record *read = nullptr;
        kel_store_fail_allocation(session.store(), n);
        s.plain.unmarshal(handle, tx, &read, wire.data(), length, 0, &err);
        kel_store_fail_allocation(session.store(), 0);
        const bool succeeded = err == 0;
        EXPECT_TRUE(succeeded || err == 12) << err;
        err = 0;
        rollback();
        EXPECT_EQ(to_text(snapshot.lasting_changes()), "") << "allocation " << n;
        if (succeeded) return;
    }
    FAIL() << "an unmarshal needs too many allocations";
}

}  // namespace
}  // namespace tarn::test
