// SPDX-License-Identifier: Apache-2.0
// Whether a record was modified since the last call.
#include <string>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Modified : public TableTest {};
TARN_EACH_TABLE_AND_MODE(Modified);

TEST_P(Modified, AModifiedRecordIsReportedOnce) {
    kel_record *record = put(1);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 0U);
    s.set_value(handle, tx, record->object, 6, &err);
    TraceCapture trace;
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, "(info): Record was modified"), 1U) << trace.all();
    EXPECT_EQ(s.unsafe.is_modified(handle, tx, record, &err), 0U);
    s.set_value(handle, tx, record->object, 6, &err);
    EXPECT_EQ(s.unsafe.is_modified(handle, tx, record, &err), 1U);
    EXPECT_EQ(err, 0U);
}

TEST_P(Modified, AModifiedKeyObjectIsReportedToo) {
    if (!s.has_key_object()) return;
    kel_record *record = put(1);
    s.set_key(handle, tx, record->key_object, 1, &err);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U);
}

TEST_P(Modified, TheKeyObjectIsTestedOnlyIfTheValueIsUnmodified) {
    if (!s.has_key_object()) return;
    kel_record *record = put(1);
    while (s.plain.is_modified(handle, tx, record, &err) != 0) continue;
    s.set_value(handle, tx, record->object, 6, &err);
    u32 error = 0;
    pair_key_kind_set_value(handle, tx, static_cast<pair_key *>(record->key_object), 1, &error);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U) << "now the key";
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 0U);
}

}  // namespace
}  // namespace tarn::test
