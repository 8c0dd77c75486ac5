// SPDX-License-Identifier: Apache-2.0
// st_aaa_servers, the one structure of two variants, in every form of both.
#include <cerrno>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {
namespace {

class TwoVariants : public ::testing::TestWithParam<Mode> {
 protected:
    TwoVariants() { choose(0); }
    void choose(std::int8_t variant) {
        ASSERT_EQ(kel_handle_set_variant(handle, type.descriptor, variant), 0U);
    }
    void *make(std::int8_t variant, u32 seed) {
        choose(variant);
        void *object = typed.create();
        EXPECT_EQ(head(object)->variant, variant);
        typed.fill(object, seed);
        return object;
    }
    const Field &later() const { return type.fields[type.field_count - 1]; }
    void *later_of(void *object) {
        return typed.operator()<void *>("radius_dtls_stats_get", {object, &err});
    }
    void expect_error(u32 expected) {
        EXPECT_EQ(err, expected);
        EXPECT_EQ(handle->last_error, expected);
        err = 0;
    }
    std::int32_t compare(const void *a, const void *b) {
        return call<std::int32_t>(typed.name("compare"), {a, b});
    }

    const TraceCapture trace;
    const Structure &type = structure("st_aaa_servers");
    Session session{GetParam()};
    kel_handle *const handle = session.handle();
    const Typed typed{type, handle};
    u32 err = 0;
};
TARN_EACH_MODE(TwoVariants);

TEST_P(TwoVariants, TheOlderOneHasNoLaterField) {
    void *object = make(0, 1);
    EXPECT_EQ(later_of(object), nullptr);
    expect_error(EIDRM);
    void *source = Typed(*later().structure, handle).create();
    typed("radius_dtls_stats_set", {object, source, &err});
    expect_error(EIDRM);
    Typed(*later().structure, handle).destroy(source);
    typed.check(object, 1, 0);
    if (is_tracking(handle)) {
        typed("set_all_state_tracking_flag", {object, 7});
        EXPECT_EQ(typed.operator()<u8>("radius_dtls_stats_state_flag_get", {object, &err}), 7);
        EXPECT_EQ(err, 0U);
    }
    typed.destroy(object);
}

TEST_P(TwoVariants, VariantsAreCappedAt1) {
    const auto cap = [this](int variant) {
        return int{call<std::int8_t>(typed.name("variant_data_index_cap"), {variant})};
    };
    EXPECT_EQ((std::vector<int>{cap(2), cap(1), cap(0), cap(-1)}), (std::vector<int>{1, 1, 0, -1}));
}

TEST_P(TwoVariants, AWriteRaisesAnOlderOneIfTheDomainAllowsIt) {
    void *object = make(0, 1);
    choose(1);
    EXPECT_EQ(later_of(object), nullptr);
    expect_error(EIDRM);
    typed.fill_field(object, later(), 1);
    EXPECT_EQ(head(object)->variant, 1);
    EXPECT_EQ(head(object)->created_variant, 0);
    typed.check(object, 1);
    typed.destroy(object);
}

TEST_P(TwoVariants, TheWireFormOfEachRoundTrips) {
    for (const std::int8_t variant : {std::int8_t{0}, std::int8_t{1}}) {
        void *object = make(variant, 1);
        const std::vector<u8> bytes = typed.wire(object);
        EXPECT_EQ(bytes[0], variant);
        void *second = make(1, 2);
        EXPECT_EQ(typed.operator()<u32>("unmarshal", {bytes.data(), second, bytes.size(), 0, &err}),
                  bytes.size());
        EXPECT_EQ(head(second)->variant, variant);
        typed.check(second, 1, variant);
        if (variant == 0) {
            // The fields that the writer didn't have don't change.
            head(second)->variant = 1;
            typed.check_field(second, later(), 2);
        } else {
            EXPECT_EQ(compare(object, second), 0);
            EXPECT_EQ(typed.wire(second), bytes);
        }
        typed.destroy(object);
        typed.destroy(second);
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(TwoVariants, ANewerOneIsWrittenInTheDomainsForm) {
    void *newer = make(1, 1);
    void *older = make(0, 1);
    std::vector<u8> bytes(typed.operator()<u32>("len", {newer}) + 1);
    const auto space = static_cast<u32>(bytes.size() - 1);
    const u32 written = typed.operator()<u32>("marshal", {bytes.data(), newer, space, &err});
    expect_error(EIDRM);
    bytes.resize(written);
    EXPECT_EQ(bytes, typed.wire(older));
    bytes.resize(space + 1);
    EXPECT_EQ(typed.operator()<u32>("marshal_for_clone", {bytes.data(), newer, space, &err}),
              space);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes[0], 1);
    typed.destroy(newer);
    typed.destroy(older);
}

TEST_P(TwoVariants, TextAndXmlOfTheOlderOneOmitTheLaterField) {
    void *older = make(0, 1);
    void *newer = make(1, 1);
    const std::string old_text = typed.text(older), new_text = typed.text(newer);
    EXPECT_EQ(old_text.find("radius_dtls_stats"), std::string::npos);
    EXPECT_EQ(new_text.compare(0, old_text.size(), old_text), 0);
    // The older one's text has no closing line.
    EXPECT_NE(old_text.substr(old_text.size() - 2), "}\n");
    EXPECT_EQ(new_text.substr(new_text.size() - 2), "}\n");
    const std::string old_xml = typed.xml(older), new_xml = typed.xml(newer);
    EXPECT_EQ(old_xml.find("radius_dtls_stats"), std::string::npos);
    EXPECT_NE(new_xml.find("radius_dtls_stats"), std::string::npos);

    const Document document = parse(old_xml);
    void *second = make(1, 2);
    typed("from_xml", {"//st_aaa_servers", document.get(), second, &err, nullptr, 0});
    typed.check(second, 1, 0);
    typed.check_field(second, later(), 2);
    for (void *object : {older, newer, second}) typed.destroy(object);
    EXPECT_EQ(err, 0U);
}

TEST_P(TwoVariants, XmlSetsTheLaterFieldInAnyVariant) {
    void *newer = make(1, 1);
    void *older = make(0, 2);
    const Document document = parse(typed.xml(newer));
    typed("from_xml", {"//st_aaa_servers", document.get(), older, &err, nullptr, 0});
    EXPECT_EQ(head(older)->variant, 0);
    EXPECT_EQ(compare(newer, older), 0);
    typed.destroy(newer);
    typed.destroy(older);
}

TEST_P(TwoVariants, CompareAndHashUseTheLaterFieldInEveryVariant) {
    void *older = make(0, 1);
    void *newer = make(1, 1);
    const auto hash = [this](const void *object) {
        return call<u32>(typed.name("hash"), {object, 3});
    };
    EXPECT_LT(compare(older, newer), 0);
    EXPECT_NE(hash(older), hash(newer));
    typed("set", {older, newer, &err});
    EXPECT_EQ(compare(older, newer), 0);
    EXPECT_EQ(hash(older), hash(newer));
    typed.check(older, 1);
    typed.destroy(older);
    typed.destroy(newer);
}

TEST_P(TwoVariants, AnOlderOneIsClonedAsItIs) {
    void *object = make(0, 1);
    void *second = typed.cr<void *>("clone_cr", {object});
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(head(second)->variant, 0);
    typed.check(second, 1, 0);
    EXPECT_EQ(typed.wire(second), typed.wire(object));
    typed.destroy(object);
    typed.destroy(second);
}

TEST_P(TwoVariants, FieldNumbersAreCheckedAgainstTheDomain) {
    const u32 first_invalid[] = {40, 42};
    for (std::int8_t variant = 0; variant < 2; ++variant) {
        choose(variant);
        for (u32 number = 38; number < 44; ++number) {
            EXPECT_EQ(typed.cr<u32>("is_valid_cr", {nullptr, number}),
                      number < first_invalid[variant] ? 1U : 0U)
                << number;
        }
    }
    choose(2);
    EXPECT_EQ(typed.cr<u32>("is_valid_cr", {nullptr, 42}), 1U);
}

}  // namespace
}  // namespace tarn::test
