// SPDX-License-Identifier: Apache-2.0
// What items are called in C++.
#include "face.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

// The names of an enumeration's enumerators in C++.
Names enumerators(const Names &names) {
    tarnc::Enumeration enumeration;
    for (const std::string &name : names) enumeration.enumerators.push_back({name, "", 0});
    return tarnc::face_enumerators(enumeration);
}

std::string class_name(const std::string &name) {
    tarnc::Structure structure;
    structure.name = name;
    return tarnc::face_name(structure);
}

std::string member(const std::string &name) {
    tarnc::Structure structure;
    structure.name = "st_lamp";
    tarnc::Field field;
    field.name = name;
    return tarnc::face_member(structure, field);
}

// What a hand-written header of the interface declares in its namespace.
Names declared_in(const std::filesystem::path &header) {
    static const std::regex declaration(
        R"(^(?:(?:class|struct|enum class|using) (?:\[\[\w+\]\] )?|[a-z][\w:<>,&* ]* &?)(\w+)(?: |;|\(|$).*)");
    Names names;
    std::ifstream lines(header);
    std::smatch match;
    bool is_inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "namespace tarn {" || line == "}  // namespace detail") is_inside = true;
        else if (line == "namespace detail {" || line == "}  // namespace tarn") is_inside = false;
        else if (is_inside && std::regex_match(line, match, declaration)) names.push_back(match[1]);
    }
    return names;
}

TEST(Face, NoItemHasANameOfTheInterface) {
    Names all;
    for (const auto &header : std::filesystem::directory_iterator(TARNBASE_FACE_HEADERS)) {
        const Names names = declared_in(header.path());
        all.insert(all.end(), names.begin(), names.end());
    }
    ASSERT_GT(all.size(), 30U);
    for (const std::string &name : all) {
        tarnc::Schema schema;
        schema.structures.emplace_back().name = "st_" + name;
        tarnc::Diagnostics diagnostics;
        tarnc::check_face(schema, diagnostics);
        EXPECT_FALSE(diagnostics.clean()) << name;
    }
}

TEST(Face, StructuresLoseTheirPrefix) {
    EXPECT_EQ(class_name("st_ldap_conn"), "ldap_conn");
    EXPECT_EQ(class_name("kel_timespec"), "timespec");
    EXPECT_EQ(class_name("service_type_info_key"), "service_type_info_key");
    EXPECT_EQ(class_name("stone"), "stone");
}

TEST(Face, APrefixStaysIfTheRestIsNoName) {
    EXPECT_EQ(class_name("st_1x"), "st_1x");
    EXPECT_EQ(class_name("st_"), "st_");
    EXPECT_EQ(class_name("st_class"), "class_");
}

TEST(Face, EnumeratorsLoseTheirCommonPrefix) {
    EXPECT_EQ(enumerators({"LAMP_OFF", "LAMP_ON"}), (Names{"off", "on"}));
    EXPECT_EQ(enumerators({"KEL_DIR_BOTH", "KEL_DIR_IN_OUT"}), (Names{"both", "in_out"}));
    EXPECT_EQ(enumerators({"RED", "BLUE"}), (Names{"red", "blue"}));
    EXPECT_EQ(enumerators({"LAMP_ON", "LAMPS_OFF"}), (Names{"lamp_on", "lamps_off"}));
}

TEST(Face, EachEnumeratorKeepsAWord) {
    EXPECT_EQ(enumerators({"SINGLE_CHOICE_ONLY"}), Names{"only"});
    EXPECT_EQ(enumerators({"ONLY"}), Names{"only"});
    EXPECT_EQ(enumerators({"LAMP_ON", "LAMP_ON_DIM"}), (Names{"on", "on_dim"}));
}

TEST(Face, AnEnumeratorThatWouldStartWithADigitKeepsTheWordBefore) {
    EXPECT_EQ(enumerators({"TLS_1_2", "TLS_1_3"}), (Names{"tls_1_2", "tls_1_3"}));
    EXPECT_EQ(enumerators({"PROTOCOL_TLS_1", "PROTOCOL_NONE"}), (Names{"tls_1", "none"}));
    EXPECT_EQ(enumerators({"SPEED_10", "SPEED_AUTO"}), (Names{"speed_10", "auto_"}));
}

TEST(Face, KeywordsAndMacrosGetAnUnderscore) {
    EXPECT_EQ(enumerators({"STATUS_DEFAULT", "STATUS_ERRNO"}), (Names{"default_", "errno_"}));
    EXPECT_EQ(member("register"), "register_");
    EXPECT_EQ(member("linux"), "linux_");
    EXPECT_EQ(member("status"), "status");
}

TEST(Face, FieldsDoNotUseTheNamesOfTheirClass) {
    EXPECT_EQ(member("key"), "key_");
    EXPECT_EQ(member("to_xml"), "to_xml_");
    EXPECT_EQ(member("lamp"), "lamp_");
}

}  // namespace
