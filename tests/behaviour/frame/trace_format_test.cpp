// SPDX-License-Identifier: Apache-2.0
// The format strings of the lines that end a process: a runtime may look at the format
// without writing the line. The trace service of this program keeps formats, not lines.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"

void ptrail_wrapper(uint16_t, uint32_t level, uint32_t, const char *format, ...) {
    if (level == KEL_TRACE_FATAL) std::fprintf(stderr, "the format is [%s]\n", format);
}

uint32_t loam_set_range(void *, void *, uint64_t, uint32_t) { return 0; }

namespace {

class TraceFormatDeathTest : public tarn::test::PlainTest {
 protected:
    // Ends the process with a line of exactly this format.
    template <typename Statement>
    static void expect_fatal(const char *format, Statement statement) {
        const std::string line = "the format is \\[\\(FATAL\\): " + std::string(format) + "\\]\n";
        EXPECT_EXIT(statement(), ::testing::KilledBySignal(SIGABRT), line);
    }
};

TEST_F(TraceFormatDeathTest, OfACorruptHandleIsItsText) {
    kel_state_tracking corrupt = {1};
    handle->state_tracking = &corrupt;
    expect_fatal("Corrupted KEL Handle", [this] { st_ldap_conn_create(handle, tx); });
    handle->state_tracking = nullptr;
}

TEST_F(TraceFormatDeathTest, OfAnInvalidDescriptorIsItsText) {
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    record->descriptor = nullptr;
    expect_fatal("tinfo is null or corrupted",
                 [&] { tbl_ldap_conn_destroy_record(handle, tx, record, &err); });
    auto *object = st_ldap_conn_create(handle, tx);
    reinterpret_cast<kel_object *>(object)->descriptor = nullptr;
    expect_fatal("tinfo is null or corrupted", [&] { st_ldap_conn_destroy(handle, tx, object); });
}

TEST_F(TraceFormatDeathTest, OfADescriptorWithoutVariantsIsItsText) {
    kel_type_info forged = _st_ldap_conn_type_info_internal;
    forged.variant_info = nullptr;
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    record->descriptor = &forged;
    expect_fatal("varinfo is NULL",
                 [&] { tbl_ldap_conn_destroy_record(handle, tx, record, &err); });
    auto *object = st_ldap_conn_create(handle, tx);
    reinterpret_cast<kel_object *>(object)->descriptor = &forged;
    expect_fatal("varinfo is NULL", [&] { st_ldap_conn_destroy(handle, tx, object); });
}

TEST_F(TraceFormatDeathTest, OfARefusedRangeIsItsText) {
    expect_fatal("loam internal error",
                 [this] { tbl_ldap_conn_table_open(handle, tx, "t", 0, &err); });
}

TEST_F(TraceFormatDeathTest, OfAnUntrackedObjectInATrackingHandleIsItsText) {
    auto *object = st_ldap_conn_create(handle, tx);
    unsigned char form[256];
    const uint32_t length = st_ldap_conn_marshal(handle, tx, form, object, sizeof form, &err);
    ASSERT_EQ(err, 0U);
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    expect_fatal("KEL handle and object state tracking mis-match",
                 [&] { st_ldap_conn_unmarshal(handle, tx, form, object, length, 0, &err); });
}

}  // namespace
