// SPDX-License-Identifier: Apache-2.0
// Object ids, references to them and the release of objects, against a model.
#include <cerrno>
#include <cstdio>
#include <map>

#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

class IdentityTest : public SmallStoreTest {
 protected:
    IdentityTest() { kel_handle_set_release(store.handle, note_release, this); }

    static void note_release(kel_handle *handle, std::uint32_t tx, void *object, void *context) {
        auto &test = *static_cast<IdentityTest *>(context);
        EXPECT_EQ(handle, test.store.handle);
        EXPECT_EQ(tx, test.expected_tx);
        EXPECT_EQ(static_cast<kel_object *>(object)->flags & OBJ_OID_MAPPED, 0);
        test.released.push_back(object);
    }

    kel_object *make() {
        auto *object = static_cast<kel_object *>(store.allocate(32));
        object->flags = OBJ_NESTED;
        return object;
    }
    std::uint64_t map(kel_object *object, std::uint32_t tx = KEL_TX_NONE) {
        std::uint64_t id = 0;
        EXPECT_EQ(kel_object_map(store.handle, tx, object, &id), 0U) << kel_error_text();
        return id;
    }
    std::uint32_t reference(std::uint64_t id, std::uint32_t tx = KEL_TX_NONE) {
        return kel_object_reference(store.handle, tx, id);
    }
    std::uint32_t let_go(std::uint64_t id, std::uint32_t tx = KEL_TX_NONE) {
        std::uint32_t error = 0;
        kellib_lookup_and_update_oid_ref_count(store.handle, tx, id, 0, &error);
        return error;
    }
    bool destroy(void *object, std::uint32_t tx = KEL_TX_NONE) {
        return kel_request_oid_mapping_destroy(store.handle, tx, object, &err) != 0;
    }
    void *find(std::uint64_t id) { return kel_object_find(store.handle, id); }

    std::uint32_t err = 0;
    std::uint32_t expected_tx = KEL_TX_NONE;
    std::vector<void *> released;
};

struct Mapped {
    std::uint64_t id;
    std::uint32_t references;
    bool destroyed;
};

class RandomIdentities : public IdentityTest, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    void SetUp() override {
        for (int i = 0; i < 60; ++i) objects.push_back(make());
    }

    void anything(std::uint32_t tx) {
        expected_tx = tx;
        kel_object *object = objects[chance.index_in(objects)];
        const auto known = model.find(object);
        switch (chance.below(5)) {
            case 0:
                if (known == model.end()) map_new(object, tx);
                break;
            case 1:
                request(object, tx);
                break;
            case 2:
                if (known != model.end()) add_reference(known->second, tx);
                break;
            default:
                if (known != model.end()) take_reference(object, tx);
        }
    }

    void map_new(kel_object *object, std::uint32_t tx) {
        const std::uint64_t id = map(object, tx);
        for (const auto &[other, mapped] : model) ASSERT_NE(mapped.id, id);
        model[object] = {id, 0, false};
    }

    void request(kel_object *object, std::uint32_t tx) {
        const auto known = model.find(object);
        const bool held = known != model.end() && known->second.references != 0;
        ASSERT_EQ(destroy(object, tx), !held);
        if (held) {
            known->second.destroyed = true;
        } else if (known != model.end()) {
            model.erase(known);
        }
    }

    void add_reference(Mapped &mapped, std::uint32_t tx) {
        ASSERT_EQ(reference(mapped.id, tx), 0U);
        mapped.references += 1;
    }

    void take_reference(kel_object *object, std::uint32_t tx) {
        Mapped &mapped = model[object];
        released.clear();
        ASSERT_EQ(let_go(mapped.id, tx), 0U);
        if (mapped.references != 0) mapped.references -= 1;
        if (mapped.references == 0 && mapped.destroyed) {
            ASSERT_EQ(released, std::vector<void *>{object});
            model.erase(object);
        } else {
            ASSERT_TRUE(released.empty());
        }
    }

    void expect_model() {
        for (kel_object *object : objects) {
            const auto known = model.find(object);
            const unsigned mapped = known != model.end() ? OBJ_OID_MAPPED : 0U;
            ASSERT_EQ(object->flags, OBJ_NESTED | mapped);
            if (known != model.end()) {
                ASSERT_EQ(find(known->second.id), object);
            }
        }
    }

    Chance chance{GetParam()};
    std::vector<kel_object *> objects;
    std::map<kel_object *, Mapped> model;
};

INSTANTIATE_TEST_SUITE_P(Identities, RandomIdentities, ::testing::Values(71U, 72U, 73U));

TEST_P(RandomIdentities, AreThoseOfAModel) {
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        anything(KEL_TX_NONE);
        if (step % 20 == 0) expect_model();
    }
}

TEST_P(RandomIdentities, RolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 15 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 40; ++i) anything(KEL_TX_NONE);
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

