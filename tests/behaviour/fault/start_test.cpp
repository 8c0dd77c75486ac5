// SPDX-License-Identifier: Apache-2.0
// Failures of what is made only once: a store's descriptor copies, a table's root of blocks
// by id, and the directory.
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/fault/environment.h"

namespace tarn::test {

namespace {

// Number of copies that a whole type map holds.
std::size_t descriptors() {
    std::size_t count = 0;
    while (tarnbase_type_list[count] != nullptr) ++count;
    return count;
}

class FirstUse : public ::testing::Test {
 protected:
    Session session{Mode::store_types};
    kel_handle *const handle = session.handle();
    const u32 tx = KEL_TX_NONE;
    u32 err = 0;
};

TEST_F(FirstUse, ATypeMapThatCannotBeFilledIsCompletedByTheNextCall) {
    tarnbase_typeinfo_initialize(handle, tx, &err);
    const u64 blocks = session.blocks();
    const u32 types = session.describe().types;
    EXPECT_EQ(types, descriptors());
    bool hit = true;
    std::size_t refused = 0;
    for (std::size_t n = 1; hit; ++n) {
        SCOPED_TRACE(n);
        Session fresh(Mode::store_types);
        ServiceRecorder recorder(fresh.handle());
        recorder.fail("type_alloc_hook", n);
        err = 0;
        tarnbase_typeinfo_initialize(fresh.handle(), tx, &err);
        hit = recorder.stop_failing();
        // A copy is made even if its counters cannot be allocated.
        EXPECT_EQ(err, fresh.describe().types == types ? 0 : ENOMEM);
        EXPECT_EQ(fresh.handle()->last_error, err);
        refused += err != 0 ? 1 : 0;
        err = 0;
        tarnbase_typeinfo_initialize(fresh.handle(), tx, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(fresh.describe().types, types);
        EXPECT_EQ(fresh.blocks(), blocks);
    }
    EXPECT_EQ(refused, descriptors());
}

TEST_F(FirstUse, AnObjectGetsTheConstantDescriptorWhileTheStoreHasNoCopy) {
    ServiceRecorder recorder(handle);
    recorder.fail("type_alloc_hook", 1);
    void *object = kind_tag.create(handle, tx);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(static_cast<kel_object *>(object)->descriptor, kind_tag.descriptor);
    recorder.stop_failing();
    void *later = kind_tag.create(handle, tx);
    EXPECT_NE(static_cast<kel_object *>(later)->descriptor, kind_tag.descriptor);
    kind_tag.destroy(handle, tx, object);
    kind_tag.destroy(handle, tx, later);
}

TEST_F(FirstUse, ARootThatCannotBeCreatedIsCreatedByTheNextOpen) {
    const Subject &s = ldap_conn;
    ServiceRecorder recorder(handle);
    tarnbase_typeinfo_initialize(handle, tx, &err);
    recorder.fail("alloc_hook", 1);
    EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 0, &err), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(recorder.count("loam_set_key"), 0U);
    err = 0;
    recorder.fail("alloc_hook", 2);
    EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 0, &err), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(recorder.count("loam_set_key"), 1U);  // the root stays
    err = 0;
    recorder.clear();
    kel_table *table = s.plain.open_by_id(handle, tx, 5, 0, &err);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(recorder.count("loam_set_key"), 0U);
    EXPECT_EQ(recorder.count("alloc_hook"), 1U);
}

TEST_F(FirstUse, ARootThatTheStoreRefusesIsUsed) {
    // In a child, since the root is cached for the process.
    EXPECT_EXIT(
        {
            Session own;
            ServiceRecorder recorder(own.handle());
            recorder.fail("loam_set_key", 1);
            u32 code = 0;
            kel_table *table =
                tbl_ldap_stats_table_open_by_id(own.handle(), KEL_TX_NONE, 5, 0, &code);
            kel_table *again =
                tbl_ldap_stats_table_open_by_id(own.handle(), KEL_TX_NONE, 5, 1, &code);
            const bool traced =
                recorder.calls("ptrail_wrapper").at(0).text == "(ERR): Setting tbi root failed\n";
            std::_Exit(table != nullptr && table == again && code == 0 && traced ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(FirstUse, ARefusedRangeEndsTheProcess) {
    EXPECT_EXIT(
        {
            ServiceRecorder recorder(handle);
            recorder.fail("loam_set_range", 1);
            test_number.plain.open(handle, tx, "t", 0, &err);
        },
        ::testing::KilledBySignal(SIGABRT), "loam internal error");
}

TEST_F(FirstUse, ADirectoryThatCannotBeFilledReportsIt) {
    EXPECT_EXIT(
        {
            ServiceRecorder recorder(handle);
            recorder.fail("table_vft_cpy", 1);
            const void *const *vector = nullptr;
            u32 code = 0;
            tarnbase_table_get_vft(handle, tx, test_number.entry.luid, &vector, &code);
            std::_Exit(code == EINVAL && handle->last_error == EINVAL ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace

}  // namespace tarn::test
