// SPDX-License-Identifier: Apache-2.0
// A sound store has no finding.
#include <algorithm>
#include <cerrno>

#include "tests/behaviour/follower/writer.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/filled_store.h"

namespace tarn::test {
namespace {

using Check = CheckedStore;

TEST_F(Check, FindsNothingInASoundStore) {
    EXPECT_EQ(joined(findings_of(store_)), "");
    fill_store(store_);
    EXPECT_EQ(joined(findings_of(store_)), "");
}

// Each digest of a page is that of its record's key, for all kinds of keys.
TEST_F(Check, FindsNothingInIndexesOfManyPages) {
    fill_store(store_, 300);
    EXPECT_EQ(joined(findings_of(store_)), "");
}

// What operations of the library leave: records and objects that their maker keeps; an object that
// was mapped, got a copy of one that wasn't, and was freed in spite of references; a table with an
// automatic id that another one had got by a number; records that another tenant than theirs has
// inserted or deleted.
bool is_expected(const std::string &line) {
    return line.ends_with("it is lost") || line.starts_with("the map of identities") ||
           line.ends_with("no open would find it") || line.find(" of tenant ") != std::string::npos;
}

// The writer keeps records and objects of its own, which no other process could find.
TEST_F(Check, FindsOnlyWhatAWriterKeepsAfterRandomChanges) {
    constexpr int steps = 600, at_once = 20;
    Writer writer(4, store_);
    writer.prepare();
    for (int step = 0; step < steps; ++step) {
        writer.step();
        if (step % at_once != 0) continue;
        std::vector<std::string> lines = findings_of(store_);
        std::erase_if(lines, is_expected);
        ASSERT_EQ(joined(lines), "") << "step " << step << ": " << writer.history();
    }
}

TEST_F(Check, RefusesAStoreWithAnOpenTransaction) {
    kel_handle *handle = nullptr;
    std::uint32_t tx_id = 0;
    ASSERT_EQ(kel_handle_create(store_, 1, &handle), 0U);
    ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
    EXPECT_EQ(kel_store_check(store_, nullptr, nullptr, nullptr, nullptr), EBUSY);
    EXPECT_EQ(kel_transaction_commit(handle, tx_id), 0U);
    EXPECT_EQ(kel_store_check(store_, nullptr, nullptr, nullptr, nullptr), 0U);
    kel_handle_destroy(handle);
}

}  // namespace
}  // namespace tarn::test
