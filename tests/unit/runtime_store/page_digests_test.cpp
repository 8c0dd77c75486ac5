// SPDX-License-Identifier: Apache-2.0
// The prefix and the digests of one page.
#include "runtime/index/page_digests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace tarn::test {
namespace {

using tarnbase::runtime::index_page_mark;
using tarnbase::runtime::IndexPage;
using tarnbase::runtime::KeyBytes;
using tarnbase::runtime::KeyHints;
using tarnbase::runtime::KeyOrder;
using tarnbase::runtime::longest_prefix;
using tarnbase::runtime::number_of;

struct Entry {
    kel_index_node node;
    KeyBytes key;
};

class StoredBytes final : public KeyOrder {
 public:
    void encode(const kel_index_node *node, KeyBytes &bytes) const override {
        bytes = reinterpret_cast<const Entry *>(node)->key;
    }
    KeyHints hints(const kel_index_node *) const override { return {}; }
};

// A key of `length` bytes in common with all others, then some of its own.
KeyBytes key_after(std::size_t length, const std::string &own) {
    KeyBytes key{};
    for (std::size_t i = 0; i < length; ++i) key.at(i) = static_cast<unsigned char>(i + 1);
    std::copy(own.begin(), own.end(), key.begin() + static_cast<std::ptrdiff_t>(length));
    return key;
}

// A leaf of such keys, the first one in the last place.
class PageDigests : public ::testing::Test {
 protected:
    PageDigests() {
        for (std::uint8_t slot = 0; slot < IndexPage::capacity; ++slot) {
            page.places[slot] = static_cast<std::uint8_t>(IndexPage::capacity - 1 - slot);
        }
    }
    void add(const KeyBytes &key) {
        entries.at(page.count) = {{}, key};
        page.entries[page.places[page.count]].address = &entries.at(page.count).node;
        page.digests[page.places[page.count]] = number_of(key.data());
        ++page.count;
    }
    void make_keys(std::size_t length, int count) {
        for (int i = 0; i < count; ++i) {
            add(key_after(length, {static_cast<char>(i + 1), 'x', static_cast<char>(200 - i)}));
        }
    }
    void expect_digests(std::uint32_t skip) {
        ASSERT_EQ(page.skip, skip);
        const KeyBytes &key = entries[0].key;
        EXPECT_TRUE(std::equal(key.begin(), key.begin() + skip, page.prefix));
        for (std::uint32_t at = skip; at < longest_prefix; ++at) EXPECT_EQ(page.prefix[at], 0);
        for (std::uint32_t slot = 0; slot < page.count; ++slot) {
            EXPECT_EQ(page.digest(slot), number_of(entries.at(slot).key.data() + skip)) << slot;
        }
    }

    StoredBytes order;
    IndexPage page{.mark = index_page_mark,
                   .count = 0,
                   .level = 0,
                   .skip = 0,
                   .reserved = 0,
                   .next = nullptr,
                   .previous = nullptr,
                   .prefix = {},
                   .places = {},
                   .unused = {},
                   .digests = {},
                   .entries = {}};
    std::array<Entry, IndexPage::capacity> entries{};
};

TEST_F(PageDigests, AreMadeAfterWhatTheKeysHaveInCommonButTwoBytes) {
    for (const std::uint32_t common : {0U, 1U, 2U, 3U, 10U, 31U, 32U, 33U}) {
        SCOPED_TRACE(common);
        page.count = 0;
        make_keys(common, 5);
        make_digests(page, order);
        const std::uint32_t most = std::min(common, longest_prefix);
        expect_digests(most > 2 ? most - 2 : 0);
    }
}

TEST_F(PageDigests, OfAPageAreWithoutTheFirstKeyIfItIsNoLeaf) {
    make_keys(12, 4);
    std::array<IndexPage, 4> below;
    IndexPage above{page};
    for (std::uint32_t slot = 0; slot < below.size(); ++slot) {
        below.at(slot) = page;
        below.at(slot).entries[page.places[0]] = page.entry(slot);
        above.entries[page.places[slot]].address = &below.at(slot);
    }
    above.level = 1;
    entries[0].key = key_after(0, "another");
    make_digests(above, order);
    EXPECT_EQ(above.skip, 10);
    for (std::uint32_t slot = 1; slot < above.count; ++slot) {
        EXPECT_EQ(above.digest(slot), number_of(entries.at(slot).key.data() + 10)) << slot;
    }
}

TEST_F(PageDigests, OfAShorterPrefixFollowFromThoseOfALongerOne) {
    for (std::uint32_t skip = 0; skip <= 30; ++skip) {
        SCOPED_TRACE(skip);
        page.count = 0;
        make_keys(32, 7);
        make_digests(page, order);
        shorten_prefix({}, page, skip);
        expect_digests(skip);
    }
}

TEST_F(PageDigests, OfALeafFitAKeyThatIsInserted) {
    for (std::uint32_t common = 0; common <= 32; ++common) {
        SCOPED_TRACE(common);
        page.count = 0;
        make_keys(32, 3);
        make_digests(page, order);
        KeyBytes key = entries[0].key;
        if (common < 32) key.at(common) = 0xff;
        fit_prefix({}, page, key);
        expect_digests(std::min(common, 30U));
    }
}

TEST_F(PageDigests, OfTwoPagesHaveTheirCommonPrefix) {
    make_keys(32, 3);
    make_digests(page, order);
    IndexPage other = page;
    EXPECT_EQ(common_prefix(page, other), 30U);
    shorten_prefix({}, other, 12);
    EXPECT_EQ(common_prefix(page, other), 12U);
    EXPECT_EQ(common_prefix(other, page), 12U);
    other.prefix[4] ^= 1;
    EXPECT_EQ(common_prefix(page, other), 4U);
}

// 16 keys, of which so many have the digest of the one before.
TEST_F(PageDigests, AreImprovedIfMoreThanOneOfEightIsEqual) {
    for (const int equal : {0, 1, 2, 3, 15}) {
        SCOPED_TRACE(equal);
        page.count = 0;
        for (int i = 0; i < 16; ++i) {
            const int digest = std::max(i - equal, 0);
            add(key_after(7, {static_cast<char>(digest + 1), static_cast<char>(i)}));
        }
        // What is in a free place doesn't count.
        page.digests[page.places[page.count]] = page.digest(page.count - 1U);
        page.skip = 0;
        std::memset(page.prefix, 0, sizeof page.prefix);
        improve_digests({}, page, order);
        // All keys begin alike for 7 bytes, and for 8 if all digests are equal.
        expect_digests(equal <= 2 ? 0 : equal < 15 ? 5 : 6);
    }
}

TEST_F(PageDigests, StayAsTheyAreIfNoLongerPrefixTellsTheKeysApart) {
    for (int i = 0; i < 16; ++i) add(key_after(0, i == 0 ? "a" : "b"));
    improve_digests({}, page, order);
    expect_digests(0);
}

}  // namespace
}  // namespace tarn::test