TEST_F(IdentityTest, AnObjectThatIsMappedKeepsItsId) {
    kel_object *object = make();
    const std::uint64_t id = map(object);
    EXPECT_EQ(map(object), id);
    EXPECT_NE(id, 0U);
}

TEST_F(IdentityTest, TheReleaseFunctionIsNotCalledWhileTheOwnerHasTheObject) {
    kel_object *object = make();
    const std::uint64_t id = map(object);
    ASSERT_EQ(reference(id), 0U);
    EXPECT_EQ(let_go(id), 0U);
    EXPECT_TRUE(released.empty());
    EXPECT_EQ(find(id), object);
}

TEST_F(IdentityTest, WithoutAReleaseFunctionTheLastReferenceStillEndsTheMapping) {
    kel_handle_set_release(store.handle, nullptr, nullptr);
    kel_object *object = make();
    const std::uint64_t id = map(object);
    ASSERT_EQ(reference(id), 0U);
    EXPECT_FALSE(destroy(object));
    EXPECT_EQ(let_go(id), 0U);
    EXPECT_EQ(find(id), nullptr);
    EXPECT_EQ(object->flags, OBJ_NESTED);
}

TEST_F(IdentityTest, UnknownIdsAreErrors) {
    EXPECT_EQ(reference(17), std::uint32_t{ENOENT});
    EXPECT_STREQ(kel_error_text(), "kel_object_reference: no object has the id 17");
    EXPECT_EQ(let_go(17), std::uint32_t{ENOENT});
    EXPECT_EQ(store.handle->last_error, std::uint32_t{ENOENT});
    EXPECT_EQ(find(17), nullptr);
    std::uint64_t id = 0;
    EXPECT_EQ(kel_object_map(store.handle, KEL_TX_NONE, nullptr, &id), std::uint32_t{EINVAL});
}

TEST_F(IdentityTest, NoMemoryAtAnyPointChangesNothing) {
    kel_object *object = make();
    const StoreSnapshot before(store.store);
    for (const std::uint64_t n : {1U, 2U, 3U}) {
        kel_store_fail_allocation(store.store, n);
        std::uint64_t id = 0;
        EXPECT_EQ(kel_object_map(store.handle, KEL_TX_NONE, object, &id), std::uint32_t{ENOMEM});
        EXPECT_EQ(to_text(before.changes()), "") << n;
    }
    map(object);
}

TEST_F(IdentityTest, AGivenIdentityIsTheIdAndIsTakenOnce) {
    kel_object *first = make();
    kel_object *second = make();
    const auto create = [&](kel_object *object, std::uint64_t ior) {
        return kel_oid_mapping_create(store.handle, KEL_TX_NONE, object, 1, 0, ior, &err);
    };
    void *mapping = create(first, 2);
    EXPECT_NE(mapping, nullptr);
    EXPECT_EQ(create(first, 2), mapping);
    EXPECT_EQ(find(2), first);
    EXPECT_EQ(create(second, 2), nullptr);
    EXPECT_EQ(err, std::uint32_t{EEXIST});
    err = 0;
    EXPECT_EQ(map(second), 1U);
    EXPECT_EQ(map(make()), 3U) << "numbers that are given are passed over";
}

TEST_F(IdentityTest, AnErrorOnEntryChangesNothing) {
    kel_object *object = make();
    const std::uint64_t id = map(object);
    ASSERT_EQ(reference(id), 0U);
    kel_object *other = make();
    const StoreSnapshot before(store.store);
    err = EINVAL;
    EXPECT_EQ(kel_oid_mapping_create(store.handle, KEL_TX_NONE, other, 1, 0, 0, &err), nullptr);
    EXPECT_FALSE(destroy(object));
    kellib_lookup_and_update_oid_ref_count(store.handle, KEL_TX_NONE, id, 0, &err);
    EXPECT_EQ(err, std::uint32_t{EINVAL});
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(IdentityTest, ATableThatIsReferredToStaysUntilItIsAskedAgain) {
    kel_type_info descriptor{};
    std::snprintf(descriptor.kind, sizeof descriptor.kind, "table");
    auto *table = static_cast<kel_table *>(store.allocate(sizeof(kel_table)));
    table->descriptor = &descriptor;
    ASSERT_NE(
        kel_oid_mapping_create(store.handle, KEL_TX_NONE, table, KEL_OID_KIND_TABLE, 0, 500, &err),
        nullptr);
    EXPECT_EQ(table->flags, 0) << "a table's header has no flags";
    ASSERT_EQ(reference(500), 0U);
    EXPECT_FALSE(destroy(table));
    EXPECT_EQ(let_go(500), 0U);
    EXPECT_TRUE(released.empty());
    EXPECT_EQ(find(500), table);
    EXPECT_TRUE(destroy(table));
    EXPECT_EQ(find(500), nullptr);
}

}  // namespace
}  // namespace tarn::test
