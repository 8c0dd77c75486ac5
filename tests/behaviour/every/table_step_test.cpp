// SPDX-License-Identifier: Apache-2.0
// Each table's blocks step by step: the requests to the store, the announcement before
// each change, and the fallbacks without memory.
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <set>

#include "tests/behaviour/every/tabled.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

class TableSteps : public EveryTable {
 protected:
    std::size_t record_size() const {
        return composite() ? sizeof(kel_record) : std::size_t{KEL_RECORD_SIZE};
    }
    kel_variant_usage &usage_of(const kel_type_info *descriptor) {
        return descriptor->variant_info->variants[0];
    }
    ServiceRecorder services{handle};
};
TARN_EVERY_TABLE(TableSteps);

TEST_P(TableSteps, AnOpenAllocatesOneBlockOutsideTheTransactionAndMapsIt) {
    for (const std::string &twin : twins) {
        HookRecorder hooks(handle);
        hooks.fill_allocations(true);
        services.clear();
        const std::string form = "table_open_by_ior_with_name" + twin;
        auto *made = call<kel_table *>(name(form), {handle, 42, "u", u64{77}, 0, &err});
        ASSERT_NE(made, nullptr);
        ASSERT_EQ(hooks.count(Hook::alloc), 1U);
        EXPECT_EQ(hooks.of(Hook::alloc)[0].length, sizeof(kel_table));
        EXPECT_EQ(hooks.of(Hook::alloc)[0].tx_id, KEL_TX_NONE);
        EXPECT_EQ(hooks.count(Hook::write_log) + hooks.count(Hook::delta_log), 0U);
        EXPECT_EQ(std::string("u/") + type.luid_text, made->table_name);
        kel_table expected = {};
        std::strcpy(expected.table_name, made->table_name);
        expected.toc_prev = made->toc_prev;
        const std::size_t named = offsetof(kel_table, table_name);
        EXPECT_EQ(0, std::memcmp(reinterpret_cast<u8 *>(&expected) + named,
                                 reinterpret_cast<u8 *>(made) + named, sizeof expected - named));
        EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).tx_id(), 42U);
        EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).arguments_in(3, 6),
                  (std::vector<u64>{KEL_OID_KIND_TABLE, 0, 77}));
        services.clear();
        EXPECT_EQ(on<kel_table *>("table_open" + twin, {"mapped", 0, &err})->open_mode, 0U);
        EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).arguments_in(3, 6),
                  (std::vector<u64>{KEL_OID_KIND_TABLE, 0, 0}));
        const u64 destroyed = usage_of(made->descriptor).destroyed;
        on("table_free" + twin, {on<kel_table *>("table_open", {"mapped", 1, &err}), &err});
        on("table_free" + twin, {made, &err});
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(usage_of(table->descriptor).destroyed, destroyed + 2);
    }
}

TEST_P(TableSteps, ANameThatDoesNotFitFailsWithE2big) {
    const std::string fits(255 - 33, 'n');
    for (const std::string &twin : twins) {
        kel_table *made = on<kel_table *>("table_open" + twin, {fits.c_str(), 0, &err});
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(on<kel_table *>("table_open" + twin, {(fits + "n").c_str(), 0, &err}), nullptr);
        expect_error(E2BIG);
        EXPECT_EQ(handle->last_error, E2BIG);
        on("table_free" + twin, {made, &err});
    }
}

TEST_P(TableSteps, FreeingATableInUseFailsWithEagain) {
    for (const std::string &twin : twins) {
        services.always_return("kel_request_oid_mapping_destroy", 0);
        on("table_free" + twin, {table, &err});
        expect_error(EAGAIN);
        services.stop_failing();
        EXPECT_EQ(on<kel_table *>("table_open" + twin, {"t", 1, &err}), table);
    }
}

