// SPDX-License-Identifier: Apache-2.0
// What the runtime stores for an object outside of it, against a model.
#include <cerrno>
#include <map>

#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

struct Data {
    std::uint64_t ra_word = 0;
    std::uint8_t ra_byte = 0;
    std::uint32_t distance = 0;
    unsigned flags = 0;
};

class ObjectData : public SmallStoreTest {
 protected:
    kel_object *make() {
        auto *object = static_cast<kel_object *>(store.allocate(32));
        object->flags = OBJ_NESTED;
        return object;
    }
    void set_distance(std::uint32_t tx, kel_object *object, std::uint32_t distance) {
        kellib_update_sttr_offset(store.handle, tx, object, distance);
    }
    void set_correlation(std::uint32_t tx, kel_object *object, std::uint64_t word,
                         std::uint8_t byte) {
        kellib_update_ra_all(store.handle, tx, object, word, byte);
    }
    void forget(std::uint32_t tx, kel_object *object) {
        kel_hd_mapping_destroy(store.handle, tx, object, &err);
    }

    // Expects an object's data; null: it has none.
    void expect_data(kel_object *object, const Data *data) {
        const Data nothing;
        const Data &wanted = data != nullptr ? *data : nothing;
        std::uint64_t word = 99;
        std::uint8_t byte = 99;
        ASSERT_EQ(kellib_get_ra_data(store.handle, KEL_TX_NONE, object, &word, &byte), 0U);
        ASSERT_EQ(word, data != nullptr ? wanted.ra_word : 99U) << "nothing is stored";
        ASSERT_EQ(byte, data != nullptr ? wanted.ra_byte : 99U);
        ASSERT_EQ(kellib_get_sttr_offset(store.handle, KEL_TX_NONE, object), wanted.distance);
        ASSERT_EQ(object->flags, OBJ_NESTED | wanted.flags);
    }

    std::uint32_t err = 0;
};

class RandomObjectData : public ObjectData, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    void SetUp() override {
        for (int i = 0; i < 100; ++i) objects.push_back(make());
    }

    void anything(std::uint32_t tx) {
        kel_object *object = objects[chance.index_in(objects)];
        const std::uint64_t number = chance.below(1U << 30);
        switch (chance.below(3)) {
            case 0: {
                Data &data = model[object];
                set_distance(tx, object, data.distance = static_cast<std::uint32_t>(number));
                data.flags |= OBJ_STATE_ELSEWHERE;
                return;
            }
            case 1: {
                Data &data = model[object];
                data.ra_byte = static_cast<std::uint8_t>(number);
                set_correlation(tx, object, data.ra_word = number << 20, data.ra_byte);
                data.flags |= OBJ_RA_DATA;
                return;
            }
            default:
                forget(tx, object);
                model.erase(object);
        }
    }

    void expect_model() {
        for (kel_object *object : objects) {
            const auto known = model.find(object);
            expect_data(object, known != model.end() ? &known->second : nullptr);
        }
    }

    Chance chance{GetParam()};
    std::vector<kel_object *> objects;
    std::map<kel_object *, Data> model;
};

INSTANTIATE_TEST_SUITE_P(ObjectData, RandomObjectData, ::testing::Values(81U, 82U, 83U));

TEST_P(RandomObjectData, IsThatOfAModelAndLeavesNoTraceWhenForgotten) {
    const StoreSnapshot fresh(store.store);
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        anything(KEL_TX_NONE);
        if (step % 20 == 0) expect_model();
    }
    for (kel_object *object : objects) forget(KEL_TX_NONE, object);
    EXPECT_EQ(to_text(fresh.changes()), "");
    EXPECT_EQ(err, 0U);
}

TEST_P(RandomObjectData, RolledBackLeavesEveryByteAsItWas) {
    for (int round = 0; round < 15 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 30; ++i) anything(KEL_TX_NONE);
        const auto kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 150; ++i) anything(tx);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        expect_model();
    }
}

TEST_F(ObjectData, NoMemoryIsAnErrorThatChangesNothing) {
    kel_object *object = make();
    const StoreSnapshot before(store.store);
    for (const std::uint64_t n : {1U, 2U}) {
        kel_store_fail_allocation(store.store, n);
        set_distance(KEL_TX_NONE, object, 40);
        EXPECT_EQ(store.handle->last_error, std::uint32_t{ENOMEM});
        kel_clear_last_error(store.handle);
        kel_store_fail_allocation(store.store, n);
        set_correlation(KEL_TX_NONE, object, 1, 2);
        EXPECT_EQ(store.handle->last_error, std::uint32_t{ENOMEM});
        kel_clear_last_error(store.handle);
        EXPECT_EQ(to_text(before.changes()), "");
    }
}

TEST_F(ObjectData, AnErrorOnEntryKeepsTheEntry) {
    kel_object *object = make();
    set_distance(KEL_TX_NONE, object, 40);
    err = EINVAL;
    forget(KEL_TX_NONE, object);
    EXPECT_EQ(err, std::uint32_t{EINVAL});
    EXPECT_EQ(kellib_get_sttr_offset(store.handle, KEL_TX_NONE, object), 40U);
}

TEST_F(ObjectData, ARecordKeepsItsCorrelationItself) {
    auto *record = static_cast<kel_record *>(store.allocate(KEL_RECORD_SIZE));
    const StoreSnapshot before(store.store);
    const std::uint32_t tx = store.begin();
    kellib_record_update_ra_all(store.handle, tx, record, 0x1122334455667788, 9);
    EXPECT_EQ(record->ra_uuid, 0x1122334455667788U);
    EXPECT_EQ(record->ra_byte, 9);
    store.roll_back(tx);
    EXPECT_EQ(to_text(before.changes()), "");
}

}  // namespace
}  // namespace tarn::test
