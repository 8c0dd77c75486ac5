// SPDX-License-Identifier: Apache-2.0
// Each table's records in all their forms: memory, wire, text and XML agree.
#include <cerrno>
#include <cstring>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

constexpr u32 failed = 0xffffffff;

class TableForms : public EveryTable {
 protected:
    void SetUp() override { record = put(1); }
    std::string print(const kel_record *each) { return text("table_record_print", each); }
    std::string xml(const kel_record *each) { return text("table_record_to_xml", each); }
    // State flags aren't read from XML.
    void clear_flags(kel_record *each) {
        object("set_all_state_tracking_flag", {each->object, 0});
        if (!composite()) return;
        Typed(*type.key_type, handle)("set_all_state_tracking_flag", {each->key_object, 0});
    }
    // Expects a second record equal to the first one in every form, and destroys it.
    void expect_equal_and_drop(kel_record *second) {
        check(second, 1);
        EXPECT_EQ(frame(second), frame(record));
        EXPECT_EQ(print(second), print(record));
        EXPECT_EQ(xml(second), xml(record));
        EXPECT_EQ(call<u32>(key_name("avl_compare"), {&second->index_node, &record->index_node}),
                  1U);
        drop(second);
    }

    kel_record *record = nullptr;
};
TARN_EVERY_TABLE(TableForms);

TEST_P(TableForms, TheFrameIsHeaderLuidAndObjects) {
    std::vector<u8> expected = object.wire(record->object);
    if (composite()) {
        const std::vector<u8> after = Typed(*type.key_type, handle).wire(record->key_object);
        expected.insert(expected.end(), after.begin(), after.end());
    }
    for (const std::string &twin : twins) {
        const std::vector<u8> bytes = frame(record, twin);
        EXPECT_EQ(std::vector<u8>(bytes.begin() + 27, bytes.begin() + 43),
                  std::vector<u8>(type.luid, type.luid + 16));
        EXPECT_EQ(std::vector<u8>(bytes.begin() + 43, bytes.end()), expected);
    }
    EXPECT_EQ(cr<u32>("record_len_cr", {record}), expected.size() + 43);
    std::vector<u8> again(expected.size() + 44);
    EXPECT_EQ(cr<u32>("record_marshal_cr", {record, again.data(), again.size() - 1}),
              expected.size() + 43);
    again.pop_back();
    EXPECT_EQ(again, frame(record));
}

TEST_P(TableForms, TheWireFormRoundTrips) {
    for (const std::string &twin : twins) {
        const std::vector<u8> bytes = frame(record, twin);
        kel_record *second = nullptr;
        EXPECT_EQ(on<u32>("table_record_unmarshal" + twin,
                          {&second, bytes.data(), bytes.size(), 0, &err}),
                  bytes.size());
        expect_equal_and_drop(second);
        second = make(2);
        EXPECT_EQ(on<u32>("table_record_unmarshal" + twin,
                          {&second, bytes.data(), bytes.size(), 1, &err}),
                  bytes.size());
        EXPECT_EQ(err, 0U);
        expect_equal_and_drop(second);
    }
}