TEST_P(TableSteps, ACreationAnnouncesOnlyDescriptorAndCounter) {
    for (const std::string &twin : twins) {
        HookRecorder hooks(handle);
        hooks.fill_allocations(true);
        auto *record = call<kel_record *>(name("create_record" + twin), {handle, 42, &err});
        ASSERT_EQ(hooks.count(Hook::alloc), 1U);
        EXPECT_EQ(hooks.of(Hook::alloc)[0].length, record_size());
        EXPECT_EQ(hooks.of(Hook::alloc)[0].tx_id, 42U);
        ASSERT_EQ(hooks.count(Hook::write_log), 1U);
        EXPECT_EQ(hooks.of(Hook::write_log)[0].address, record);
        EXPECT_EQ(hooks.of(Hook::write_log)[0].before, std::vector<u8>(8, 0));
        EXPECT_EQ(hooks.of(Hook::write_log)[0].tx_id, 42U);
        ASSERT_EQ(hooks.count(Hook::delta_log), 1U);
        EXPECT_EQ(hooks.of(Hook::delta_log)[0].address, &usage_of(record->descriptor).created);
        EXPECT_EQ(hooks.of(Hook::delta_log)[0].delta, 1);
        kel_record expected = {};
        expected.descriptor = record->descriptor;
        expected.ref_count = 1;
        expected.src = KEL_SOURCE_DEFAULT;
        EXPECT_EQ(0, std::memcmp(&expected, record, record_size()));
        drop(record);
    }
}

TEST_P(TableSteps, ADestructionAnnouncesCountCounterAndDescriptorThenFrees) {
    for (const std::string &twin : twins) {
        auto *record = on<kel_record *>("create_record" + twin, {&err});
        kel_variant_usage &usage = usage_of(record->descriptor);
        const kel_type_info *descriptor = record->descriptor;
        HookRecorder hooks(handle);
        call(name("destroy_record" + twin), {handle, 42, record, &err});
        ASSERT_EQ(hooks.events.size(), 4U);
        EXPECT_EQ(hooks.events[0].address, &record->ref_count);
        EXPECT_EQ(hooks.events[0].before, (std::vector<u8>{1, 0, 0, 0}));
        EXPECT_EQ(hooks.events[1].hook, Hook::delta_log);
        EXPECT_EQ(hooks.events[1].address, &usage.destroyed);
        EXPECT_EQ(hooks.events[2].hook, Hook::write_log);
        EXPECT_EQ(hooks.events[2].address, record);
        ASSERT_EQ(hooks.events[2].length, 8U);
        EXPECT_EQ(0, std::memcmp(hooks.events[2].before.data(), &descriptor, 8));
        EXPECT_EQ(hooks.events[3].hook, Hook::free);
        EXPECT_EQ(hooks.events[3].address, record);
        for (const HookEvent &event : hooks.events) EXPECT_EQ(event.tx_id, 42U);
    }
}

TEST_P(TableSteps, WithoutMemoryACrCreationReturnsTheFallbacks) {
    static std::set<const void *> others;  // of the tables before
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(on<kel_record *>("create_record", {&err}), nullptr);
    EXPECT_EQ(err, 0U);
    auto *record = cr<kel_record *>("record_create_cr", {1});
    EXPECT_EQ(record, type.fallback);
    EXPECT_EQ(handle->last_error, ENOMEM);
    kel_clear_last_error(handle);
    EXPECT_EQ(record->object, object.cr<void *>("create_cr", {}));
    kel_clear_last_error(handle);
    if (composite()) {
        EXPECT_EQ(record->key_object, Typed(*type.key_type, handle).cr<void *>("create_cr", {}));
        kel_clear_last_error(handle);
    }
    EXPECT_STREQ(record->descriptor->luid_text, type.record_descriptor->luid_text);
    cr("record_destroy_cr", {record});
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(record->descriptor, nullptr);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    if (GetParam().mode == Mode::plain) {
        EXPECT_TRUE(others.insert(record).second) << "the fallback record of another table";
    }
}

