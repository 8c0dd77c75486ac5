// SPDX-License-Identifier: Apache-2.0
// A store's own copies of descriptors, as a module's initializer makes them.
#include <algorithm>
#include <array>
#include <string>

#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

kel_variant_usage usage_of(std::uint32_t variant) {
    return {variant, 48 + 8 * variant, 16, 100, 200, 300};
}

// A descriptor of two variants, whose counters aren't zero.
struct Constant {
    std::array<kel_variant_usage, 2> usage{usage_of(0), usage_of(1)};
    kel_variant_info info{2, usage.data()};
    kel_type_info descriptor{};

    Constant() {
        descriptor.magic = KEL_TYPE_INFO_MAGIC;
        const std::string text = "00112233445566778899aabbccddeeff";
        std::copy(text.begin(), text.end(), descriptor.luid_text);
        descriptor.type_slot = KEL_TYPE_SLOT_NONE;
        descriptor.variant_info = &info;
    }
};

Constant constant;
int initializer_calls = 0;

// What a module's initializer does for one descriptor.
void initialize(kel_handle *handle, std::uint32_t tx, std::uint32_t *err) {
    ++initializer_calls;
    const kel_type_info &known = constant.descriptor;
    kel_type_info_copy *copy = handle->type_map_lookup_hook(handle->type_map, tx, known.luid_text);
    const bool is_new = copy == nullptr;
    if (is_new) {
        copy = static_cast<kel_type_info_copy *>(
            handle->type_alloc_hook(handle->type_arena, KEL_TX_NONE, sizeof *copy));
        if (copy == nullptr) {
            *err = 12;
            return;
        }
        *copy = {known, 0, 0};
        copy->info.store_private = 1;
        handle->type_map_insert_hook(handle->type_map, tx, copy->info.luid_text, copy);
    }
    kel_update_variant_info(handle, tx, copy, &known, is_new);
}

class Descriptors : public SmallStoreTest {
 protected:
    Descriptors() {
        initializer_calls = 0;
        constant.info.variant_count = 2;
    }
    const kel_type_info *get() {
        return kel_type_info_ptr_get(store.handle, KEL_TX_NONE, &constant.descriptor, initialize);
    }
};

TEST_F(Descriptors, AStoreGetsItsCopyOnce) {
    const kel_type_info *copy = get();
    ASSERT_NE(copy, &constant.descriptor);
    EXPECT_STREQ(copy->luid_text, constant.descriptor.luid_text);
    EXPECT_EQ(get(), copy);
    EXPECT_EQ(initializer_calls, 1);
    EXPECT_EQ(store.describe().types, 1U);
}

TEST_F(Descriptors, TransactionsOfAHandleThatOverlapFindTheSameCopy) {
    const auto find = [&](std::uint32_t tx) {
        return store.handle->type_map_lookup_hook(store.handle->type_map, tx,
                                                  constant.descriptor.luid_text);
    };
    const std::uint32_t first = store.begin();
    EXPECT_EQ(find(first), nullptr);
    const auto *copy = reinterpret_cast<const kel_type_info_copy *>(get());
    EXPECT_EQ(find(first), copy);
    const std::uint32_t second = store.begin();
    EXPECT_EQ(find(second), copy);
    EXPECT_EQ(find(first), copy);
    store.commit(second);
    EXPECT_EQ(find(first), copy);
    EXPECT_EQ(find(second), copy) << "its id isn't open any more";
    store.roll_back(first);
    EXPECT_EQ(find(KEL_TX_NONE), copy);
}

TEST_F(Descriptors, ACopyFoundByAnAddressIsNotThatOfAnotherTextThere) {
    const auto *copy = reinterpret_cast<const kel_type_info_copy *>(get());
    std::array<char, sizeof constant.descriptor.luid_text> text{};
    std::copy_n(constant.descriptor.luid_text, text.size(), text.begin());
    const auto find = [&](std::uint32_t tx) {
        return store.handle->type_map_lookup_hook(store.handle->type_map, tx, text.data());
    };
    const std::uint32_t tx = store.begin();
    EXPECT_EQ(find(tx), copy);
    text[0] = 'f';
    EXPECT_EQ(find(tx), nullptr);
    store.commit(tx);
}

