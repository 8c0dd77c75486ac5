// SPDX-License-Identifier: Apache-2.0
// Each structure initialised in memory: the bytes written, unchanged and announced.
#include <cerrno>
#include <cstring>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/hooks.h"

namespace tarn::test {
namespace {

// Adds the places of the headers in an object, including its own.
void add_headers(const Structure &type, u32 offset, std::vector<u32> &found) {
    found.push_back(offset);
    for (const Field &field : fields_of(type)) {
        if (field.structure != nullptr) {
            add_headers(*field.structure, offset + field.offset, found);
        } else if (field.descriptor != nullptr) {
            found.push_back(offset + field.offset);
        }
    }
}

class StructureInitialization : public StructureTest {
 protected:
    // Memory outside the store, with this value in the places of integers and arrays.
    std::vector<u64> memory_with(u8 filling) const {
        std::vector<u64> memory(typed.cr<u32>("sizeof", {}) / 8 + 1);
        fill_plain(type, reinterpret_cast<u8 *>(memory.data()), filling);
        return memory;
    }
    static void fill_plain(const Structure &of, u8 *object, u8 filling) {
        for (const Field &field : fields_of(of)) {
            u8 *place = object + field.offset;
            if (field.structure != nullptr) {
                fill_plain(*field.structure, place, filling);
            } else if (field.kind == FieldKind::array) {
                std::memset(place, filling, field.elements);
            } else if (field.kind < FieldKind::boolean) {
                *place = filling;
            }
        }
    }
    static void expect_plain(const Structure &of, const u8 *object, u8 filling) {
        for (const Field &field : fields_of(of)) {
            const u8 *place = object + field.offset;
            if (field.structure != nullptr) {
                expect_plain(*field.structure, place, filling);
            } else if (field.kind == FieldKind::array) {
                EXPECT_EQ(std::vector<u8>(place, place + field.elements),
                          std::vector<u8>(field.elements, filling));
            } else if (field.kind < FieldKind::boolean) {
                EXPECT_EQ(*place, filling) << field.name;
            }
        }
    }
    void initialize(void *object, u32 log_writes, u32 quiet, u8 flags, void *base) {
        typed("initialize", {object, type.descriptor, log_writes, quiet, flags, base, &err});
    }
    std::vector<u32> headers() const {
        std::vector<u32> found;
        add_headers(type, 0, found);
        return found;
    }
    // The counts of this type that were announced.
    u32 deltas(const HookRecorder &hooks, const void *object) const {
        u32 found = 0;
        const kel_variant_usage &usage = usage_of(object);
        for (const HookEvent &event : hooks.of(Hook::delta_log)) {
            if (event.address == &usage.created || event.address == &usage.live) ++found;
        }
        return found;
    }
};
TARN_EACH_STRUCTURE(StructureInitialization);

TEST_P(StructureInitialization, CreationZeroesTheWholeAllocation) {
    HookRecorder hooks(handle);
    hooks.fill_allocations(true);
    void *object = typed.create();
    const u32 size = typed.cr<u32>("sizeof", {});
    std::vector<u8> bytes(at(object, 0), at(object, size));
    for (const u32 header : headers()) {
        std::memset(bytes.data() + header, 0, KEL_OBJECT_HEADER_SIZE);
    }
    EXPECT_EQ(bytes, std::vector<u8>(size));
    typed.destroy(object);
}

TEST_P(StructureInitialization, EveryHeaderIsFilledAndTheInnerOnesAreNested) {
    std::vector<u64> memory = memory_with(0);
    void *object = memory.data();
    initialize(object, 0, 1, 0, nullptr);
    for (const u32 header : headers()) {
        EXPECT_NE(head(at(object, header))->descriptor, nullptr) << header;
        EXPECT_EQ(head(at(object, header))->flags & OBJ_NESTED, header == 0 ? 0 : OBJ_NESTED);
    }
    EXPECT_EQ(head(object)->flags, tracking ? OBJ_STATE_TRACKED : 0);
}

TEST_P(StructureInitialization, QuietlyAndUnloggedItAnnouncesAndCountsNothing) {
    std::vector<u64> memory = memory_with(0x5a);
    HookRecorder hooks(handle);
    initialize(memory.data(), 0, 1, 0, nullptr);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    expect_plain(type, reinterpret_cast<u8 *>(memory.data()), 0x5a);
}

TEST_P(StructureInitialization, QuietlyAndLoggedItAnnouncesTheHeadersAndCountsNothing) {
    std::vector<u64> memory = memory_with(0x5a);
    HookRecorder hooks(handle);
    initialize(memory.data(), 1, 1, 0, nullptr);
    for (const u32 header : headers()) {
        kel_object *inner = head(at(memory.data(), header));
        EXPECT_TRUE(hooks.announced(&inner->created_variant, 1)) << header;
        EXPECT_TRUE(hooks.announced(&inner->variant, 1)) << header;
        EXPECT_TRUE(hooks.announced(&inner->descriptor, 8)) << header;
        EXPECT_TRUE(hooks.announced(&inner->flags, 1)) << header;
    }
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
}

TEST_P(StructureInitialization, CountedAndUnloggedItAnnouncesNoHeader) {
    if (tracking) return;  // the places of state shares are the store's
    std::vector<u64> memory = memory_with(0x5a);
    HookRecorder hooks(handle);
    initialize(memory.data(), 0, 0, 0, nullptr);
    EXPECT_EQ(hooks.writes_in(memory.data(), memory.size() * 8).size(), 0U);
    EXPECT_EQ(deltas(hooks, memory.data()), 2U);
    typed("destroy_internal", {memory.data(), 0});
}

TEST_P(StructureInitialization, TheFlagsGivenAreAdded) {
    std::vector<u64> memory = memory_with(0);
    head(memory.data())->flags = OBJ_RA_DATA;
    initialize(memory.data(), 0, 1, OBJ_NESTED, nullptr);
    EXPECT_EQ(head(memory.data())->flags,
              OBJ_RA_DATA | OBJ_NESTED | (tracking ? OBJ_STATE_TRACKED : 0));
}

TEST_P(StructureInitialization, ANestedObjectWithoutABaseFailsOnlyWithTrackingOn) {
    std::vector<u64> memory = memory_with(0);
    void *object = memory.data();
    initialize(object, 0, 0, OBJ_NESTED, nullptr);
    EXPECT_EQ(err, tracking ? EINVAL : 0);
    EXPECT_EQ(handle->last_error, err);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          "(ERR): sttr_base can not be NULL in NESTED case. Please check the "
                          "parent object and provide the correct state tracking base pointer"),
              tracking ? 1U : 0U);
    EXPECT_STREQ(head(object)->descriptor->name, type.name);
    EXPECT_EQ(head(object)->flags, OBJ_NESTED | (tracking ? OBJ_STATE_TRACKED : 0));
    for (const u32 header : headers()) {
        if (header == 0) continue;
        EXPECT_EQ(head(at(object, header))->descriptor == nullptr, tracking) << header;
    }
    err = 0;
    if (!tracking) typed("destroy_internal", {object, 0});
}

