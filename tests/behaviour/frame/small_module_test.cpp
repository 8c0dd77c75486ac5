// SPDX-License-Identifier: Apache-2.0
// The module frame with a module of three items and one table: cases that no whole schema
// has, such as an item without variants or a copy that fails.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "frame/conventions.h"
#include "frame/schema.h"
#include "frame/startup.h"
#include "tarnbase/runtime.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"
#include "tests/support/trace.h"

namespace {

kel_variant_usage two_usages[2] = {{0, 10, 6, 0, 0, 0}, {1, 20, 12, 0, 0, 0}};
kel_variant_info two_variants = {2, two_usages};
kel_variant_usage one_usage = {1, 8, 0, 0, 0, 0};
kel_variant_info one_variant = {1, &one_usage};

const kel_type_info first = {KEL_TYPE_INFO_MAGIC, {1},           "first",
                             "st_first",          "small",       "type",
                             KEL_TYPE_SLOT_NONE,  &two_variants, 0};
const kel_type_info hollow = {KEL_TYPE_INFO_MAGIC, {2},     "hollow", "st_hollow", "small", "type",
                              KEL_TYPE_SLOT_NONE,  nullptr, 0};
const kel_type_info last = {KEL_TYPE_INFO_MAGIC, {3},          "last", "tbl_last", "small", "table",
                            KEL_TYPE_SLOT_NONE,  &one_variant, 0};

const std::uint8_t table_luid[16] = {3};
tarnbase::Table only_table = [] {
    tarnbase::Table table = {};
    table.luid = table_luid;
    return table;
}();
const tarnbase::Table *const tables[] = {&only_table};

}  // namespace

const kel_type_info *const tarnbase_type_list[] = {&first, &hollow, &last, nullptr};
const void *tarnbase_table_lut[1][KEL_TABLE_VFT_SLOTS] = {};

namespace tarnbase {

const Module module = {"small", tarnbase_type_list, nullptr, 0, nullptr, 0, tables, 1};
const void *const source_vectors[][KEL_TABLE_VFT_SLOTS] = {{table_luid, "table tbl_last"}};

}  // namespace tarnbase

namespace tarn::test {
namespace {

using namespace tarnbase;

class SmallModule : public PlainTest {
 protected:
    // What was brought up to date so far: the copy, the constant one, whether it is new.
    using Updates = std::vector<std::vector<std::uint64_t>>;
    Updates updates() const {
        Updates found;
        for (const ServiceCall &call : services.calls("kel_update_variant_info")) {
            found.push_back(call.arguments_in(2, 5));
        }
        return found;
    }
    void SetUp() override {
        services.replace(kel_update_variant_info, [](auto...) {});
        services.replace(table_vft_cpy, [](auto...) { return 7U; });
    }
    ServiceRecorder services{handle};
};

TEST_F(SmallModule, IsLinkedOnceAndNotAgainAfterItWasUnlinked) {
    kel_module_list &list = kel_module_tot_root;
    ASSERT_EQ(list.count, 1U);
    start();
    EXPECT_EQ(list.count, 1U);
    EXPECT_EQ(list.first, &module_record);
    EXPECT_EQ(module_record.link_next, nullptr);
    EXPECT_EQ(module_record.link_prev, &list.first);

    stop();
    EXPECT_EQ(list.count, 0U);
    EXPECT_EQ(module_record.link_prev, nullptr);
    // Unlinking a record that isn't linked doesn't change the list's head.
    kel_module_record *const *const untouched = &module_record.link_next;
    list.last = &module_record.link_next;
    list.count = 7;
    stop();
    EXPECT_EQ(list.count, 7U);
    EXPECT_EQ(list.last, untouched);
    list = {0, nullptr, &list.first};
    start();
    EXPECT_EQ(list.count, 0U);
    EXPECT_EQ(list.first, nullptr);
}

TEST_F(SmallModule, AnItemWithoutVariantsIsCopiedButNotUpdated) {
    handle->store_types_enabled = 5;
    HookRecorder hooks(handle);
    tarnbase_typeinfo_initialize(handle, 9, &err);
    EXPECT_EQ(err, 0U);
    const auto inserts = hooks.of(Hook::type_map_insert);
    ASSERT_EQ(inserts.size(), 3U);
    const kel_type_info *const items[] = {&first, &hollow, &last};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto *copy = static_cast<const kel_type_info_copy *>(inserts[i].address);
        kel_type_info expected = *items[i];
        expected.store_private = 5;
        EXPECT_EQ(std::memcmp(&copy->info, &expected, sizeof expected), 0) << i;
        EXPECT_EQ(copy->store_word_1, 0U);
        EXPECT_EQ(copy->store_word_2, 0U);
    }
    EXPECT_EQ(updates(),
              (Updates{words(inserts[0].address, &first, 1), words(inserts[2].address, &last, 1)}));
}

TEST_F(SmallModule, EachItemIsLookedUpAllocatedEnteredAndUpdated) {
    HookRecorder hooks(handle);
    tarnbase_typeinfo_initialize(handle, 9, &err);
    const Hook round[] = {Hook::type_map_lookup, Hook::type_alloc, Hook::type_map_insert};
    ASSERT_EQ(hooks.events.size(), 9U);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(hooks.events[i].hook, round[i % 3]) << i;
        EXPECT_EQ(hooks.events[i].tx_id, i % 3 == 1 ? KEL_TX_NONE : 9U) << i;
    }
    for (const HookEvent &each : hooks.of(Hook::type_alloc)) {
        EXPECT_EQ(each.length, sizeof(kel_type_info_copy));
    }
}

