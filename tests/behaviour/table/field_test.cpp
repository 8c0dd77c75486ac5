// SPDX-License-Identifier: Apache-2.0
// The object slots of a record. A record owns an object that is attached to it.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

u8 flags_of(const void *object) { return static_cast<const kel_object *>(object)->flags; }

// The slot of the value object or, with a key structure, of the key object.
struct SlotUnderTest {
    const Slot *slot;
    void *&(*place)(kel_record *);
};

class Fields : public TableTest {
 protected:
    std::vector<SlotUnderTest> slots() {
        std::vector<SlotUnderTest> all;
        all.push_back({&s.object, [](kel_record *r) -> void *& { return r->object; }});
        if (s.has_key_object()) {
            all.push_back({&s.key_object, [](kel_record *r) -> void *& { return r->key_object; }});
        }
        return all;
    }
    kel_record *empty() { return s.plain.create_record(handle, tx, &err); }
};
TARN_EACH_TABLE_AND_MODE(Fields);

constexpr char refusal[] =
    "(ERR): Object is either nested or already embedded. Cannot set such objects into the record";
constexpr char free_refusal[] =
    "(ERR): Object is either nested or already embedded in a record. Cannot set such objects into "
    "the record";

TEST_P(Fields, AreNullUntilAnObjectIsAttached) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        EXPECT_EQ(slot.slot->get(handle, tx, record), nullptr);
        void *object = slot.slot->type->create(handle, tx);
        begin();
        HookRecorder hooks(handle);
        slot.slot->set(handle, tx, record, object);
        EXPECT_EQ(slot.slot->get(handle, tx, record), object);
        EXPECT_NE(flags_of(object) & OBJ_EMBEDDED, 0);
        ASSERT_FALSE(hooks.events.empty());
        EXPECT_EQ(hooks.events[0].hook, Hook::write_log);
        EXPECT_EQ(hooks.events[0].address, &slot.place(record));
        EXPECT_EQ(hooks.events[0].length, 8U);
        EXPECT_EQ(hooks.events[0].before, std::vector<u8>(8, 0));
        EXPECT_EQ(hooks.events[0].tx_id, tx);
        // The object's flags are announced last, before the mark is set.
        const HookEvent &mark = hooks.events.back();
        EXPECT_EQ(mark.hook, Hook::write_log);
        EXPECT_EQ(mark.address, &static_cast<kel_object *>(object)->flags);
        ASSERT_EQ(mark.length, 1U);
        EXPECT_EQ(mark.before[0], flags_of(object) & ~OBJ_EMBEDDED);
        for (const HookEvent &event : hooks.events) EXPECT_EQ(event.tx_id, tx);
        EXPECT_EQ(handle->last_error, 0U);
        commit();
        destroy(record);
    }
    EXPECT_EQ(services.calls("kellib_validate_object_flags").at(0).arguments_in(1, 3),
              (std::vector<u64>{1, 1}));
}

TEST_P(Fields, RefuseAnObjectThatIsInARecord) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        kel_record *other = empty();
        void *object = slot.slot->type->create(handle, tx);
        void *kept = slot.slot->type->create(handle, tx);
        slot.slot->set(handle, tx, record, object);
        slot.slot->set(handle, tx, other, kept);
        TraceCapture trace;
        HookRecorder hooks(handle);
        slot.slot->set(handle, tx, other, object);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, refusal), 1U) << trace.all();
        EXPECT_NE(handle->last_error, 0U);
        EXPECT_EQ(slot.place(other), kept);
        kel_clear_last_error(handle);
        slot.slot->free_and_set(handle, tx, other, object);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, free_refusal), 1U) << trace.all();
        EXPECT_NE(handle->last_error, 0U);
        EXPECT_EQ(slot.place(other), kept);
        EXPECT_TRUE(hooks.events.empty());
        destroy(record);
        destroy(other);
    }
}

TEST_P(Fields, RefuseANestedObject) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *object = slot.slot->type->create(handle, tx);
        static_cast<kel_object *>(object)->flags |= OBJ_NESTED;
        TraceCapture trace;
        slot.slot->set(handle, tx, record, object);
        EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, refusal)) << trace.all();
        EXPECT_EQ(slot.place(record), nullptr);
        slot.slot->free_and_set(handle, tx, record, object);
        EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, free_refusal)) << trace.all();
        EXPECT_EQ(slot.place(record), nullptr);
        static_cast<kel_object *>(object)->flags &= static_cast<u8>(~OBJ_NESTED);
        slot.slot->type->destroy(handle, tx, object);
        destroy(record);
    }
}

TEST_P(Fields, ReplaceAnObjectThatWasAttachedBefore) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *old = slot.slot->type->create(handle, tx);
        void *object = slot.slot->type->create(handle, tx);
        slot.slot->set(handle, tx, record, old);
        const u64 blocks = session.blocks();
        slot.slot->set(handle, tx, record, object);
        EXPECT_EQ(session.blocks(), blocks);
        EXPECT_NE(static_cast<kel_object *>(old)->descriptor, nullptr);
        EXPECT_EQ(slot.place(record), object);
        slot.slot->type->destroy(handle, tx, old);
        destroy(record);
    }
}