TEST_P(StructureInitialization, TheOffsetsReferToTheGivenBlock) {
    if (!tracking) return;
    void *object = typed.create();
    typed("offset_remove", {object, &err});
    std::memset(object, 0, type.plain_size);
    u8 *base = at(object, type.plain_size) + 4096;
    initialize(object, 1, 0, 0, base);
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        u8 *place = at(object, field.offset);
        EXPECT_EQ(place + kellib_get_sttr_offset(handle, KEL_TX_NONE, place),
                  base + field.state + 1)
            << field.name;
    }
    typed.destroy(object);
}

TEST_P(StructureInitialization, AnObjectWithABlockElsewherePutsItsFlagsThere) {
    if (!tracking) return;
    void *object = typed.create();
    typed("offset_remove", {object, &err});
    std::memset(object, 0, type.plain_size);
    const u32 distance = type.plain_size + 512;
    kellib_update_sttr_offset(handle, KEL_TX_NONE, object, distance);
    initialize(object, 1, 0, 0, nullptr);
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        u8 *place = at(object, field.offset);
        EXPECT_EQ(place + kellib_get_sttr_offset(handle, KEL_TX_NONE, place),
                  at(object, distance + field.state + 1))
            << field.name;
    }
    typed.destroy(object);
}

}  // namespace
}  // namespace tarn::test
