// SPDX-License-Identifier: Apache-2.0
// Which bytes of each structure's block are announced, in which order, before they
// are stored.
#include <algorithm>

#include "tests/behaviour/every/objects.h"
#include "tests/support/watch.h"

namespace tarn::test {
namespace {

// One hook call about an object's own bytes or about a structure's counters.
struct Step {
    char what = 'w';  // w: write_log, d: delta_log, f: free
    const void *address = nullptr;
    std::int64_t size = 0;  // of the bytes; the delta
    std::vector<u8> before = {};

    bool operator==(const Step &) const = default;
};

void PrintTo(const Step &step, std::ostream *out) {
    *out << step.what << ' ' << step.address << ' ' << step.size << " before";
    for (const u8 byte : step.before) *out << ' ' << u32{byte};
}

class StructureHooks : public StructureTest {
 protected:
    void SetUp() override { ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U); }
    void TearDown() override {
        ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
        StructureTest::TearDown();
    }

    void add_deltas(const void *object, u64 kel_variant_usage::*first,
                    std::int64_t live_delta) const {
        steps.push_back({'d', &(usage_of(object).*first), 1});
        steps.push_back({'d', &usage_of(object).live, live_delta});
    }
    // The stores that initialise memory as an object, whose flags were `flags` before.
    void add_header(void *object, u8 flags, u8 added, bool tracked) const {
        kel_object *header = head(object);
        steps.push_back({'w', &header->created_variant, 1, {0}});
        steps.push_back({'w', &header->variant, 1, {0}});
        steps.push_back({'w', &header->descriptor, 8, std::vector<u8>(8)});
        steps.push_back({'w', &header->flags, 1, {flags}});
        const auto joined = static_cast<u8>(flags | added);
        if (tracked) steps.push_back({'w', &header->flags, 1, {joined}});
    }
    // The service that records a field's distance from its state sets its flag.
    void add_places(const Structure &of, void *object) const {
        for (const Field &field : fields_of(of)) {
            if (!owns_state(field.kind)) continue;
            void *place = at(object, field.offset);
            steps.push_back({'w', &head(place)->flags, 1, {0}});
            if (field.structure != nullptr) add_places(*field.structure, place);
        }
    }
    void add_creation(const Structure &of, void *object, u8 flags, u8 added) const {
        add_header(object, flags, added, tracking);
        add_deltas(object, &kel_variant_usage::created, 1);
        if (tracking && added == 0) add_places(of, object);
        for (const Field &field : fields_of(of)) {
            if (field.descriptor == nullptr) continue;
            void *place = at(object, field.offset);
            const bool sharing = tracking && owns_state(field.kind);
            const u8 before = sharing ? OBJ_STATE_ELSEWHERE : 0;
            if (field.structure != nullptr) {
                add_creation(*field.structure, place, before, OBJ_NESTED);
            } else {
                add_header(place, before, OBJ_NESTED, sharing);
            }
        }
    }
    void add_marking(const Structure &of, void *object) const {
        for (const Field &field : fields_of(of)) {
            if (field.descriptor == nullptr) continue;
            void *place = at(object, field.offset);
            if (field.structure != nullptr) {
                add_marking(*field.structure, place);
            } else {
                steps.push_back({'w', &head(place)->flags, 1, {head(place)->flags}});
            }
        }
        steps.push_back({'w', &head(object)->flags, 1, {head(object)->flags}});
    }
    // The service that removes a field's distance clears its flag.
    void add_destruction(const Structure &of, void *object) const {
        for (const Field &field : fields_of(of)) {
            void *place = at(object, field.offset);
            if (field.structure != nullptr) {
                add_destruction(*field.structure, place);
            } else if (tracking && owns_state(field.kind)) {
                add_hd_removal(place);
            }
        }
        add_deltas(object, &kel_variant_usage::destroyed, -1);
        if ((head(object)->flags & OBJ_STATE_ELSEWHERE) != 0) add_hd_removal(object);
    }
    void add_hd_removal(const void *object) const {
        steps.push_back({'w', &head(object)->flags, 1, {head(object)->flags}});
    }

    // The calls about the object's bytes, its block, and the counters of its type
    // and of those nested in it.
    std::vector<Step> made(const HookRecorder &hooks, const void *object) const {
        std::vector<Step> found;
        for (const HookEvent &event : hooks.events) {
            if (event.hook != Hook::alloc && event.hook != Hook::type_alloc &&
                event.hook != Hook::type_map_insert && event.hook != Hook::type_map_lookup) {
                EXPECT_EQ(event.tx_id, tx);
            }
            const auto size = static_cast<std::int64_t>(event.length);
            if (event.hook == Hook::write_log && is_inside(event, object)) {
                found.push_back({'w', event.address, size, event.before});
            } else if (event.hook == Hook::delta_log && is_counted(event.address)) {
                found.push_back({'d', event.address, event.delta});
            } else if (event.hook == Hook::free && event.address == object) {
                found.push_back({'f', event.address});
            }
        }
        return found;
    }
    bool is_inside(const HookEvent &event, const void *object) const {
        const auto *first = static_cast<const u8 *>(event.address);
        return first >= at(object, 0) && first < at(object, type.plain_size + type.state_length);
    }
    bool is_counted(const void *address) const {
        return std::any_of(steps.begin(), steps.end(),
                           [&](const Step &step) { return step.address == address; });
    }

