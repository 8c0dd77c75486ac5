// SPDX-License-Identifier: Apache-2.0
// The wire, text and XML forms of enumerations.
#include <cerrno>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class EnumerationForms : public ObjectModeTest {
 protected:
    std::vector<char> buffer = std::vector<char>(512, '#');
    char message[64] = "untouched";

    door_state *door(u32 value) {
        door_state *made = door_state_create(handle, tx);
        *at<u32>(made, 12) = value;
        return made;
    }
    u32 value_of(door_state *object) { return *at<u32>(object, 12); }
    std::string text(u32 length) const { return {buffer.data(), length}; }
    std::vector<u8> form(const door_state *object) {
        const u32 length = door_state_marshal(handle, tx, buffer.data(), object, 500, &err);
        return bytes_of(buffer.data(), length);
    }
    std::string xml(const door_state *object) {
        return text(door_state_to_xml(handle, tx, "d", buffer.data(), object, 500, 9, &err));
    }
    void read(door_state *object, const std::string &xml) {
        const Document document = parse(xml);
        door_state_from_xml(handle, tx, "/d", document.get(), object, &err, message,
                            sizeof message);
    }
};
TARN_EACH_MODE(EnumerationForms);

TEST_P(EnumerationForms, TheWireFormHasTheVariantAndTheInternalValue) {
    EXPECT_EQ(form(door(1)), (std::vector<u8>{0, 0, 0, 0, 0}));
    EXPECT_EQ(form(door(3)), (std::vector<u8>{0, 2, 0, 0, 0}));
    EXPECT_EQ(form(door(0)), (std::vector<u8>{0, 0, 0, 0, 0}));
    EXPECT_EQ(form(door(4)), (std::vector<u8>{0, 4, 0, 0, 0}));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(door_state_len(handle, tx, nullptr), 5U);
}

TEST_P(EnumerationForms, TheCrFormOfTheLengthIs0WithAnErrorSet) {
    kel_clear_last_error(handle);
    EXPECT_EQ(door_state_len_cr(handle), 5U);
    kel_store_err(handle, EEXIST);
    EXPECT_EQ(door_state_len_cr(handle), 0U);
}

TEST_P(EnumerationForms, AWireValueBelowTheCountIsIncrementedByOne) {
    door_state *object = door(0);
    const auto read_back = [&](u8 value) {
        const u8 bytes[] = {0, value, 0, 0, 0};
        EXPECT_EQ(door_state_unmarshal(handle, tx, bytes, object, 5, 0, &err), 5U);
        return value_of(object);
    };
    EXPECT_EQ(read_back(0), 1U);
    EXPECT_EQ(read_back(2), 3U);
    EXPECT_EQ(read_back(3), 3U);
    EXPECT_EQ(read_back(9), 9U);
    EXPECT_EQ(err, 0U);
}

TEST_P(EnumerationForms, ReadingSetsVariantAndDescriptorUnannouncedAndTheValueAnnounced) {
    door_state *object = door(1);
    const kel_type_info *descriptor = head(object)->descriptor;
    head(object)->descriptor = nullptr;
    HookRecorder hooks(handle);
    const u8 bytes[] = {7, 1, 0, 0, 0};
    door_state_unmarshal(handle, tx, bytes, object, 5, 0, &err);
    EXPECT_EQ(head(object)->variant, 0);
    EXPECT_EQ(head(object)->descriptor, descriptor);
    const auto stores = hooks.of(Hook::write_log);
    ASSERT_EQ(stores.size(), 2U);
    EXPECT_EQ(stores[0].address, at(object, 12));
    EXPECT_EQ(stores[1].address, at(object, 12));
    EXPECT_EQ(stores[1].before[0], 1) << "the value as it was read";
    EXPECT_EQ(value_of(object), 2U);
}

TEST_P(EnumerationForms, ANegativeVariantIsReadUnchanged) {
    door_state *object = door(1);
    const u8 bytes[] = {0xff, 1, 0, 0, 0};
    door_state_unmarshal(handle, tx, bytes, object, 5, 0, &err);
    EXPECT_EQ(head(object)->variant, -1);
}

TEST_P(EnumerationForms, AnEmptyBufferFailsWithEnomemAndATooSmallOneWithEmsgsize) {
    door_state *object = door(2);
    for (const u32 space : {0U, 0x80000000U}) {
        EXPECT_EQ(door_state_marshal(handle, tx, buffer.data(), object, space, &err), 0U);
        expect_error(ENOMEM);
        EXPECT_EQ(door_state_unmarshal(handle, tx, buffer.data(), object, space, 0, &err), 0U);
        expect_error(ENOMEM);
    }
    for (u32 space = 1; space < 5; ++space) {
        std::vector<u8> exact(space);
        door_state_marshal(handle, tx, exact.data(), object, space, &err);
        expect_error(EMSGSIZE);
        door_state_unmarshal(handle, tx, exact.data(), object, space, 0, &err);
        expect_error(EMSGSIZE);
        EXPECT_EQ(value_of(object), 2U);
    }
}

