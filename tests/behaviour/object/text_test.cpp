// SPDX-License-Identifier: Apache-2.0
// The text form.
#include <cerrno>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Print : public ObjectModeTest {
 protected:
    std::vector<char> buffer = std::vector<char>(100000, ' ');
    std::string text(u32 length) const { return {buffer.data(), length}; }
    // The text of a value, which the runtime writes.
    std::string line(const char *name, const kel_vstring *value, u32 indent) {
        char area[256];
        u32 slot = 0;
        return {area, kel_vstring_print(handle, tx, area, indent, name, value, 256, &slot)};
    }
    std::string line(const char *name, u32 value, u32 indent) {
        char area[256];
        u32 slot = 0;
        return {area, u_int32_print(handle, tx, area, indent, name, &value, 256, &slot)};
    }
    std::string line(const char *name, std::int32_t value, u32 indent) {
        char area[256];
        u32 slot = 0;
        return {area, int32_print(handle, tx, area, indent, name, &value, 256, &slot)};
    }
    // Masks the bytes that a closing line skips.
    static std::string masked(std::string text, std::size_t at, u32 count) {
        return text.replace(at, count, count, '.');
    }
};
TARN_EACH_MODE(Print);

TEST_P(Print, AnObjectAtIndent0HasItsNameItsFieldsAndABrace) {
    st_ldap_conn *conn = make.conn("server", 300);
    const u32 length = st_ldap_conn_print(handle, tx, buffer.data(), 0, "mine", conn, 1000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length), "mine@st_ldap_conn: {\n" + line("sname", Text("server"), 2) +
                                line("num_conns", 300U, 2) + "}\n");
}

TEST_P(Print, ClosingBlanksAreWrittenOverTheOpeningOnesAndSkipped) {
    st_ldap_conn *conn = make.conn("server", 300);
    services.clear();
    const u32 length = st_ldap_conn_print(handle, tx, buffer.data(), 3, "mine", conn, 1000, &err);
    EXPECT_EQ(err, 0U);
    const std::string opening =
        "   mine@st_ldap_conn: {\n" + line("sname", Text("server"), 5) + line("num_conns", 300U, 5);
    EXPECT_EQ(masked(text(length), opening.size(), 3), opening + "...}\n");
    const auto blanks = services.calls("kel_print_space");
    ASSERT_EQ(blanks.size(), 2U);
    for (const ServiceCall &call : blanks) {
        EXPECT_EQ(call.arguments_in(2, 4), words(buffer.data(), 3));
    }
}

TEST_P(Print, SkippedBytesKeepTheirContents) {
    st_ldap_conn *conn = make.conn("server", 300);
    std::fill(buffer.begin(), buffer.end(), '#');
    const u32 length = st_ldap_conn_print(handle, tx, buffer.data(), 3, "mine", conn, 1000, &err);
    EXPECT_EQ(text(length).substr(length - 5), "###}\n");
}

TEST_P(Print, NoNulIsWrittenAfterAnInnerText) {
    std::fill(buffer.begin(), buffer.end(), '#');
    st_tag *tag = make.tag(4);
    u32 length = st_tag_print(handle, tx, buffer.data(), 2, "t", tag, 1000, &err);
    EXPECT_EQ(err, 0U);
    const std::string ending = "y: 5\n####}\n##}\n";
    EXPECT_EQ(text(length).substr(length - ending.size()), ending);
    EXPECT_EQ(buffer[length], '#');
    // An outermost text at indent 0 ends with a NUL, as snprintf's does.
    length = st_tag_print(handle, tx, buffer.data(), 0, "t", tag, 1000, &err);
    EXPECT_EQ(std::string(buffer.data()), text(length));
    EXPECT_EQ(text(length).find('\0'), std::string::npos);
    // The same after an enumerator and after a value that is none.
    for (const u32 door : {3U, 9U}) {
        std::fill(buffer.begin(), buffer.end(), '#');
        st_every *every = make.every(0);
        at<u32>(every, 80 + 12)[0] = door;
        const auto *state = at<door_state>(every, 80);
        length = door_state_print(handle, tx, buffer.data(), 1, "d", state, 100, &err);
        EXPECT_EQ(buffer[length], '#');
        length = door_state_print(handle, tx, buffer.data(), 0, "d", state, 100, &err);
        EXPECT_EQ(buffer[length], '\0');
    }
}

