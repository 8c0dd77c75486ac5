// SPDX-License-Identifier: Apache-2.0
// Trace lines, module ids, and what belongs to a thread.
#include <atomic>
#include <thread>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

TEST(Trace, ALineReachesTheSinkWithModuleAndLevel) {
    TraceCapture trace;
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s %d", "number", 5);
    ptrail_wrapper(65535, KEL_TRACE_VERBOSE, 0, "(verbose): plain");
    ASSERT_EQ(trace.lines.size(), 2U);
    EXPECT_EQ(trace.lines[0].module_id, 0);
    EXPECT_EQ(trace.lines[0].level, KEL_TRACE_ERROR);
    EXPECT_EQ(trace.lines[0].text, "(ERR): number 5");
    EXPECT_EQ(trace.lines[1].module_id, 65535);
    EXPECT_EQ(trace.lines[1].text, "(verbose): plain");
}

TEST(Trace, TheDefaultSinkWritesLevelsZeroToThreeToStandardError) {
    kel_trace_set_sink(nullptr, nullptr);
    ::testing::internal::CaptureStderr();
    for (std::uint32_t level = 0; level <= 8; ++level) {
        ptrail_wrapper(0, level, 0, "level %u", level);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "level 0\nlevel 1\nlevel 2\nlevel 3\n");
}

TEST(Trace, ALongLineIsTruncated) {
    TraceCapture trace;
    const std::string text(5000, 'x');
    ptrail_wrapper(0, KEL_TRACE_INFO, 0, "%s", text.c_str());
    ASSERT_EQ(trace.lines.size(), 1U);
    EXPECT_EQ(trace.lines[0].text, std::string(1023, 'x'));
}

TEST(Trace, ASinkMayTraceAndSetAnotherSink) {
    static int calls;
    calls = 0;
    kel_trace_set_sink(
        [](void *, std::uint16_t, std::uint32_t, const char *) {
            ++calls;
            kel_trace_set_sink(
                [](void *, std::uint16_t, std::uint32_t, const char *) { calls += 10; }, nullptr);
            ptrail_wrapper(0, KEL_TRACE_INFO, 0, "from within");
        },
        nullptr);
    ptrail_wrapper(0, KEL_TRACE_INFO, 0, "line");
    kel_trace_set_sink(nullptr, nullptr);
    EXPECT_EQ(calls, 11);
}

TEST(Trace, AModuleNameHasOneId) {
    std::uint16_t first = 0;
    std::uint16_t again = 0;
    std::uint16_t other = 0;
    std::uint64_t states[3] = {};
    ptrail_module_init_fn("a trace module of the tests", &first, &states[0]);
    ptrail_module_init_fn("a trace module of the tests", &again, &states[1]);
    ptrail_module_init_fn("another trace module of the tests", &other, &states[2]);
    EXPECT_NE(first, 0);
    EXPECT_EQ(first, again);
    EXPECT_NE(other, first);
    EXPECT_NE(other, 0);
}

TEST(Trace, RegisteringAgainKeepsTheId) {
    std::uint16_t id = 0;
    std::uint64_t state = 0;
    ptrail_module_init_fn("a module that registers twice", &id, &state);
    const std::uint16_t first = id;
    EXPECT_NE(state, 0U);
    ptrail_module_init_fn("a module that registers twice", &id, &state);
    EXPECT_EQ(id, first);
}

TEST(Trace, ThreadsTraceAndRegisterTogether) {
    static std::atomic<int> lines;
    lines = 0;
    kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) { ++lines; },
                       nullptr);
    std::uint16_t ids[4] = {};
    std::vector<std::thread> threads;
    for (std::uint16_t &id : ids) {
        threads.emplace_back([&id] {
            for (int i = 0; i < 200; ++i) {
                std::uint64_t state = 0;
                ptrail_module_init_fn("a module of many threads", &id, &state);
                ptrail_wrapper(id, KEL_TRACE_DEBUG, 0, "line %d", i);
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    kel_trace_set_sink(nullptr, nullptr);
    EXPECT_EQ(lines, 800);
    for (const std::uint16_t id : ids) EXPECT_EQ(id, ids[0]);
}

TEST(ThreadContext, TenantAndCorrelationBelongToTheThread) {
    kel_thread_set_tenant(7);
    kel_thread_set_correlation(0x1122334455667788U, 3);
    std::uint16_t tenant = 99;
    std::uint64_t uuid = 99;
    std::uint8_t mark = 99;
    std::thread([&] {
        mt_get_tenant_id(&tenant);
        ptrail_get_radioactive_bit(&uuid, &mark);
    }).join();
    EXPECT_EQ(tenant, 0);
    EXPECT_EQ(uuid, 0U);
    EXPECT_EQ(mark, 0);
    mt_get_tenant_id(&tenant);
    ptrail_get_radioactive_bit(&uuid, &mark);
    EXPECT_EQ(tenant, 7);
    EXPECT_EQ(uuid, 0x1122334455667788U);
    EXPECT_EQ(mark, 3);
    kel_thread_set_tenant(0);
    kel_thread_set_correlation(0, 0);
    ptrail_get_radioactive_bit(&uuid, &mark);
    EXPECT_EQ(uuid, 0U);
}

}  // namespace
}  // namespace tarn::test