TEST_P(Fields, FreeTheReplacedObjectInTheFreeingForm) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *old = slot.slot->type->create(handle, tx);
        void *object = slot.slot->type->create(handle, tx);
        slot.slot->free_and_set(handle, tx, record, old);
        EXPECT_EQ(slot.place(record), old);
        HookRecorder hooks(handle);
        slot.slot->free_and_set(handle, tx, record, object);
        EXPECT_EQ(hooks.of(Hook::free).back().address, old);
        const auto at = [&](Hook hook, const void *address) {
            return std::find_if(hooks.events.begin(), hooks.events.end(),
                                [&](const HookEvent &event) {
                                    return event.hook == hook && event.address == address;
                                });
        };
        const auto stored = at(Hook::write_log, &slot.place(record));
        ASSERT_NE(stored, hooks.events.end());
        EXPECT_LT(at(Hook::free, old) - hooks.events.begin(), stored - hooks.events.begin());
        ASSERT_EQ(stored->length, 8U);
        EXPECT_EQ(0, std::memcmp(stored->before.data(), &old, 8));
        EXPECT_EQ(slot.place(record), object);
        EXPECT_NE(flags_of(object) & OBJ_EMBEDDED, 0);
        destroy(record);
    }
}

TEST_P(Fields, DetachReturnsTheObjectStillMarked) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *object = slot.slot->type->create(handle, tx);
        slot.slot->set(handle, tx, record, object);
        begin();
        HookRecorder hooks(handle);
        EXPECT_EQ(slot.slot->detach(handle, tx, record), object);
        EXPECT_EQ(slot.place(record), nullptr);
        ASSERT_EQ(hooks.events.size(), 1U);
        EXPECT_EQ(hooks.events[0].address, &slot.place(record));
        EXPECT_EQ(hooks.events[0].length, 8U);
        EXPECT_EQ(hooks.events[0].tx_id, tx);
        EXPECT_EQ(0, std::memcmp(hooks.events[0].before.data(), &object, 8));
        commit();
        EXPECT_NE(flags_of(object) & OBJ_EMBEDDED, 0);
        slot.slot->set(handle, tx, record, object);
        EXPECT_EQ(slot.place(record), nullptr) << "no record takes a marked object";
        EXPECT_EQ(slot.slot->detach(handle, tx, record), nullptr);
        slot.slot->type->destroy(handle, tx, object);
        destroy(record);
    }
}

TEST_P(Fields, ANullObjectStoresNull) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *object = slot.slot->type->create(handle, tx);
        slot.slot->set(handle, tx, record, object);
        TraceCapture trace;
        slot.slot->set(handle, tx, record, nullptr);
        EXPECT_EQ(slot.place(record), nullptr);
        EXPECT_FALSE(trace.has(KEL_TRACE_ERROR, refusal));
        void *other = slot.slot->type->create(handle, tx);
        slot.slot->set(handle, tx, record, other);
        HookRecorder hooks(handle);
        slot.slot->free_and_set(handle, tx, record, nullptr);
        EXPECT_EQ(slot.place(record), nullptr);
        EXPECT_EQ(hooks.of(Hook::free).back().address, other);
        slot.slot->type->destroy(handle, tx, object);
        destroy(record);
    }
}

TEST_P(Fields, ARefusalIsReportedWithItsError) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *object = slot.slot->type->create(handle, tx);
        services.always_fail("kellib_validate_object_flags", 77);
        for (const auto form : {slot.slot->set, slot.slot->free_and_set}) {
            services.clear();
            HookRecorder hooks(handle);
            form(handle, tx, record, object);
            EXPECT_EQ(handle->last_error, 77U);
            EXPECT_EQ(services.calls("kellib_validate_object_flags").at(0).pointer<const void>(0),
                      object);
            EXPECT_EQ(services.calls("kellib_validate_object_flags").at(0).arguments_in(1, 3),
                      (std::vector<u64>{1, 1}));
            EXPECT_EQ(services.calls("kel_store_err").at(0).arguments_in(1, 2),
                      std::vector<u64>{77});
            EXPECT_EQ(slot.place(record), nullptr);
            EXPECT_TRUE(hooks.events.empty());
        }
        services.stop_failing();
        slot.slot->type->destroy(handle, tx, object);
        destroy(record);
    }
}

TEST_P(Fields, AreSetAndDetachedWithALastErrorSet) {
    for (const SlotUnderTest &slot : slots()) {
        kel_record *record = empty();
        void *object = slot.slot->type->create(handle, tx);
        handle->last_error = EINVAL;
        services.clear();
        slot.slot->set(handle, tx, record, object);
        EXPECT_EQ(slot.slot->get(handle, tx, record), object);
        EXPECT_EQ(slot.slot->detach(handle, tx, record), object);
        slot.slot->free_and_set(handle, tx, record, nullptr);
        EXPECT_EQ(handle->last_error, EINVAL);
        EXPECT_EQ(services.count("kel_clear_last_error"), 0U);
        slot.slot->type->destroy(handle, tx, object);
        destroy(record);
    }
}

TEST_P(Fields, ReadingOneReportsNothing) {
    kel_record *record = put(1);
    services.clear();
    EXPECT_EQ(s.object.get(handle, tx, record), record->object);
    EXPECT_TRUE(services.calls().empty());
}

}  // namespace
}  // namespace tarn::test
