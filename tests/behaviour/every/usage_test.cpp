// SPDX-License-Identifier: Apache-2.0
// The descriptor that an item gets, and its counters that change when something is
// created and destroyed.
#include <algorithm>

#include "tests/behaviour/every/convention.h"

namespace tarn::test {
namespace {

// A counter of a variant, and by how much it changed.
struct Change {
    const u64 *counter;
    std::int32_t delta;
    bool operator==(const Change &) const = default;
};

class Usage : public ItemTest {
 protected:
    const bool has_copies = GetParam().mode == Mode::store_types;

    const kel_type_info *constant(const std::string &symbol_name) const {
        return static_cast<const kel_type_info *>(
            symbol("_" + symbol_name + "_type_info_internal"));
    }
    // The descriptor that an item in a store gets for a constant one.
    void expect_chosen(const kel_type_info *chosen, const kel_type_info *from) const {
        ASSERT_NE(chosen, nullptr);
        EXPECT_EQ(chosen == from, !has_copies);
        EXPECT_EQ(chosen->store_private, has_copies ? 1U : 0U);
        EXPECT_STREQ(chosen->luid_text, from->luid_text);
        EXPECT_STREQ(chosen->name, from->name);
    }
    static std::vector<Change> announced(const HookRecorder &hooks) {
        std::vector<Change> changes;
        for (const HookEvent &each : hooks.of(Hook::delta_log)) {
            const auto *counter = static_cast<const u64 *>(each.address);
            changes.push_back({counter, each.delta});
        }
        return changes;
    }
    bool is_table() const { return item.compare(0, 4, "tbl_") == 0; }
    bool is_enumeration() const {
        const auto &all = all_enumerations();
        return std::any_of(all.begin(), all.end(),
                           [&](const Enumeration *each) { return each->name == item; });
    }
};
TARN_EVERY_ITEM(Usage, Mode::plain, Mode::tracking, Mode::store_types);

TEST_P(Usage, ATypesCountersAreAnnouncedAndChangedInItsOwnDescriptor) {
    if (is_table()) return;  // see below
    CallContext context(item, GetParam().mode);
    kel_handle *const handle = context.handle;
    void *first = call<void *>(item + "_create", {handle, KEL_TX_NONE});
    expect_chosen(head(first)->descriptor, constant(item));
    const kel_variant_info &info = *head(first)->descriptor->variant_info;
    kel_variant_usage &usage = info.variants[info.variant_count - 1];
    const kel_variant_usage before = usage;
    const u64 live = is_enumeration() ? 0 : 1;

    HookRecorder hooks(handle);
    void *object = call<void *>(item + "_create", {handle, KEL_TX_NONE});
    std::vector<Change> made = announced(hooks);
    std::erase_if(made, [&](const Change &each) {
        return each.counter != &usage.created && each.counter != &usage.live;
    });
    std::vector<Change> expected = {{&usage.created, 1}};
    if (live != 0) expected.push_back({&usage.live, 1});
    EXPECT_EQ(made, expected);
    EXPECT_EQ(usage.created, before.created + 1);
    EXPECT_EQ(usage.live, before.live + live);
    EXPECT_EQ(usage.destroyed, before.destroyed);

    hooks.clear();
    call(item + "_destroy", {handle, KEL_TX_NONE, object});
    std::vector<Change> ended = announced(hooks);
    std::erase_if(ended, [&](const Change &each) {
        return each.counter != &usage.destroyed && each.counter != &usage.live;
    });
    expected = {{&usage.destroyed, 1}};
    if (live != 0) expected.push_back({&usage.live, -1});
    EXPECT_EQ(ended, expected);
    EXPECT_EQ(usage.destroyed, before.destroyed + 1);
    EXPECT_EQ(usage.live, before.live);
    EXPECT_EQ(usage.created, before.created + 1);
}

TEST_P(Usage, ATablesCountersChangeUnannouncedAndARecordsAnnounced) {
    if (!is_table()) return;
    CallContext context(item, GetParam().mode);
    kel_handle *const handle = context.handle;
    const u32 tx = KEL_TX_NONE;
    expect_chosen(context.table->descriptor, constant(item + "_table"));
    expect_chosen(context.record->descriptor, constant(item + "_table_record"));
    kel_variant_usage &tables = context.table->descriptor->variant_info->variants[0];
    kel_variant_usage &records = context.record->descriptor->variant_info->variants[0];
    const kel_variant_usage tables_before = tables;
    const kel_variant_usage records_before = records;

    HookRecorder hooks(handle);
    auto *table = call<kel_table *>(item + "_table_open", {handle, tx, "other", 0, &context.err});
    call(item + "_table_free", {handle, tx, table, &context.err});
    EXPECT_EQ(announced(hooks), std::vector<Change>{});
    EXPECT_EQ(tables.created, tables_before.created + 1);
    EXPECT_EQ(tables.destroyed, tables_before.destroyed + 1);
    EXPECT_EQ(tables.live, tables_before.live);

    auto *record = call<kel_record *>(item + "_create_record", {handle, tx, &context.err});
    call(item + "_destroy_record", {handle, tx, record, &context.err});
    EXPECT_EQ(announced(hooks),
              (std::vector<Change>{{&records.created, 1}, {&records.destroyed, 1}}));
    EXPECT_EQ(records.created, records_before.created + 1);
    EXPECT_EQ(records.destroyed, records_before.destroyed + 1);
    EXPECT_EQ(records.live, records_before.live);
    EXPECT_EQ(context.err, 0U);
}

TEST_P(Usage, OnlyAHandleOfPerStoreDescriptorsCallsTheTypeHooks) {
    CallContext context(item, GetParam().mode);
    u32 calls = 0;
    for (const Prototype &each : functions) {
        if (!each.returns_pointer() || !each.takes("tx_id")) continue;
        const std::vector<Word> arguments = context.arguments(each);
        HookRecorder hooks(context.handle);
        context.err = 0;
        CallContext::invoke(each, arguments);
        for (const HookEvent &event : hooks.events) {
            const bool of_types = event.hook == Hook::type_alloc ||
                                  event.hook == Hook::type_map_insert ||
                                  event.hook == Hook::type_map_lookup;
            EXPECT_FALSE(of_types && !has_copies) << each.name;
            calls += of_types ? 1 : 0;
        }
    }
    EXPECT_TRUE(has_copies || calls == 0);
}

}  // namespace
}  // namespace tarn::test
