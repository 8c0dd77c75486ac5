// SPDX-License-Identifier: Apache-2.0
// The text and XML forms of one object of each kind of field, as literals.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/behaviour/object/sample.h"

namespace tarn::test {
namespace {

class GoldenForms : public ObjectTest {
 protected:
    std::vector<char> buffer = std::vector<char>(8192, ' ');
    std::string text(u32 length) const { return {buffer.data(), length}; }
};

TEST_F(GoldenForms, Text) {
    const u32 length =
        st_every_print(handle, tx, buffer.data(), 0, "sample", sample_every(make), 8000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length),
              "sample@st_every: {\n"
              "  a8: 17\n"
              "  a16: 8755\n"
              "  a32: 1146447479\n"
              "  a64: 9843086184167632639\n"
              "  s32: -3\n"
              "  s64: -72623859790382856\n"
              "  flag: true\n"
              "  lamp@lamp_state:LAMP_ON\n"
              "  door@door_state:DOOR_LOCKED\n"
              "  label: \"a <text> of \\\"more\\\" & \xc3\xa9\"\n"
              "  addr: 192.0.2.7\n"
              "  tag@st_tag: {\n"
              "    name: \"tag\"\n"
              "    lamp@lamp_state:LAMP_BLINK\n"
              "    point@st_point: {\n"
              "      x: -2\n"
              "      y: 16909060\n"
              "    }\n"
              "  }\n"
              "}\n");
}

TEST_F(GoldenForms, TextOfANewObject) {
    const u32 length =
        st_every_print(handle, tx, buffer.data(), 1, "e", st_every_create(handle, tx), 8000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length),
              " e@st_every: {\n"
              "   a8: 0\n"
              "   a16: 0\n"
              "   a32: 0\n"
              "   a64: 0\n"
              "   s32: 0\n"
              "   s64: 0\n"
              "   flag: false\n"
              "   lamp@lamp_state:LAMP_OFF\n"
              "   door@door_state:Enum value out of range"
              "   label: \"\"\n"
              "   addr: none\n"
              "   tag@st_tag: {\n"
              "     name: \"\"\n"
              "     lamp@lamp_state:LAMP_OFF\n"
              "     point@st_point: {\n"
              "       x: 0\n"
              "       y: 0\n"
              "     }\n"
              "   }\n"
              " }\n");
}

TEST_F(GoldenForms, TextOfAnArrayCountsFrom0) {
    st_day *day = st_day_create(handle, tx);
    st_day_minute_set_value(handle, tx, day, 0, 5, &err);
    st_day_minute_set_value(handle, tx, day, 1439, 255, &err);
    std::vector<char> area(40000, ' ');
    const u32 length = st_day_print(handle, tx, area.data(), 0, "d", day, 40000, &err);
    const std::string whole(area.data(), length);
    EXPECT_EQ(whole.rfind("d@st_day: {\n  name: \"\"\n  minute[0]: 5\n  minute[1]: 0\n", 0), 0U);
    const std::string ending = "\n  minute[1438]: 0\n  minute[1439]: 255\n  total: 0\n}\n";
    EXPECT_EQ(whole.substr(whole.size() - ending.size()), ending);
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 1 + 1 + 1440 + 1 + 1);
}

TEST_F(GoldenForms, Xml) {
    const u32 length =
        st_every_to_xml(handle, tx, "sample", buffer.data(), sample_every(make), 8000, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length),
              "<sample>\n"
              "<a8>17</a8>\n"
              "<a16>8755</a16>\n"
              "<a32>1146447479</a32>\n"
              "<a64>9843086184167632639</a64>\n"
              "<s32>-3</s32>\n"
              "<s64>-72623859790382856</s64>\n"
              "<flag>true</flag>\n"
              "<lamp>\n<LAMP_ON/></lamp>\n"
              "<door>\n<DOOR_LOCKED/></door>\n"
              "<label>a &lt;text&gt; of &quot;more&quot; &amp; \xc3\xa9</label>\n"
              "<addr>192.0.2.7</addr>\n"
              "<tag>\n"
              "<name>tag</name>\n"
              "<lamp>\n<LAMP_BLINK/></lamp>\n"
              "<point>\n<x>-2</x>\n<y>16909060</y>\n</point>\n"
              "</tag>\n"
              "</sample>\n");
}

TEST_F(GoldenForms, XmlHasNonzeroStateFlags) {
    track(KEL_STATE_TRACKING_ON);
    st_tag *tag = sample_tag(make);
    const u8 flags[tag_states] = {1, 0, 2, 3, 0, 255};
    std::copy_n(flags, tag_states, at(tag, tag_size));
    const u32 length = st_tag_to_xml(handle, tx, "t", buffer.data(), tag, 8000, 9, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length),
              "<t state=\"9\">\n"
              "<name state=\"1\">tag</name>\n"
              "<lamp>\n<LAMP_BLINK/></lamp>\n"
              "<point state=\"3\">\n<x>-2</x>\n<y state=\"255\">16909060</y>\n</point>\n"
              "</t>\n");
}

TEST_F(GoldenForms, XmlOfAnUnknownEnumerator) {
    st_every *every = st_every_create(handle, tx);
    const u32 length = st_every_to_xml(handle, tx, "e", buffer.data(), every, 8000, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(text(length).find("<door>\n<door_state value out of range/></door>\n"),
              std::string::npos);
    EXPECT_NE(text(length).find("<label></label>\n<addr></addr>\n"), std::string::npos);
}

TEST_F(GoldenForms, XmlOfAnUnknownEnumeratorCannotBeRead) {
    st_every *every = st_every_create(handle, tx);
    u32 length = st_every_to_xml(handle, tx, "e", buffer.data(), every, 8000, 0, &err);
    EXPECT_EQ(kel_xml_parse(buffer.data(), length), nullptr);
    st_every_door_set_value(handle, tx, every, DOOR_OPEN, &err);
    length = st_every_to_xml(handle, tx, "e", buffer.data(), every, 8000, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(parse(text(length)), nullptr);
}

}  // namespace
}  // namespace tarn::test
