// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace face_test {
namespace {

TEST(Error, HasANumberACodeAndAMessage) {
    const tarn::error error(EEXIST, "what was wrong");
    EXPECT_EQ(error.number(), static_cast<std::uint32_t>(EEXIST));
    EXPECT_EQ(error.code(), std::errc::file_exists);
    EXPECT_STREQ(error.what(), "what was wrong");
    static_assert(std::is_base_of_v<std::runtime_error, tarn::error>);
    static_assert(std::is_nothrow_copy_constructible_v<tarn::error>);
}

TEST(Error, EveryNumberOfTheLibraryHasItsOwnMeaning) {
    std::vector<std::string> all;
    for (const std::uint32_t number : {2U, 7U, 11U, 12U, 14U, 17U, 22U, 43U, 90U}) {
        const std::string meaning = tarn::detail::meaning_of(number);
        EXPECT_FALSE(meaning.empty()) << number;
        EXPECT_EQ(std::count(all.begin(), all.end(), meaning), 0) << meaning;
        all.push_back(meaning);
    }
}

TEST(Result, HoldsAValueOrAnError) {
    const tarn::result<int> good = 7;
    EXPECT_TRUE(good);
    EXPECT_EQ(*good, 7);
    EXPECT_EQ(good.value_or(3), 7);
    tarn::result<int> bad = tarn::error(ENOENT, "gone");
    EXPECT_FALSE(bad);
    EXPECT_FALSE(bad.has_value());
    EXPECT_EQ(bad.error().number(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(bad.value_or(3), 3);
    EXPECT_EQ(std::string(thrown_by([&] { (void)std::move(bad).value(); }).what()), "gone");
}

TEST(Result, OfNothingIsSuccessOrAnError) {
    tarn::result<void> good;
    EXPECT_TRUE(good);
    EXPECT_NO_THROW(std::move(good).value());
    tarn::result<void> bad = tarn::error(ENOENT, "gone");
    EXPECT_FALSE(bad);
    EXPECT_EQ(std::string(thrown_by([&] { std::move(bad).value(); }).what()), "gone");
}

}  // namespace
}  // namespace face_test