TEST_P(Print, EnumerationsAndNestedObjectsArePrintedOneLevelDeeper) {
    st_tag *tag = st_tag_create(handle, tx);
    st_tag_lamp_set_value(handle, tx, tag, 1, &err);
    const u32 length = st_tag_print(handle, tx, buffer.data(), 0, "t", tag, 1000, &err);
    EXPECT_EQ(err, 0U);
    const std::string inner = "  point@st_point: {\n" + line("x", 0, 4) + line("y", 0, 4);
    const std::string opening =
        "t@st_tag: {\n" + line("name", Text(""), 2) + "  lamp@lamp_state:LAMP_ON\n" + inner;
    EXPECT_EQ(masked(text(length), opening.size(), 2), opening + "..}\n}\n");
}

TEST_P(Print, AnUnknownEnumeratorIsPrintedAsOutOfRangeWithoutANewline) {
    st_every *every = st_every_create(handle, tx);
    const u32 length = st_every_print(handle, tx, buffer.data(), 0, "e", every, 5000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(text(length).find("  door@door_state:Enum value out of range  label"),
              std::string::npos)
        << text(length);
}

TEST_P(Print, AnArrayHasOneLinePerElementLabelledFrom0) {
    st_day *day = st_day_create(handle, tx);
    st_day_minute_set_value(handle, tx, day, 0, 5, &err);
    st_day_minute_set_value(handle, tx, day, 1439, 255, &err);
    const u32 length = st_day_print(handle, tx, buffer.data(), 0, "d", day, 99000, &err);
    EXPECT_EQ(err, 0U);
    std::string expected = "d@st_day: {\n" + line("name", Text(""), 2);
    for (u32 i = 0; i < minutes; ++i) {
        const std::string label = "minute[" + std::to_string(i) + "]";
        expected += line(label.c_str(), i == 0 ? 5U : (i == 1439 ? 255U : 0U), 2);
    }
    EXPECT_EQ(text(length), expected + line("total", 0U, 2) + "}\n");
}

TEST_P(Print, AnInstanceWithAllItsVariantsIsClosed) {
    st_grown *grown = make.grown(2);
    const u32 length = st_grown_print(handle, tx, buffer.data(), 0, "g", grown, 99000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(text(length).find("  extra@st_tag: {\n"), std::string::npos);
    EXPECT_EQ(text(length).substr(length - 3), "\n}\n");
}

TEST_P(Print, AnOlderInstanceEndsAfterItsLastFieldUnclosed) {
    st_grown *grown = make.grown(2);
    head(grown)->variant = 0;
    const u32 length = st_grown_print(handle, tx, buffer.data(), 0, "g", grown, 99000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length).find("extra"), std::string::npos);
    const u32 last = st_grown_minute_get_value(handle, tx, grown, 1439, &err);
    const std::string ending = line("minute[1439]", last, 2);
    EXPECT_EQ(text(length).substr(length - ending.size()), ending);
}

TEST_P(Print, AnInstanceOfANegativeVariantHasOnlyItsOpeningLine) {
    st_ldap_conn *conn = make.conn("server", 300);
    head(conn)->variant = -1;
    const u32 length = st_ldap_conn_print(handle, tx, buffer.data(), 2, "mine", conn, 1000, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text(length), "  mine@st_ldap_conn: {\n");
}

TEST_P(Print, TheCrFormPrintsAtIndent0WithTheTypesName) {
    st_ldap_conn *conn = make.conn("server", 300);
    kel_clear_last_error(handle);
    const u32 length = st_ldap_conn_print_cr(handle, conn, buffer.data(), 1000);
    EXPECT_EQ(text(length).substr(0, 29), "st_ldap_conn@st_ldap_conn: {\n");
    EXPECT_EQ(st_ldap_conn_print_cr(handle, conn, buffer.data(), 10), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(st_ldap_conn_print_cr(handle, conn, buffer.data(), 1000), 0xffffffffU);
}

TEST_P(Print, IsSafeForEveryBufferSize) {
    st_every *every = make.every(3);
    const u32 length = st_every_print(handle, tx, buffer.data(), 4, "e", every, 5000, &err);
    ASSERT_EQ(err, 0U);
    for (u32 space = 0; space < length; ++space) {
        std::vector<char> exact(space);
        const u32 written = st_every_print(handle, tx, exact.data(), 4, "e", every, space, &err);
        EXPECT_LE(written, space);
        ASSERT_EQ(err, EMSGSIZE) << space;
        EXPECT_EQ(handle->last_error, EMSGSIZE);
        err = 0;
    }
    std::vector<char> exact(length);
    EXPECT_EQ(st_every_print(handle, tx, exact.data(), 4, "e", every, length, &err), length);
    EXPECT_EQ(err, 0U);
}

}  // namespace
}  // namespace tarn::test