// A copy that another module has made keeps its place.
TEST_F(SmallModule, AKnownIdentityKeepsItsCopy) {
    kel_type_info_copy there = {};
    there.info = first;
    there.store_word_1 = 4;
    handle->type_map_insert_hook(handle->type_map, KEL_TX_NONE, there.info.luid_text, &there);
    tarnbase_typeinfo_initialize(handle, 9, &err);
    ASSERT_EQ(updates().size(), 2U);
    EXPECT_EQ(updates()[0], words(&there, &first, 0));
    EXPECT_EQ(updates()[1].at(2), 1U) << "new";
    EXPECT_EQ(there.store_word_1, 4U);
    EXPECT_EQ(there.info.store_private, 0U);
}

TEST_F(SmallModule, TheFirstCopyWithoutMemoryStopsTheWorkAndKeepsTheOthers) {
    handle->store_types_enabled = 1;
    kel_store_fail_allocation(session.store(), 3);  // a copy's map entry takes one too
    tarnbase_typeinfo_initialize(handle, KEL_TX_NONE, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    ASSERT_EQ(updates().size(), 1U);
    const std::uint64_t entered = updates()[0].at(0);
    services.clear();
    err = 0;
    tarnbase_typeinfo_initialize(handle, KEL_TX_NONE, &err);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(updates().size(), 2U);
    EXPECT_EQ(updates()[0], words(entered, &first, 0));
    EXPECT_EQ(updates()[1].at(2), 1U) << "new";
}

std::vector<std::string> dumped;

void keep_line(const char *format, ...) {
    char line[128];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    dumped.emplace_back(line);
}

TEST_F(SmallModule, TheDumpTracesAnItemWithoutVariantsAndContinues) {
    kel_tarnbase_type_trace_init();
    const TraceCapture trace;
    dumped.clear();
    tarnbase_type_variant_dump(&keep_line);
    EXPECT_EQ(dumped, (std::vector<std::string>{
                          "n_variants 2\n", "variant 0 used length 10 alloc slop 6\n",
                          "variant 1 used length 20 alloc slop 12\n", "n_variants 1\n",
                          "variant 0 used length 8 alloc slop 0\n"}));
    ASSERT_EQ(trace.lines.size(), 1U);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): type variant cached info is NULL during usage dump"));
    EXPECT_EQ(trace.lines[0].module_id, g_kel_tarnbase_type_trace_module_id);
}

