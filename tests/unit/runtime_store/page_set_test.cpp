// SPDX-License-Identifier: Apache-2.0
// Sets of page numbers against std::set, and the size classes.
#include "runtime/arena/page_set.h"

#include <set>

#include "runtime/arena/size_class.h"
#include "tests/unit/runtime_store/support.h"

namespace tarnbase::runtime {
namespace {

using tarn::test::Chance;

class PageSets : public ::testing::TestWithParam<std::uint64_t> {
 protected:
    const std::uint64_t limit = GetParam();
    std::vector<std::uint64_t> words = std::vector<std::uint64_t>(PageSet::words_for(limit));
    PageSet set{words.data(), limit};
    std::set<std::uint64_t> model;

    std::optional<std::uint64_t> first_run_of_model(std::uint64_t count) const {
        std::uint64_t run = 0, next = 0;
        for (const std::uint64_t page : model) {
            run = page == next ? run + 1 : 1;
            next = page + 1;
            if (run == count) return page + 1 - count;
        }
        return std::nullopt;
    }

    void verify() {
        ASSERT_EQ(set.first(), model.empty() ? std::nullopt : std::optional(*model.begin()));
        ASSERT_EQ(set.last(), model.empty() ? std::nullopt : std::optional(*model.rbegin()));
        for (const std::uint64_t end : {std::uint64_t{0}, limit / 2, limit}) {
            const auto below = std::distance(model.begin(), model.lower_bound(end));
            ASSERT_EQ(set.count_below(end), static_cast<std::uint64_t>(below)) << end;
        }
        for (const std::uint64_t count : {1U, 2U, 3U, 70U}) {
            ASSERT_EQ(set.first_run(count), first_run_of_model(count)) << count;
        }
    }
};

TEST_P(PageSets, AreEqualToASetAfterEveryStep) {
    const std::uint32_t seed = 41;
    Chance chance(seed);
    for (int step = 0; step < 400; ++step) {
        SCOPED_TRACE(tarn::test::seed_and_step(seed, step));
        const std::uint64_t page = chance.below(limit);
        if (chance.below(3) == 0) {
            set.erase(page);
            model.erase(page);
        } else if (chance.below(40) == 0) {
            const std::uint64_t end = page + chance.below(limit - page + 1);
            set.insert_range(page, end);
            for (std::uint64_t i = page; i < end; ++i) model.insert(i);
        } else {
            set.insert(page);
            model.insert(page);
        }
        ASSERT_EQ(set.contains(page), model.count(page) == 1);
        const std::uint64_t group = page / PageSet::group * PageSet::group;
        const auto in_group =
            std::distance(model.lower_bound(group), model.lower_bound(group + PageSet::group));
        ASSERT_EQ(set.contains_group(page), std::cmp_equal(in_group, PageSet::group));
        ASSERT_NO_FATAL_FAILURE(verify());
    }
}

TEST_P(PageSets, AreZeroWordsAgainWhenAllAreTakenOut) {
    set.insert_range(0, limit);
    for (std::uint64_t page = limit; page-- > 0;) set.erase(page);
    EXPECT_EQ(words, std::vector<std::uint64_t>(words.size()));
}

TEST_P(PageSets, HoldTheSameWordsHoweverTheirMembersCameIn) {
    set.insert_range(limit / 3, limit);
    std::vector<std::uint64_t> other_words(words.size());
    PageSet other(other_words.data(), limit);
    for (std::uint64_t page = limit; page-- > limit / 3;) other.insert(page);
    EXPECT_EQ(words, other_words);
}

TEST_P(PageSets, HoldNoNumberAtOrAboveTheirLimit) {
    set.insert_range(0, limit);
    EXPECT_FALSE(set.contains(limit));
    EXPECT_FALSE(set.contains(limit + 1000000));
    EXPECT_EQ(set.first_run(limit), std::optional<std::uint64_t>(0));
    EXPECT_EQ(set.first_run(limit + 1), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Limits, PageSets, ::testing::Values(1, 63, 64, 65, 130, 4096, 5000));

TEST(SizeClasses, TheSmallestThatHoldsASizeIsTaken) {
    for (std::uint64_t size = 0; size <= largest_small_block; ++size) {
        const std::uint32_t index = size_class_of(size);
        ASSERT_LT(index, size_class_count) << size;
        ASSERT_GE(size_classes[index].size, size);
        if (index > 0) {
            ASSERT_LT(size_classes[index - 1].size, size);
        }
    }
}

TEST(SizeClasses, BlocksAreAfterTheHeadAndItsBitmapAndEndWithinThePage) {
    for (const SizeClass &shape : size_classes) {
        EXPECT_EQ(shape.size % 16, 0U);
        EXPECT_EQ(shape.first % 16, 0U);
        EXPECT_GE(shape.first, sizeof(Page) + (shape.slots + 63) / 64 * 8);
        EXPECT_LE(shape.first + shape.slots * shape.size, page_size);
        EXPECT_GE(shape.slots, 2U);
    }
}

}  // namespace
}  // namespace tarnbase::runtime
