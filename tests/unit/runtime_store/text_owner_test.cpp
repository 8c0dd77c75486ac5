// SPDX-License-Identifier: Apache-2.0
// Which text belongs to which string.
#include "runtime/value/text_owner.h"

#include <map>
#include <string>

#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

class TextOwner : public SmallStoreTest {
 protected:
    void SetUp() override {
        for (int i = 0; i < 60; ++i) {
            owners.push_back(static_cast<kel_vstring *>(store.allocate(sizeof(kel_vstring))));
        }
    }
    char *allocate(kel_vstring *owner, std::uint32_t length, std::uint32_t tx = KEL_TX_NONE) {
        return tarnbase::runtime::allocate_text(store.handle, tx, owner, length);
    }
    void release(kel_vstring *owner, std::uint32_t tx = KEL_TX_NONE) {
        tarnbase::runtime::release_text(store.handle, tx, owner);
    }
    char *owned(kel_vstring *owner) { return tarnbase::runtime::owned_text(store.handle, owner); }

    std::vector<kel_vstring *> owners;
};

class RandomTexts : public TextOwner, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    void anything(std::uint32_t tx) {
        kel_vstring *owner = owners[chance.index_in(owners)];
        if (chance.below(3) == 0) {
            release(owner, tx);
            model.erase(owner);
            return;
        }
        const auto bytes = chance.bytes(1 + chance.below(300));
        const std::string text(bytes.begin(), bytes.end());
        char *place = allocate(owner, static_cast<std::uint32_t>(text.size()), tx);
        ASSERT_NE(place, nullptr);
        std::memcpy(place, text.data(), text.size());
        model[owner] = text;
    }

    void expect_model() {
        for (kel_vstring *owner : owners) {
            const auto known = model.find(owner);
            const char *text = owned(owner);
            ASSERT_EQ(text != nullptr, known != model.end());
            if (text != nullptr) {
                ASSERT_EQ(std::string(text, known->second.size()), known->second);
            }
        }
    }

    Chance chance{GetParam()};
    std::map<kel_vstring *, std::string> model;
};

INSTANTIATE_TEST_SUITE_P(Texts, RandomTexts, ::testing::Values(41U, 42U, 43U));

TEST_P(RandomTexts, AreTheirOwnersAndLeaveNoTraceWhenReleased) {
    const StoreSnapshot fresh(store.store);
    for (int step = 0; step < 1000 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        anything(KEL_TX_NONE);
        if (step % 10 == 0) expect_model();
    }
    for (kel_vstring *owner : owners) release(owner);
    EXPECT_EQ(to_text(fresh.changes()), "");
}

TEST_P(RandomTexts, RolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 15 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 20; ++i) anything(KEL_TX_NONE);
        const auto kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 100; ++i) anything(tx);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        expect_model();
    }
}

TEST_F(TextOwner, AStringCopiedByteForByteOwnsNothing) {
    allocate(owners[0], 20);
    std::memcpy(owners[1], owners[0], sizeof(kel_vstring));
    EXPECT_EQ(owned(owners[1]), nullptr);
    release(owners[1]);
    EXPECT_NE(owned(owners[0]), nullptr);
}

TEST_F(TextOwner, NoMemoryKeepsTheTextThatIsThere) {
    const StoreSnapshot empty(store.store);
    for (const std::uint64_t n : {1U, 2U}) {
        kel_store_fail_allocation(store.store, n);
        EXPECT_EQ(allocate(owners[0], 20), nullptr);
        EXPECT_EQ(to_text(empty.changes()), "");
    }
    char *text = allocate(owners[0], 20);
    kel_store_fail_allocation(store.store, 1);
    EXPECT_EQ(allocate(owners[0], 30), nullptr);
    EXPECT_EQ(owned(owners[0]), text);
}

}  // namespace
}  // namespace tarn::test
