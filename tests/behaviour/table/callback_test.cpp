// SPDX-License-Identifier: Apache-2.0
// Events in a program without handlers.
#include <cerrno>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Callbacks : public TableTest {
 protected:
    std::string weak(const std::string &event) {
        return std::string("(info): weak default handler tarnbase_") + s.name + "_record " + event +
               " handler called";
    }
    void expect_lines(const TraceCapture &trace, const std::vector<std::string> &events) {
        ASSERT_EQ(trace.lines.size(), events.size()) << trace.all();
        for (std::size_t i = 0; i < events.size(); ++i) {
            EXPECT_EQ(trace.lines[i].text, weak(events[i]));
            EXPECT_EQ(trace.lines[i].level, KEL_TRACE_INFO);
            EXPECT_EQ(trace.lines[i].module_id, 0U);
        }
        EXPECT_EQ(err, 0U);
    }
    void call_all(const Operations &form) {
        form.create_cb(handle, tx, table, nullptr, &err);
        form.modify_cb(handle, tx, table, nullptr, &err);
        form.delete_cb(handle, tx, table, nullptr, &err);
        form.create_dm_cb(handle, tx, nullptr, &err);
        form.delete_dm_cb(handle, tx, nullptr, &err);
        form.grouping_cb(handle, tx, nullptr, &err, nullptr, nullptr);
        form.free_cb(handle, tx, nullptr, &err, nullptr);
    }
};
TARN_EACH_TABLE(Callbacks);

TEST_P(Callbacks, CallTheWeakHandlersWhichTraceIt) {
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        TraceCapture trace;
        call_all(*form);
        expect_lines(trace, {"create", "modify", "delete", "create DM", "create", "delete DM",
                             "delete", "grouping", "free"});
    }
}

TEST_P(Callbacks, ClearTheLastErrorFirst) {
    handle->last_error = EINVAL;
    s.plain.free_cb(handle, tx, nullptr, &err, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Callbacks, EnteredWithAnErrorDoNothing) {
    TraceCapture trace;
    handle->last_error = EINVAL;
    err = EIO;
    call_all(s.plain);
    call_all(s.unsafe);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

}  // namespace
}  // namespace tarn::test
