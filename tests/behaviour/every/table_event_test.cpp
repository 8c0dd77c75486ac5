// SPDX-License-Identifier: Apache-2.0
// Each table's seven events, in a program without its own handlers.
#include <cerrno>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

struct Event {
    const char *name;   // in the names of callback and handler
    const char *text;   // in the default handler's line
    const char *first;  // the handler that the default one calls, or null
    // The number of words before and after `err`.
    u32 before, after;
};
constexpr Event all_events[] = {
    {"create", "create", nullptr, 2, 0},
    {"modify", "modify", nullptr, 2, 0},
    {"delete", "delete", nullptr, 2, 0},
    {"create_dm", "create DM", "create", 1, 0},
    {"delete_dm", "delete DM", "delete", 1, 0},
    {"grouping", "grouping", nullptr, 1, 2},
    {"free", "free", nullptr, 1, 1},
};

class TableEvents : public EveryTable {
 protected:
    // The words of an event: any pointers, which are passed on without being read.
    std::vector<Word> words(const Event &event) {
        std::vector<Word> arguments = {handle, tx};
        for (u32 i = 0; i < event.before; ++i) arguments.emplace_back(u64{0x1000} + i);
        arguments.emplace_back(&err);
        for (u32 i = 0; i < event.after; ++i) arguments.emplace_back(u64{0x2000} + i);
        return arguments;
    }
    void callback(const Event &event, const std::string &twin) {
        call(name(std::string("table_record_") + event.name + "_cb" + twin), words(event));
    }
    void handler(const Event &event) {
        call(std::string("tarnbase_") + type.name + "_table_record_" + event.name + "_handler",
             words(event));
    }
    void expect_lines(const Event &event, std::size_t from) {
        std::vector<std::string> expected = {event.text};
        if (event.first != nullptr) expected.emplace_back(event.first);
        ASSERT_EQ(trace.lines.size(), from + expected.size()) << trace.all();
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const TraceLine &line = trace.lines[from + i];
            EXPECT_EQ(line.text, std::string("(info): weak default handler tarnbase_") + type.name +
                                     "_record " + expected[i] + " handler called");
            EXPECT_EQ(line.level, KEL_TRACE_INFO);
            EXPECT_EQ(line.module_id, 0U);
        }
    }
};
TARN_EVERY_TABLE(TableEvents);

TEST_P(TableEvents, EachCallbackCallsTheDefaultHandlerWhichTracesIt) {
    for (const std::string &twin : twins) {
        for (const Event &event : all_events) {
            handle->last_error = EINVAL;
            const std::size_t from = trace.lines.size();
            callback(event, twin);
            expect_lines(event, from);
            EXPECT_EQ(handle->last_error, 0U) << event.name;
            EXPECT_EQ(err, 0U);
        }
    }
}

TEST_P(TableEvents, EnteredWithAnErrorACallbackCallsNoHandler) {
    const std::size_t from = trace.lines.size();
    handle->last_error = EINVAL;
    err = EIO;
    for (const std::string &twin : twins) {
        for (const Event &event : all_events) callback(event, twin);
    }
    EXPECT_EQ(trace.lines.size(), from) << trace.all();
    EXPECT_EQ(handle->last_error, EINVAL);
    expect_error(EIO);
}

TEST_P(TableEvents, ADefaultHandlerCalledDirectlyClearsTheError) {
    for (const Event &event : all_events) {
        const std::size_t from = trace.lines.size();
        handle->last_error = EINVAL;
        err = EIO;
        handler(event);
        EXPECT_EQ(err, 0U) << event.name;
        EXPECT_EQ(handle->last_error, EINVAL) << event.name;
        expect_lines(event, from);
    }
}

}  // namespace
}  // namespace tarn::test