TEST_P(TableSteps, AttachingAnnouncesThePointerBeforeItIsStored) {
    auto *record = on<kel_record *>("create_record", {&err});
    for (const Structure *of : {type.type, type.key_type}) {
        if (of == nullptr) continue;
        void *&place = of == type.type ? record->object : record->key_object;
        const Typed typed(*of, handle);
        void *first = typed.create();
        void *second = typed.create();
        HookRecorder hooks(handle);
        const auto expect = [&](const void *before) {
            const auto writes = hooks.writes_in(&place, 8);
            ASSERT_EQ(writes.size(), 1U);
            EXPECT_EQ(writes[0].length, 8U);
            EXPECT_EQ(0, std::memcmp(writes[0].before.data(), &before, 8));
            EXPECT_EQ(writes[0].tx_id, 42U);
            hooks.clear();
        };
        call(name(slot(*of, "set_field")), {handle, 42, record, first});
        expect(nullptr);
        call(name(slot(*of, "free_and_set_field")), {handle, 42, record, second});
        EXPECT_EQ(hooks.of(Hook::free).back().address, first);
        expect(first);
        EXPECT_EQ(call<void *>(name(slot(*of, "get_field_detach")), {handle, 42, record}), second);
        EXPECT_EQ(hooks.events.size(), 1U);
        expect(second);
        EXPECT_NE(head(second)->flags & OBJ_EMBEDDED, 0);
        typed.destroy(second);
    }
    drop(record);
}

TEST_P(TableSteps, TheHeaderOfAFrameDescribesItsContents) {
    kel_record *record = make(1);
    handle->header_stamp = 0x01020304;
    kel_message_header header;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name != "_kel_message_header_marshal") return;
        header = *call.pointer<const kel_message_header>(3);
    };
    for (const std::string &twin : twins) {
        header = {};
        const std::vector<u8> bytes = frame(record, twin);
        EXPECT_EQ(header.marker, 188U);
        for (const u8 filler : header.filler) EXPECT_EQ(filler, 255U);
        EXPECT_EQ(header.state_tracked != 0, is_tracking(handle));
        EXPECT_EQ(header.stamp, 0x01020304U);
        EXPECT_EQ(header.length, bytes.size());
    }
    drop(record);
}

TEST_P(TableSteps, AReadWithoutMemoryOrWithoutADestinationIsAnError) {
    kel_record *record = make(1);
    const std::vector<u8> bytes = frame(record);
    const Document document = parse("<nothing/>");
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    for (const std::string &twin : twins) {
        kel_record *read = nullptr;
        void *pkey = nullptr;
        const std::string form = "table_record_unmarshal" + twin;
        EXPECT_EQ(on<u32>(form, {&read, bytes.data(), bytes.size(), 0, &err}), 0U);
        expect_error(ENOMEM);
        EXPECT_EQ(on<u32>(form, {&read, bytes.data(), bytes.size(), 1, &err}), 0U);
        expect_error(ENOENT);
        EXPECT_EQ(read, nullptr);
        EXPECT_EQ(on<u32>("table_pkey_unmarshal" + twin, {&pkey, bytes.data(), 8, &err}), 0U);
        expect_error(ENOMEM);
        EXPECT_EQ(on<u32>("table_pkey_unmarshal" + twin, {nullptr, bytes.data(), 8, &err}), 0U);
        expect_error(EFAULT);
        EXPECT_EQ(
            on<kel_record *>("table_record_from_xml" + twin, {document.get(), &err, nullptr, 0}),
            nullptr);
        expect_error(ENOMEM);
    }
    drop(record);
}

TEST_P(TableSteps, ANullRecordFailsWithEnoentAndAnUnreplicatedOneWithEinval) {
    for (const std::string &twin : twins) {
        EXPECT_EQ(on<u32>("record_add_ref" + twin, {nullptr, &err}), 0U);
        expect_error(ENOENT);
        on("destroy_record" + twin, {nullptr, &err});
        expect_error(ENOENT);
        on("request_record_destroy" + twin, {table, nullptr, &err});
        expect_error(EINVAL);
    }
}

}  // namespace
}  // namespace tarn::test