TEST_F(SmallModule, ADirectoryThatCouldNotBeCopiedIsSearchedAndNotCopiedAgain) {
    g_kel_tarnbase_table_trace_module_id = 0;
    TraceCapture trace;
    const void *const *vector = nullptr;
    err = EIO;
    tarnbase_table_get_vft(handle, 9, table_luid, &vector, &err);
    EXPECT_TRUE(trace.has(KEL_TRACE_DEBUG,
                          "(debug): Error already set when requesting tarnbase table vft"));
    EXPECT_EQ(services.count("table_vft_cpy"), 0U);
    trace.lines.clear();

    err = 0;
    handle->last_error = EINVAL;
    tarnbase_table_get_vft(handle, 9, table_luid, &vector, &err);
    EXPECT_EQ(services.calls("table_vft_cpy").at(0).arguments,
              words(&tarnbase_table_lut, &source_vectors, 1));
    EXPECT_EQ(err, E2BIG);
    EXPECT_EQ(handle->last_error, E2BIG);
    EXPECT_EQ(vector, &tarnbase_table_lut[0][0]);
    ASSERT_EQ(trace.lines.size(), 1U);
    EXPECT_TRUE(trace.has(KEL_TRACE_DEBUG, "(debug): Initializing table vft for small"));
    EXPECT_EQ(trace.lines[0].module_id, 0U);  // which is not registered

    err = 0;
    handle->last_error = EINVAL;
    tarnbase_table_get_vft(handle, 9, table_luid, &vector, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(tarnbase_table_vft_init(), 0U);
    EXPECT_EQ(services.count("table_vft_cpy"), 1U);
    EXPECT_EQ(trace.lines.size(), 1U);
}

TEST_F(SmallModule, RegisteringTheTraceModuleOfTypesAgainReturnsTheSameId) {
    kel_tarnbase_type_trace_init();
    const std::uint16_t id = g_kel_tarnbase_type_trace_module_id;
    EXPECT_NE(id, 0U);
    kel_tarnbase_type_trace_init();
    EXPECT_EQ(g_kel_tarnbase_type_trace_module_id, id);
}

TEST_F(SmallModule, AUsageRecordIsThatOfItsVariantAndAMissingOneIsTraced) {
    g_kel_tarnbase_table_trace_module_id = 31;
    TraceCapture trace;
    EXPECT_EQ(&usage_record(&first, 1, 1, TraceModule::type), &two_usages[1]);
    EXPECT_EQ(&usage_record(&first, 2, 0, TraceModule::type), &two_usages[0]);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
    EXPECT_EQ(&usage_record(&first, 3, 1, TraceModule::table), &two_usages[1]);
    ASSERT_EQ(trace.lines.size(), 1U);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, "(info): variant 3 requested only 2 variants present"));
    EXPECT_EQ(trace.lines[0].module_id, 31U);
    two_variants.variant_count = -1;
    EXPECT_EQ(&usage_record(&first, 0, 0, TraceModule::type), &two_usages[0]);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_INFO, "(info): variant 0 requested only 4294967295 variants present"));
    two_variants.variant_count = 2;
    g_kel_tarnbase_table_trace_module_id = 0;
}

TEST_F(SmallModule, ACounterIsAnnouncedBeforeItChanges) {
    HookRecorder hooks(handle);
    std::uint64_t counter = 40;
    logged_count({handle, 9}, &first, counter, 1);
    logged_count({handle, 9}, &first, counter, -1);
    ASSERT_EQ(hooks.events.size(), 2U);
    EXPECT_EQ(hooks.events[0].address, &counter);
    EXPECT_EQ(hooks.events[0].delta, 1);
    EXPECT_EQ(hooks.events[0].counter_before, 40U);
    EXPECT_EQ(hooks.events[0].tx_id, 9U);
    EXPECT_EQ(hooks.events[1].delta, -1);
    EXPECT_EQ(hooks.events[1].counter_before, 41U);
    EXPECT_EQ(counter, 40U);
}

