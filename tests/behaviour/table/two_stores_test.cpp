// SPDX-License-Identifier: Apache-2.0
// Tables by id with a second store in the process: the library has the root of the first one
// only. The runtime refuses it in the second store, and the first store continues to work.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "tests/behaviour/table/fixture.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

constexpr const char *only_one = "a process can open tables by id in one store only";

class TwoStores : public LdapTest {
 protected:
    kel_table *open_by_id(kel_handle *on, u64 id, u32 open_only = 0) {
        return s.plain.open_by_id(on, tx, id, open_only, &err);
    }
    static void expect_refusal(const TraceCapture &trace) {
        EXPECT_NE(std::string(kel_error_text()).find(only_one), std::string::npos);
        EXPECT_NE(trace.all().find(only_one), std::string::npos) << trace.all();
    }
    void expect_first_store_works(kel_table *made) {
        EXPECT_EQ(open_by_id(handle, 42, 1), made);
        kel_table *more = open_by_id(handle, 43);
        EXPECT_NE(more, nullptr);
        EXPECT_EQ(open_by_id(handle, 43, 1), more);
        EXPECT_EQ(err, 0U);
    }
};

TEST_F(TwoStores, AnOpenByIdIsRefusedInTheSecondAndTraced) {
    in_own_process([&] {
        kel_table *made = open_by_id(handle, 42);
        const Session second;
        const u64 blocks = second.blocks();
        const TraceCapture trace;
        for (const u64 id : {42U, 7U}) {
            EXPECT_EQ(open_by_id(second.handle(), id), nullptr);
            EXPECT_EQ(err, ENOMEM);
            err = 0;
            EXPECT_EQ(open_by_id(second.handle(), id, 1), nullptr);
            EXPECT_EQ(err, 0U);
        }
        expect_refusal(trace);
        EXPECT_EQ(second.blocks(), blocks);
        EXPECT_EQ(kel_store_first_table(second.store()), nullptr);
        EXPECT_NE(s.plain.open(second.handle(), tx, "by name", 0, &err), nullptr);
        EXPECT_EQ(err, 0U);
        expect_first_store_works(made);
    });
}

TEST_F(TwoStores, AnOpenByAutomaticIdInTheSecondIsTracedAndStoresNothing) {
    in_own_process([&] {
        kel_table *made = open_by_id(handle, 42);
        const Session second;
        const TraceCapture trace;
        kel_table *lost = s.plain.open_auto_id(second.handle(), tx, 0, &err);
        ASSERT_NE(lost, nullptr);
        expect_refusal(trace);
        EXPECT_EQ(open_by_id(handle, lost->table_id, 1), nullptr);
        s.plain.free(second.handle(), tx, lost, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(kel_store_first_table(second.store()), nullptr);
        expect_first_store_works(made);
    });
}

TEST_F(TwoStores, AnOpenByIdIsRefusedOnceTheFirstIsClosed) {
    in_own_process([&] {
        std::optional<Session> first(std::in_place);
        ASSERT_NE(open_by_id(first->handle(), 42), nullptr);
        first.reset();
        const TraceCapture trace;
        EXPECT_EQ(open_by_id(handle, 42), nullptr);
        EXPECT_EQ(err, ENOMEM);
        expect_refusal(trace);
    });
}

TEST_F(TwoStores, TheSameStoreOpenedAgainHasItsTablesById) {
    in_own_process([&] {
        const TemporaryDirectory directory;
        const std::string path = directory / "store";
        for (const u32 round : {0U, 1U, 2U}) {
            kel_store *store = nullptr;
            ASSERT_EQ(kel_store_open_or_create(path.c_str(), nullptr, &store), 0U);
            kel_handle *on = make_handle(store, Mode::plain);
            EXPECT_EQ(kel_store_lock(store), 0U);
            EXPECT_EQ(open_by_id(on, 42, 1) != nullptr, round != 0);
            EXPECT_NE(open_by_id(on, 42), nullptr);
            EXPECT_EQ(err, 0U);
            kel_handle_destroy(on);
            kel_store_close(store);
        }
    });
}

}  // namespace
}  // namespace tarn::test
