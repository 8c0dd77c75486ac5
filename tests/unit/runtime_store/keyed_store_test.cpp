// SPDX-License-Identifier: Apache-2.0
// The keyed store and the type map, against std::map.
#include <cerrno>
#include <cstdio>
#include <map>
#include <string>

#include "tests/support/trace.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

class KeyedStore : public SmallStoreTest {
 protected:
    void *find(const std::string &key) { return loam_get_key(store.handle->arena, key.c_str()); }
    std::uint32_t set(const std::string &key, void *value) {
        return loam_set_key(store.handle->arena, key.c_str(), value);
    }
    void remove(const std::string &key) { loam_delete_key(store.handle->arena, key.c_str()); }

    int values[10] = {};
};

class RandomKeys : public KeyedStore, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    // Keys have common prefixes, and one is the empty text.
    std::string any_key() { return std::string(chance.below(12), 'k') + letters[chance.below(4)]; }

    const std::string letters[4] = {"", "a", "b", "\xff"};
    Chance chance{GetParam()};
    std::map<std::string, void *> model;
};

INSTANTIATE_TEST_SUITE_P(Keys, RandomKeys, ::testing::Values(61U, 62U, 63U));

TEST_P(RandomKeys, AreFoundAsInAMapAndLeaveNoTraceWhenRemoved) {
    const StoreSnapshot fresh(store.store);
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        const std::string key = any_key();
        if (chance.below(5) < 3) {
            void *value = &values[chance.below(10)];
            EXPECT_NE(set(key, value), 0U);
            model[key] = value;
        } else {
            remove(key);
            model.erase(key);
        }
        const std::string probe = any_key();
        EXPECT_EQ(find(probe), model.contains(probe) ? model[probe] : nullptr);
        EXPECT_EQ(store.describe().blocks, model.size());
    }
    for (const auto &[key, value] : model) remove(key);
    EXPECT_EQ(to_text(fresh.changes()), "");
}

TEST_F(KeyedStore, KeepsItsOwnCopyOfAKey) {
    std::string key(1000, 'x');
    set(key, &values[1]);
    key[500] = 'y';
    EXPECT_EQ(find(key), nullptr);
    EXPECT_EQ(find(std::string(1000, 'x')), &values[1]);
}

TEST_F(KeyedStore, ChangesBelongToNoTransaction) {
    set("old", &values[1]);
    const std::uint32_t tx = store.begin();
    set("new", &values[2]);
    remove("old");
    store.roll_back(tx);
    EXPECT_EQ(find("new"), &values[2]);
    EXPECT_EQ(find("old"), nullptr);
}

TEST_F(KeyedStore, SaysThatItHasNoMemoryForAKey) {
    const StoreSnapshot before(store.store);
    kel_store_fail_allocation(store.store, 1);
    EXPECT_EQ(set("wanted", &values[1]), 0U);
    EXPECT_EQ(find("wanted"), nullptr);
    EXPECT_EQ(to_text(before.changes()), "");
    const TraceCapture trace;
    loam_perror();
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): the store has no memory for the key wanted"))
        << trace.all();
}

TEST_F(KeyedStore, SetsAKeyAnewWithoutMemory) {
    set("wanted", &values[1]);
    kel_store_fail_allocation(store.store, 1);
    EXPECT_NE(set("wanted", &values[2]), 0U);
    EXPECT_EQ(find("wanted"), &values[2]);
}

TEST_F(KeyedStore, AcceptsRangesOfTheStoreAlone) {
    void *block = store.allocate(100);
    EXPECT_EQ(loam_set_range(store.handle->arena, block, 100, KEL_TX_NONE), 1U);
    EXPECT_EQ(loam_set_range(store.handle->arena, values, sizeof values, KEL_TX_NONE), 0U);
    EXPECT_NE(std::string(kel_error_text()).find("is not in the store"), std::string::npos);
    EXPECT_EQ(loam_set_range(store.handle->arena, block, small_capacity, KEL_TX_NONE), 0U);
}