TEST_P(TableForms, ATooSmallBufferIsAnError) {
    u8 bytes[30];
    EXPECT_EQ(on<u32>("table_record_marshal", {bytes, record, 26, &err}), 0U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(on<u32>("table_record_marshal", {bytes, record, 30, &err}), 27U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(cr<u32>("record_marshal_cr", {record, bytes, 26}), failed);
    kel_clear_last_error(handle);
}

TEST_P(TableForms, TheTextContainsTheObjectsTexts) {
    for (const std::string &twin : twins) {
        const std::string whole = text("table_record_print" + twin, record);
        EXPECT_EQ(
            whole.find(std::string("record@") + type.name + ": {\n  " + type.type->name + "@"), 0U);
        EXPECT_EQ(whole.substr(whole.size() - 2), "}\n");
        if (composite()) {
            EXPECT_NE(whole.find(std::string("\n  ") + type.key_type->name + "@"),
                      std::string::npos);
        }
    }
    const std::string whole = print(record);
    std::string again(whole.size() + 16, ' ');
    again.resize(cr<u32>("record_print_cr", {record, again.data(), again.size()}));
    EXPECT_EQ(again, whole);
}

TEST_P(TableForms, TheXmlRoundTrips) {
    clear_flags(record);
    const std::string whole = xml(record);
    std::string again(whole.size() + 16, ' ');
    again.resize(cr<u32>("record_toxml_cr", {record, again.data(), again.size()}));
    EXPECT_EQ(again, whole);
    const Document document = parse(whole);
    for (const std::string &twin : twins) {
        EXPECT_EQ(text("table_record_to_xml" + twin, record), whole);
        char message[64] = "";
        auto *second = on<kel_record *>("table_record_from_xml" + twin,
                                        {document.get(), &err, message, sizeof message});
        EXPECT_EQ(err, 0U) << message;
        ASSERT_NE(second, nullptr);
        clear_flags(second);
        expect_equal_and_drop(second);
    }
}

TEST_P(TableForms, ADocumentWithoutTheObjectsIsReadAsAnEmptyRecord) {
    const Document document = parse("<nothing/>");
    auto *empty = on<kel_record *>("table_record_from_xml", {document.get(), &err, nullptr, 0});
    EXPECT_EQ(err, 0U);
    ASSERT_NE(empty, nullptr);
    void *fresh = object.create();
    EXPECT_EQ(call<std::int32_t>(object.name("compare"), {empty->object, fresh}), 0);
    object.destroy(fresh);
    drop(empty);
}

TEST_P(TableForms, TheKeyHasItsOwnWireForm) {
    for (const std::string &twin : twins) {
        std::vector<u8> bytes(on<u32>("table_pkey_len" + twin, {record}) + 1);
        const std::size_t space = bytes.size() - 1;
        EXPECT_EQ(on<u32>("table_pkey_marshal" + twin, {bytes.data(), record, space, &err}), space);
        void *read = nullptr;
        EXPECT_EQ(on<u32>("table_pkey_unmarshal" + twin, {&read, bytes.data(), space, &err}),
                  space);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(find("search" + twin, {table, read, 0}), record);
        on("pkey_destroy" + twin, {read});
        EXPECT_EQ(on<u32>("table_pkey_marshal" + twin, {bytes.data(), record, 0, &err}), 0U);
        expect_error(EMSGSIZE);

        char buffer[2048];
        std::memset(buffer, ' ', sizeof buffer);
        const u32 length =
            on<u32>("pkey_print" + twin, {table, record, buffer, sizeof buffer, &err});
        EXPECT_EQ(err, 0U);
        const std::string printed(buffer, length);
        const std::string begin =
            composite() ? std::string("@") + type.key_type->name : std::string(type.key->name);
        EXPECT_EQ(printed.find(begin), 0U) << printed;
        on<u32>("pkey_print" + twin, {nullptr, record, buffer, sizeof buffer, &err});
        expect_error(EINVAL);
    }
}

TEST_P(TableForms, AModificationIsReportedOnce) {
    for (const std::string &twin : twins) {
        const std::string form = "table_record_is_modified" + twin;
        // Earlier changes may be reported mark by mark.
        while (on<u32>(form, {record, &err}) != 0) continue;
        if (composite()) {
            object.fill_field(record->object, fields_of(*type.type).back(), 1);
        } else {
            set_key(record->object, 1);
        }
        EXPECT_EQ(on<u32>(form, {record, &err}), 1U);
        while (on<u32>(form, {record, &err}) != 0) continue;
    }
}

TEST_P(TableForms, ACloneOfTheObjectMakesAnEqualRecord) {
    auto *second = on<kel_record *>("create_record", {&err});
    void *copy = object.cr<void *>("clone_cr", {record->object});
    on(slot(*type.type, "set_field"), {second, copy});
    if (composite()) {
        void *holder = Typed(*type.key_type, handle).cr<void *>("clone_cr", {record->key_object});
        on(slot(*type.key_type, "set_field"), {second, holder});
    }
    expect_equal_and_drop(second);
}

}  // namespace
}  // namespace tarn::test
