// SPDX-License-Identifier: Apache-2.0
// The wire, text and XML forms of enumerations, step by step: the services that are called,
// and their arguments.
#include <cerrno>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class EnumerationServices : public ObjectModeTest {
 protected:
    lamp_state *lamp(u32 value) {
        lamp_state *made = lamp_state_create(handle, tx);
        value_of(made) = value;
        return made;
    }
    static u32 &value_of(lamp_state *object) { return *at<u32>(object, 12); }
};
TARN_EACH_MODE(EnumerationServices);

TEST_P(EnumerationServices, AVariantAbove0IsWrittenAs0IfTheDomainHasIt) {
    lamp_state *object = lamp(2);
    head(object)->variant = 1;
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 2);
    u8 wire[5] = {};
    EXPECT_EQ(lamp_state_marshal(handle, tx, wire, object, 5, &err), 5U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(wire[0], 0);
    EXPECT_EQ(wire[1], 2);
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 0);
}

TEST_P(EnumerationServices, ValuesOutOfRangeAreWrittenAndReadUnchanged) {
    lamp_state *object = lamp(0);
    for (const u32 value : {3U, 77U, 0xffffffffU}) {
        value_of(object) = value;
        u8 wire[5] = {};
        EXPECT_EQ(lamp_state_marshal(handle, tx, wire, object, 5, &err), 5U);
        value_of(object) = 0;
        EXPECT_EQ(lamp_state_unmarshal(handle, tx, wire, object, 5, 0, &err), 5U);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(value_of(object), value);
    }
}

TEST_P(EnumerationServices, PrintingIndentsWithTheService) {
    lamp_state *object = lamp(1);
    char buffer[64];
    services.clear();
    const u32 length = lamp_state_print(handle, tx, buffer, 4, "x", object, 64, &err);
    EXPECT_EQ(std::string(buffer, length), "    x@lamp_state:LAMP_ON\n");
    ASSERT_EQ(services.count("kel_print_space"), 1U);
    EXPECT_EQ(services.calls("kel_print_space")[0].arguments,
              words(handle, tx, buffer, 4, 64, &err));
    services.clear();
    lamp_state_print_cr(handle, object, buffer, 64);
    EXPECT_EQ(services.calls("kel_print_space").at(0).arguments_in(2, 5), words(buffer, 0, 64));
}

TEST_P(EnumerationServices, XmlIsAStartTagTheEnumeratorAndAnEndTag) {
    lamp_state *object = lamp(1);
    char buffer[128];
    const auto expect = [&](const std::string &text) {
        services.clear();
        const u32 length = lamp_state_to_xml(handle, tx, "x", buffer, object, 128, 9, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(
            services.order({"kel_clear_last_error", "start_tag", "xml_enum_print", "end_tag"}),
            "kel_clear_last_error start_tag xml_enum_print end_tag");
        EXPECT_EQ(services.calls("start_tag")[0].text, "x");
        EXPECT_EQ(services.calls("start_tag")[0].arguments.at(5), 0U) << "the flag";
        EXPECT_EQ(services.calls("xml_enum_print")[0].text, text);
        EXPECT_EQ(services.calls("xml_enum_print")[0].arguments.at(5), text.size());
        EXPECT_EQ(services.calls("end_tag")[0].text, "x");
        const std::string xml(buffer, length);
        EXPECT_EQ(xml.find("<x>"), 0U) << xml;
        EXPECT_NE(xml.find(text), std::string::npos) << xml;
        EXPECT_NE(xml.rfind("</x>"), std::string::npos) << xml;
    };
    expect("<LAMP_ON/>");
    value_of(object) = 3;
    expect("<lamp_state value out of range/>");
}

TEST_P(EnumerationServices, FromXmlTriesEachEnumeratorInOrder) {
    lamp_state *object = lamp(0);
    const Document document = parse("<d><LAMP_BLINK/></d>");
    handle->last_error = EEXIST;
    services.clear();
    lamp_state_from_xml(handle, tx, "/d", document.get(), object, &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(object), 2U);
    std::vector<std::string> paths;
    for (const ServiceCall &call : services.calls("xml_get_element_value")) {
        EXPECT_EQ(call.pointer<void>(0), document.get());
        EXPECT_EQ(call.arguments_in(3, 5), words(128, 0));
        paths.push_back(call.text);
    }
    EXPECT_EQ(paths, (std::vector<std::string>{"/d/LAMP_OFF", "/d/LAMP_ON", "/d/LAMP_BLINK"}));
    // Each absence was stored in the handle and cleared from the error word.
    EXPECT_EQ(services.count("kel_store_err"), 2U);
    EXPECT_EQ(services.calls("kel_store_err")[0].arguments, words(handle, 2));
    EXPECT_EQ(handle->last_error, ENOENT);
}

TEST_P(EnumerationServices, FromXmlStopsAtTheFirstFailureAndTruncatesItsPath) {
    lamp_state *object = lamp(1);
    services.always_return("xml_get_element_value", EINVAL);
    services.clear();
    lamp_state_from_xml(handle, tx, "/d", nullptr, object, &err, nullptr, 0);
    expect_error(EINVAL);
    EXPECT_EQ(services.count("xml_get_element_value"), 1U);
    services.always_return("xml_get_element_value", ENOENT);
    services.clear();
    lamp_state_from_xml(handle, tx, std::string(300, 'p').c_str(), nullptr, object, &err, nullptr,
                        0);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.calls("xml_get_element_value")[0].text, std::string(255, 'p'));
    EXPECT_EQ(value_of(object), 1U);
}

}  // namespace
}  // namespace tarn::test