class TypeMap : public SmallStoreTest {
 protected:
    kel_type_info_copy *make() {
        return static_cast<kel_type_info_copy *>(store.allocate(sizeof(kel_type_info_copy)));
    }
    void insert(const std::string &luid, kel_type_info_copy *copy, std::uint32_t tx = KEL_TX_NONE) {
        store.handle->type_map_insert_hook(store.handle->type_map, tx, luid.c_str(), copy);
    }
    kel_type_info_copy *find(const char *luid, std::uint32_t tx = KEL_TX_NONE) {
        return store.handle->type_map_lookup_hook(store.handle->type_map, tx, luid);
    }
    kel_type_info_copy *find(const std::string &luid) { return find(luid.c_str()); }
    static std::string luid(unsigned number) {
        char text[33];
        std::snprintf(text, sizeof text, "%032x", number * 2654435761U);
        return text;
    }
};

TEST_F(TypeMap, FindsEachCopyUnderItsText) {
    std::vector<kel_type_info_copy *> copies;
    for (unsigned i = 0; i < 60; ++i) {
        copies.push_back(make());
        insert(luid(i), copies.back());
    }
    for (unsigned i = 0; i < 60; ++i) EXPECT_EQ(find(luid(i)), copies[i]);
    EXPECT_EQ(find(luid(60)), nullptr);
    EXPECT_EQ(store.describe().types, 60U);
}

TEST_F(TypeMap, ASecondCopyTakesThePlaceOfTheFirst) {
    insert(luid(1), make());
    kel_type_info_copy *second = make();
    insert(luid(1), second);
    EXPECT_EQ(find(luid(1)), second);
    EXPECT_EQ(store.describe().types, 1U);
}

TEST_F(TypeMap, FindsInATransactionWhatIsAtTheAddressOfTheText) {
    kel_type_info_copy *copies[] = {make(), make(), make()};
    insert(luid(0), copies[0]);
    std::string text = luid(0);
    for (int round = 0; round < 2; ++round) {
        const std::uint32_t tx = store.begin();
        text = luid(0);
        EXPECT_EQ(find(text.c_str(), tx), copies[0]);
        EXPECT_EQ(find(text.c_str(), tx), copies[0]);
        text = luid(1);
        EXPECT_EQ(find(text.c_str(), tx), round == 0 ? nullptr : copies[2]);
        insert(luid(1), copies[1], tx);
        EXPECT_EQ(find(text.c_str(), tx), copies[1]);
        insert(luid(1), copies[2], tx);
        EXPECT_EQ(find(text.c_str(), tx), copies[2]);
        store.roll_back(tx);
        EXPECT_EQ(find(text.c_str(), tx), copies[2]);
    }
}

TEST_F(TypeMap, FindsTheCopiesOfManyTextsInATransaction) {
    std::vector<std::string> texts;
    std::vector<kel_type_info_copy *> copies;
    for (unsigned i = 0; i < 100; ++i) {
        texts.push_back(luid(i));
        copies.push_back(make());
        insert(texts[i], copies[i]);
    }
    const std::uint32_t tx = store.begin();
    for (int round = 0; round < 2; ++round) {
        for (unsigned i = 0; i < 100; ++i) EXPECT_EQ(find(texts[i].c_str(), tx), copies[i]);
    }
    store.roll_back(tx);
}

TEST_F(TypeMap, ACopyStaysWhenItsTransactionIsRolledBack) {
    kel_type_info_copy *copy = make();
    const std::uint32_t tx = store.begin();
    insert(luid(1), copy, tx);
    store.roll_back(tx);
    EXPECT_EQ(find(luid(1)), copy);
}

TEST_F(TypeMap, ACopyWithoutMemoryForItsEntryStaysUnknown) {
    kel_type_info_copy *copy = make();
    kel_store_fail_allocation(store.store, 1);
    insert(luid(1), copy);
    EXPECT_EQ(find(luid(1)), nullptr);
}

}  // namespace
}  // namespace tarn::test