TEST_F(Descriptors, ACopyCountsForItselfFromZero) {
    const kel_variant_info *info = get()->variant_info;
    ASSERT_NE(info, &constant.info);
    ASSERT_EQ(info->variant_count, 2);
    for (std::size_t i = 0; i < 2; ++i) {
        const kel_variant_usage &usage = info->variants[i];
        EXPECT_EQ(usage.variant, constant.usage[i].variant);
        EXPECT_EQ(usage.used_length, constant.usage[i].used_length);
        EXPECT_EQ(usage.alloc_slop, constant.usage[i].alloc_slop);
        EXPECT_EQ(usage.created + usage.destroyed + usage.live, 0U);
    }
    EXPECT_EQ(constant.usage[0].created, 100U);
}

TEST_F(Descriptors, ACopyGetsTheVariantsThatItLacksAndKeepsItsCounters) {
    constant.info.variant_count = 1;
    const kel_variant_info *info = get()->variant_info;
    ASSERT_EQ(info->variant_count, 1);
    info->variants[0].created = 7;
    info->variants[0].live = 5;
    constant.info.variant_count = 2;
    std::uint32_t err = 0;
    initialize(store.handle, KEL_TX_NONE, &err);
    ASSERT_EQ(get()->variant_info, info);
    ASSERT_EQ(info->variant_count, 2);
    EXPECT_EQ(info->variants[0].created, 7U);
    EXPECT_EQ(info->variants[0].live, 5U);
    EXPECT_EQ(info->variants[1].variant, 1U);
    EXPECT_EQ(info->variants[1].created, 0U);
}

TEST_F(Descriptors, ACopyWithMoreVariantsKeepsThem) {
    const kel_variant_info *info = get()->variant_info;
    const kel_variant_usage *usage = info->variants;
    constant.info.variant_count = 1;
    const std::uint64_t blocks = store.describe().blocks;
    std::uint32_t err = 0;
    initialize(store.handle, KEL_TX_NONE, &err);
    EXPECT_EQ(info->variant_count, 2);
    EXPECT_EQ(info->variants, usage);
    EXPECT_EQ(store.describe().blocks, blocks);
}

TEST_F(Descriptors, WithoutMemoryAtAnyPointTheConstantOneServesUntilThereIsSome) {
    std::uint64_t n = 1;
    for (;; ++n) {
        ASSERT_LT(n, 10U);
        SmallStore other;
        kel_store_fail_allocation(other.store, n);
        const auto ask = [&] {
            return kel_type_info_ptr_get(other.handle, KEL_TX_NONE, &constant.descriptor,
                                         initialize);
        };
        const kel_type_info *first = ask();
        ASSERT_NE(first->variant_info, nullptr);
        kel_store_fail_allocation(other.store, 0);
        const kel_type_info *second = ask();
        EXPECT_NE(second, &constant.descriptor) << n;
        EXPECT_EQ(second->variant_info->variant_count, 2) << n;
        if (first != &constant.descriptor) break;
    }
    EXPECT_EQ(n, 5U) << "copy, map entry, variant information and usage are a block each";
}

TEST_F(Descriptors, WithoutAnInitializerTheConstantOneServes) {
    EXPECT_EQ(kel_type_info_ptr_get(store.handle, KEL_TX_NONE, &constant.descriptor, nullptr),
              &constant.descriptor);
}

TEST(TableVectors, AreCopiedWhole) {
    std::vector<const void *> source(2 * KEL_TABLE_VFT_SLOTS + 1);
    for (const void *&slot : source) slot = &slot;
    std::vector<const void *> copy(source.size());
    EXPECT_EQ(table_vft_cpy(copy.data(), source.data(), 2), 0U);
    EXPECT_TRUE(std::equal(copy.begin(), copy.end() - 1, source.begin()));
    EXPECT_EQ(copy.back(), nullptr);
    EXPECT_EQ(table_vft_cpy(nullptr, source.data(), 1), 22U);
    EXPECT_EQ(table_vft_cpy(copy.data(), nullptr, 1), 22U);
}

TEST(ModuleList, IsAnEmptyQueueBeforeALibraryLinksItself) {
    EXPECT_EQ(kel_module_tot_root.count, 0U);
    EXPECT_EQ(kel_module_tot_root.first, nullptr);
    EXPECT_EQ(kel_module_tot_root.last, &kel_module_tot_root.first);
}

}  // namespace
}  // namespace tarn::test