TEST_P(EnumerationForms, AnInstanceNewerThanTheDomainIsReportedAndWritten) {
    door_state *object = door(2);
    head(object)->variant = 1;
    EXPECT_EQ(form(object), (std::vector<u8>{0, 1, 0, 0, 0}));
    expect_error(EIDRM);
    kel_handle_set_variant(handle, &_door_state_type_info_internal, -1);
    EXPECT_EQ(form(object), (std::vector<u8>{0xff, 1, 0, 0, 0}));
    expect_error(EIDRM);
}

TEST_P(EnumerationForms, AKnownValueIsPrintedByName) {
    const u32 length = door_state_print(handle, tx, buffer.data(), 3, "front", door(2), 500, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length), "   front@door_state:DOOR_CLOSED\n");
}

TEST_P(EnumerationForms, AnyOtherValueIsPrintedAsOutOfRange) {
    for (const u32 value : {0U, 4U, 0xffffffffU}) {
        const u32 length =
            door_state_print(handle, tx, buffer.data(), 0, "front", door(value), 500, &err);
        EXPECT_EQ(text(length), "front@door_state:Enum value out of range");
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(EnumerationForms, ANullObjectIsWrittenAsTheFirstEnumeratorAndPrintedAsOutOfRange) {
    const std::vector<u8> bytes = form(nullptr);
    ASSERT_EQ(bytes.size(), 5U);
    EXPECT_EQ((std::vector<u8>{bytes.begin() + 1, bytes.end()}), (std::vector<u8>{0, 0, 0, 0}));
    const u32 length = door_state_print(handle, tx, buffer.data(), 0, "front", nullptr, 500, &err);
    EXPECT_EQ(text(length), "front@door_state:Enum value out of range");
    EXPECT_EQ(err, 0U);
}

TEST_P(EnumerationForms, TheCrFormsUseTheEnumerationsName) {
    kel_clear_last_error(handle);
    door_state *object = door(2);
    EXPECT_EQ(text(door_state_print_cr(handle, object, buffer.data(), 500)),
              "door_state@door_state:DOOR_CLOSED\n");
    const std::string xml = text(door_state_toxml_cr(handle, object, buffer.data(), 500));
    EXPECT_EQ(xml.substr(0, 11), "<door_state");
    EXPECT_EQ(door_state_print_cr(handle, object, buffer.data(), 5), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(door_state_toxml_cr(handle, object, buffer.data(), 500), 0xffffffffU);
}

TEST_P(EnumerationForms, XmlHasAnEmptyElementForAnEnumeratorAndNoFlag) {
    services.clear();
    const std::string text = xml(door(3));
    EXPECT_EQ(err, 0U);
    EXPECT_NE(text.find("<DOOR_LOCKED/>"), std::string::npos) << text;
    EXPECT_EQ(services.calls("start_tag").at(0).arguments.at(5), 0U) << "the flag";
}

TEST_P(EnumerationForms, XmlHasAFixedTextForAnyOtherValue) {
    EXPECT_NE(xml(door(0)).find("<door_state value out of range/>"), std::string::npos);
    EXPECT_EQ(err, 0U);
}

TEST_P(EnumerationForms, XmlRoundTrips) {
    for (u32 value = 1; value <= 3; ++value) {
        const std::string text = xml(door(value));
        door_state *object = door(9);
        read(object, text);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(value_of(object), value);
    }
}

TEST_P(EnumerationForms, TheFirstEnumeratorInTableOrderWins) {
    door_state *object = door(2);
    HookRecorder hooks(handle);
    read(object, "<d><DOOR_LOCKED/><DOOR_OPEN>ignored</DOOR_OPEN></d>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(object), 1U);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
}

TEST_P(EnumerationForms, ADocumentWithoutAnEnumeratorKeepsTheValueWithoutAnError) {
    door_state *object = door(2);
    read(object, "<d><LAMP_ON/></d>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(object), 2U);
    EXPECT_STREQ(message, "untouched");
    for (const ServiceCall &call : services.calls("xml_get_element_value")) {
        EXPECT_EQ(call.arguments_in(3, 5), words(128, 0));
    }
    EXPECT_EQ(services.count("xml_get_element_value"), 3U);
}

TEST_P(EnumerationForms, AFailureOtherThanAbsenceIsReportedWithThePath) {
    door_state *object = door(2);
    services.always_return("xml_get_element_value", EINVAL);
    read(object, "<d><DOOR_OPEN/></d>");
    expect_error(EINVAL);
    EXPECT_STREQ(message, "Failed xpath: /d");
    EXPECT_EQ(value_of(object), 2U);
    door_state_from_xml(handle, tx, "/d", nullptr, object, &err, nullptr, 0);
    expect_error(EINVAL);
    char small[8] = "";
    door_state_from_xml(handle, tx, "/d", nullptr, object, &err, small, sizeof small);
    expect_error(EINVAL);
    EXPECT_STREQ(small, "Failed ");
}

}  // namespace
}  // namespace tarn::test