    u32 tx = 0;
    mutable std::vector<Step> steps;
};
TARN_EACH_STRUCTURE(StructureHooks);

TEST_P(StructureHooks, CreationAnnouncesEveryHeaderStoreAndCountInItsOrder) {
    const Typed within(type, handle, tx);
    HookRecorder hooks(handle);
    hooks.fill_allocations(true);
    void *object = within.create();
    add_creation(type, object, 0, 0);
    EXPECT_EQ(made(hooks, object), steps);
    ASSERT_EQ(hooks.of(Hook::alloc).front().address, object);
    EXPECT_EQ(hooks.of(Hook::alloc).front().length, typed.cr<u32>("sizeof", {}));
    within.destroy(object);
}

TEST_P(StructureHooks, MarkingAsEmbeddedAnnouncesOneBytePerObjectFieldsFirst) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    add_marking(type, object);
    HookRecorder hooks(handle);
    within("set_instance_embedded", {object});
    EXPECT_EQ(made(hooks, object), steps);
    within.destroy(object);
}

TEST_P(StructureHooks, DestructionCountsFieldsFirstClearsTheDescriptorAndFrees) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    const auto *descriptor = reinterpret_cast<const u8 *>(&head(object)->descriptor);
    add_destruction(type, object);
    steps.push_back({'w', descriptor, 8, std::vector<u8>(descriptor, descriptor + 8)});
    steps.push_back({'f', object});
    HookRecorder hooks(handle);
    within.destroy(object);
    EXPECT_EQ(made(hooks, object), steps);
    EXPECT_EQ(head(object)->descriptor, nullptr);
}

TEST_P(StructureHooks, AnInnerDestructionOnlyCounts) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    add_destruction(type, object);
    {
        HookRecorder hooks(handle);
        within("destroy_internal", {object, 0});
        EXPECT_EQ(made(hooks, object), steps);
    }
    EXPECT_NE(head(object)->descriptor, nullptr);
    handle->free_hook(handle->arena, tx, object);
}

TEST_P(StructureHooks, AValuesWriteAnnouncesTheValueThenItsFlagByte) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    within.fill(object, 1);
    typed("set_all_state_tracking_flag", {object, 9});
    const u32 size = typed.cr<u32>("sizeof", {});
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        SCOPED_TRACE(field.name);
        // The value of a boolean or an enumeration is after its header.
        const u32 place = field.offset + (field.descriptor != nullptr ? 12 : 0);
        const u64 width = plain_width(field.kind);
        const std::vector<u8> before(at(object, place), at(object, place) + width);
        Watch watch(handle, object, size);
        within.fill_field(object, field, 2);
        const auto writes = watch.writes();
        ASSERT_EQ(writes.size(), tracking ? 2U : 1U);
        EXPECT_EQ(writes[0].address, at(object, place));
        EXPECT_EQ(writes[0].length, width);
        EXPECT_EQ(writes[0].before, before);
        if (tracking) {
            EXPECT_EQ(writes[1].address, at(object, type.plain_size + field.state));
            EXPECT_EQ(writes[1].length, 1U);
            EXPECT_EQ(writes[1].before, std::vector<u8>{9});
        }
    }
    within.destroy(object);
}

TEST_P(StructureHooks, AWriteFromASourceIsLimitedToItsFieldAndAnnouncesTheFlagByteLast) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    void *other = within.create();
    within.fill(object, 1);
    within.fill(other, 2);
    typed("set_all_state_tracking_flag", {object, 9});
    const u32 size = typed.cr<u32>("sizeof", {});
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        SCOPED_TRACE(field.name);
        void *source = within.operator()<void *>(std::string(field.name) + "_get", {other, &err});
        // The state block of a nested object is copied unannounced.
        std::vector<u8> block(at(object, type.plain_size), at(object, size));
        Watch watch(handle, object, type.plain_size);
        within(std::string(field.name) + "_set", {object, source, &err});
        EXPECT_EQ(watch.unannounced(), std::vector<u32>());
        for (const HookEvent &event : watch.writes()) {
            EXPECT_GE(event.address, at(object, field.offset));
            EXPECT_LT(event.address, at(object, end_of(type, field)));
        }
        const auto flags = watch.hooks().writes_in(at(object, type.plain_size), type.state_length);
        if (!tracking) {
            EXPECT_TRUE(flags.empty());
            continue;
        }
        ASSERT_EQ(flags.size(), 1U);
        EXPECT_EQ(flags[0].address, at(object, type.plain_size + field.state));
        EXPECT_EQ(flags[0].before, std::vector<u8>{9});
        EXPECT_EQ(watch.hooks().of(Hook::write_log).back().address, flags[0].address);
        if (field.structure != nullptr) continue;
        block[field.state] = 2;
        EXPECT_EQ(std::vector<u8>(at(object, type.plain_size), at(object, size)), block);
        at(object, type.plain_size)[field.state] = 9;
    }
    within.destroy(object);
    within.destroy(other);
}

TEST_P(StructureHooks, SettingAFlagAnnouncesOnlyItsByte) {
    if (!tracking) return;
    const Typed within(type, handle, tx);
    void *object = within.create();
    typed("set_all_state_tracking_flag", {object, 9});
    for (const Field &field : fields_of(type)) {
        const std::string whole = field.kind == FieldKind::array ? "_whole" : "";
        HookRecorder hooks(handle);
        within(std::string(field.name) + "_state_flag" + whole + "_set", {object, 4, &err});
        ASSERT_EQ(hooks.events.size(), 1U) << field.name;
        EXPECT_EQ(hooks.events[0].address, at(object, type.plain_size + field.state));
        EXPECT_EQ(hooks.events[0].length, 1U);
        EXPECT_EQ(hooks.events[0].before, std::vector<u8>{9});
    }
    within.destroy(object);
}

}  // namespace
}  // namespace tarn::test