// Threads, each with its own handle, share the constant descriptors.
TEST_F(SmallModule, CountersOfAConstantDescriptorLoseNothingBetweenThreads) {
    constexpr std::uint32_t rounds = 200000;
    std::uint64_t counter = 0;
    const auto work = [&] {
        for (std::uint32_t i = 0; i < rounds; ++i) count(&first, counter, i % 4 == 3 ? -1 : 1);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (std::thread &each : threads) each.join();
    EXPECT_EQ(counter, 4U * rounds / 2);
}

TEST_F(SmallModule, TrackingIsOnInOneModeOnly) {
    EXPECT_FALSE(tracking_is_on(handle));
    kel_state_tracking mode = {56797};
    handle->state_tracking = &mode;
    EXPECT_FALSE(tracking_is_on(handle));
    mode.state_tracking_mode = 61166;
    EXPECT_TRUE(tracking_is_on(handle));
    handle->state_tracking = nullptr;
}

// Other builds of the runtime and of the library depend on the offsets and widths.
TEST(FrameLayout, OfAHandleHasItsMembersInOrder) {
    const std::size_t offsets[] = {offsetof(kel_handle, type_alloc_hook),
                                   offsetof(kel_handle, alloc_hook),
                                   offsetof(kel_handle, free_hook),
                                   offsetof(kel_handle, write_log_hook),
                                   offsetof(kel_handle, delta_log_hook),
                                   offsetof(kel_handle, type_map_insert_hook),
                                   offsetof(kel_handle, type_map_lookup_hook),
                                   offsetof(kel_handle, store_types_enabled),
                                   offsetof(kel_handle, arena),
                                   offsetof(kel_handle, type_map),
                                   offsetof(kel_handle, type_arena),
                                   offsetof(kel_handle, replication_engine_active),
                                   offsetof(kel_handle, header_stamp),
                                   offsetof(kel_handle, variant_domain),
                                   offsetof(kel_handle, last_error),
                                   offsetof(kel_handle, cr_tx_id),
                                   offsetof(kel_handle, cr_fallback_enabled),
                                   offsetof(kel_handle, state_tracking),
                                   offsetof(kel_handle, hd_mapping_enabled)};
    const std::size_t expected[] = {0,  8,  16, 24, 32,  40,  48,  56,  64, 72,
                                    80, 88, 92, 96, 112, 116, 120, 128, 136};
    for (std::size_t i = 0; i < std::size(offsets); ++i) EXPECT_EQ(offsets[i], expected[i]) << i;
    EXPECT_EQ(sizeof(kel_handle::hd_mapping_enabled), sizeof(void *));
}

TEST(FrameLayout, OfADescriptorHasItsMembersInOrderAndACopyHasTwoMoreWords) {
    EXPECT_EQ(offsetof(kel_type_info, magic), 0U);
    EXPECT_EQ(offsetof(kel_type_info, luid), 4U);
    EXPECT_EQ(offsetof(kel_type_info, luid_text), 20U);
    EXPECT_EQ(offsetof(kel_type_info, name), 53U);
    EXPECT_EQ(offsetof(kel_type_info, module_name), 117U);
    EXPECT_EQ(offsetof(kel_type_info, kind), 181U);
    EXPECT_EQ(offsetof(kel_type_info, type_slot), 248U);
    EXPECT_EQ(offsetof(kel_type_info, variant_info), 256U);
    EXPECT_EQ(offsetof(kel_type_info, store_private), 264U);
    EXPECT_EQ(offsetof(kel_type_info_copy, store_word_1), 272U);
    EXPECT_EQ(offsetof(kel_type_info_copy, store_word_2), 280U);
    EXPECT_EQ(sizeof(kel_type_info_copy), 288U);
    EXPECT_EQ(offsetof(kel_variant_info, variants), 8U);
    EXPECT_EQ(sizeof(kel_variant_info::variant_count), 1U);
    EXPECT_EQ(offsetof(kel_variant_usage, used_length), 4U);
    EXPECT_EQ(offsetof(kel_variant_usage, alloc_slop), 8U);
    EXPECT_EQ(offsetof(kel_variant_usage, created), 16U);
    EXPECT_EQ(offsetof(kel_variant_usage, destroyed), 24U);
    EXPECT_EQ(offsetof(kel_variant_usage, live), 32U);
}

using SmallModuleDeathTest = SmallModule;

TEST_F(SmallModuleDeathTest, AnyOtherTrackingModeIsFatal) {
    for (const std::uint32_t word : {0U, 1U, 0xdddcU, 0xddddeeeeU, 0xffffffffU}) {
        kel_state_tracking mode = {word};
        handle->state_tracking = &mode;
        EXPECT_EXIT(tracking_is_on(handle), ::testing::KilledBySignal(SIGABRT),
                    "\\(FATAL\\): Corrupted KEL Handle");
    }
    handle->state_tracking = nullptr;
}

TEST_F(SmallModuleDeathTest, AnInvalidDescriptorIsFatal) {
    kel_type_info other = first;
    other.magic = 0xbeeff00c;
    for (const kel_type_info *each : {static_cast<const kel_type_info *>(nullptr),
                                      static_cast<const kel_type_info *>(&other)}) {
        for (const TraceModule trace_module : {TraceModule::type, TraceModule::table}) {
            EXPECT_EXIT(require_descriptor(each, trace_module), ::testing::KilledBySignal(SIGABRT),
                        "\\(FATAL\\): tinfo is null or corrupted");
        }
    }
    require_descriptor(&first, TraceModule::type);
}

TEST_F(SmallModuleDeathTest, CountingWithoutVariantsIsFatal) {
    EXPECT_EXIT(usage_record(&hollow, 0, 0, TraceModule::type), ::testing::KilledBySignal(SIGABRT),
                "\\(FATAL\\): varinfo is NULL");
    EXPECT_EXIT(usage_record(&hollow, 0, 0, TraceModule::table), ::testing::KilledBySignal(SIGABRT),
                "\\(FATAL\\): varinfo is NULL");
}

}  // namespace
}  // namespace tarn::test
