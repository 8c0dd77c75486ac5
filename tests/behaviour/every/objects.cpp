// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/objects.h"

#include <cstring>

namespace tarn::test {

void Typed::fill_field(void *object, const Field &field, u32 seed) const {
    const std::string set = std::string(field.name) + "_set";
    u32 err = 0;
    if (has_plain_value(field.kind)) {
        (*this)(set + "_value", {object, plain_value(field, seed), &err});
    } else if (field.kind == FieldKind::vstring) {
        const Text text(text_value(field, seed));
        (*this)(set, {object, text.get(), &err});
    } else if (field.kind == FieldKind::address) {
        const ip_address address = address_value(field, seed);
        (*this)(set, {object, &address, &err});
    } else if (field.kind == FieldKind::array) {
        const auto elements = array_value(field, seed);
        (*this)(set + "_mem", {object, elements.data(), field.elements, &err});
    } else {
        const Typed inner(*field.structure, handle_, tx_);
        void *source = inner.create();
        inner.fill(source, seed_inside(field, seed));
        (*this)(set, {object, source, &err});
        inner.destroy(source);
    }
    ASSERT_EQ(err, 0U) << name(set);
}

void Typed::fill(void *object, u32 seed) const {
    for (const Field &field : fields_of(*type_)) {
        if (field.first_variant <= head(object)->variant) fill_field(object, field, seed);
    }
}

void Typed::check_field(void *object, const Field &field, u32 seed) const {
    const std::string get = std::string(field.name) + "_get";
    const std::string where = name(field.name);
    u32 err = 0;
    if (has_plain_value(field.kind)) {
        const u64 word = (*this).operator()<u64>(get + "_value", {object, &err});
        EXPECT_EQ(narrowed(field.kind, word), plain_value(field, seed)) << where;
    } else if (field.kind == FieldKind::array) {
        std::array<u8, minutes> elements;
        (*this)(get + "_mem", {object, elements.data(), field.elements, &err});
        EXPECT_EQ(elements, array_value(field, seed)) << where;
    } else {
        void *access = (*this).operator()<void *>(get, {object, &err});
        ASSERT_NE(access, nullptr) << where;
        if (field.kind == FieldKind::vstring) {
            EXPECT_EQ(text_of(static_cast<kel_vstring *>(access)), text_value(field, seed))
                << where;
        } else if (field.kind == FieldKind::address) {
            const ip_address expected = address_value(field, seed);
            EXPECT_EQ(ip_address_compare(static_cast<ip_address *>(access), &expected), 0) << where;
        } else {
            Typed(*field.structure, handle_, tx_).check(access, seed_inside(field, seed));
        }
    }
    EXPECT_EQ(err, 0U) << where;
}

void Typed::check(void *object, u32 seed, int variant) const {
    for (const Field &field : fields_of(*type_)) {
        if (field.first_variant <= variant) check_field(object, field, seed);
    }
}

namespace {

// Print skips bytes without changing them, hence the spaces; the longest form is the
// XML of an array.
std::string blank_buffer() { return std::string(256 * 1024, ' '); }

}  // namespace

std::vector<u8> Typed::wire(const void *object) const {
    u32 err = 0;
    // The last state byte is stored without checking the length.
    std::vector<u8> bytes((*this).operator()<u32>("len", {object}) + 1);
    const auto space = static_cast<u32>(bytes.size() - 1);
    bytes.resize((*this).operator()<u32>("marshal", {bytes.data(), object, space, &err}));
    EXPECT_EQ(err, 0U) << name("marshal");
    EXPECT_EQ(bytes.size(), space) << name("len");
    return bytes;
}

std::string Typed::text(const void *object) const {
    u32 err = 0;
    std::string text = blank_buffer();
    text.resize(
        (*this).operator()<u32>("print", {text.data(), 0, type_->name, object, text.size(), &err}));
    EXPECT_EQ(err, 0U) << name("print");
    return text;
}

std::string Typed::xml(const void *object) const {
    u32 err = 0;
    std::string text = blank_buffer();
    text.resize((*this).operator()<u32>("to_xml",
                                        {type_->name, text.data(), object, text.size(), 0, &err}));
    EXPECT_EQ(err, 0U) << name("to_xml");
    return text;
}

StructureTest::StructureTest() {
    void *object = typed.create();
    typed.fill(object, 1);
    typed.destroy(object);
    blocks = session.blocks();
}

void StructureTest::TearDown() {
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(session.blocks(), blocks) << "blocks were leaked";
}

}  // namespace tarn::test
