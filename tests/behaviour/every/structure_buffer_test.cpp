// SPDX-License-Identifier: Apache-2.0
// The forms of each structure, byte by byte, and in buffers that end anywhere.
#include <algorithm>
#include <cerrno>
#include <map>

#include "tests/behaviour/every/forms.h"
#include "tests/behaviour/every/objects.h"

namespace tarn::test {
namespace {

constexpr u8 untouched = 0xee;

class Forms : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        typed.fill(object, 1);
        if (!tracking) return;
        for (u32 i = 0; i < type.state_length; ++i) {
            block()[i] = static_cast<u8>(i % 5 == 0 ? 0 : i * 37);
        }
    }
    void TearDown() override {
        typed.destroy(object);
        StructureTest::TearDown();
    }
    u8 *block() { return at(object, type.plain_size); }
    Filled filled(int variant) { return {type, 1, variant, tracking ? block() : nullptr}; }
    // For each variant of the type, the object in it.
    template <typename Check>
    void in_each_variant(Check check) {
        for (int variant = 0; variant <= type.top_variant; ++variant) {
            SCOPED_TRACE("variant " + std::to_string(variant));
            head(object)->variant = static_cast<std::int8_t>(variant);
            check(filled(variant));
        }
    }

    void *object = nullptr;
};
TARN_EACH_STRUCTURE(Forms);
// Whose buffer is cut: it doesn't depend on where the descriptors are.
class FormSizes : public Forms {};

std::vector<InMode<Structure>> plain_and_tracking() {
    std::vector<InMode<Structure>> cases;
    for (const auto &each : in_each_mode(all_structures())) {
        if (each.mode != Mode::store_types) cases.push_back(each);
    }
    return cases;
}
#define TARN_EACH_STRUCTURE_BUT_STORE_TYPES(suite)                                    \
    INSTANTIATE_TEST_SUITE_P(Every, suite, ::testing::ValuesIn(plain_and_tracking()), \
                             name_in_mode<Structure>)
TARN_EACH_STRUCTURE_BUT_STORE_TYPES(FormSizes);

constexpr u32 plenty = 1U << 20;

// All lengths up to that of a short form; of a long one, those around its items'
// ends and a sample of the others.
std::vector<u32> lengths_below(u32 whole, const std::vector<u32> &edges) {
    const auto near_an_edge = [&](u32 length) {
        return std::any_of(edges.begin(), edges.end(),
                           [length](u32 edge) { return edge <= length + 1 && length <= edge + 1; });
    };
    std::vector<u32> lengths;
    for (u32 length = 1; length < whole; ++length) {
        if (whole < 600 || length % 397 == 0 || near_an_edge(length)) lengths.push_back(length);
    }
    return lengths;
}

TEST_P(Forms, TheWireFormIsThatOfTheFieldsInSchemaOrder) {
    in_each_variant([this](const Filled &filled) {
        WireForm form(plenty);
        form.object(filled);
        EXPECT_EQ(typed.wire(object), form.bytes);
        EXPECT_EQ(typed.operator()<u32>("len", {object}), form.bytes.size());
    });
}

TEST_P(FormSizes, ABufferGetsTheItemsThatFit) {
    in_each_variant([this](const Filled &filled) {
        WireForm whole(plenty);
        whole.object(filled);
        for (const u32 space : lengths_below(static_cast<u32>(whole.bytes.size()), whole.edges)) {
            SCOPED_TRACE("space " + std::to_string(space));
            WireForm form(space);
            form.object(filled);
            std::vector<u8> buffer(space + 2, untouched);
            const u32 written =
                typed.operator()<u32>("marshal", {buffer.data(), object, space, &err});
            ASSERT_EQ(err, form.err);
            ASSERT_EQ(handle->last_error, form.err);
            err = 0;
            ASSERT_EQ(written, form.bytes.size());
            // A state byte is stored even after a full buffer, one byte after its end.
            const u32 end = written == space && tracking ? space + 1 : written;
            ASSERT_EQ(std::vector<u8>(buffer.begin(), buffer.begin() + written), form.bytes);
            ASSERT_EQ(std::count(buffer.begin() + end, buffer.end(), untouched), space + 2 - end);
        }
    });
}

// ---- Reading a truncated form --------------------------------------------------------

class TruncatedForms : public Forms {
 protected:
    void SetUp() override {
        Forms::SetUp();
        target = typed.create();
    }
    void TearDown() override {
        typed.destroy(target);
        Forms::TearDown();
    }
    // Expects the first object's values where they were read, and otherwise the second one's.
    void check(const Typed &inner, void *read, u32 first, u32 second, const std::string &path) {
        for (const Field &field : fields_of(inner.type())) {
            const std::string here = path + field.name;
            const auto found = reading->read.find(here);
            const u32 count = found == reading->read.end() ? 0 : found->second;
            if (field.kind == FieldKind::structure) {
                check(Typed(*field.structure, handle), at(read, field.offset),
                      seed_inside(field, first), seed_inside(field, second), here + "/");
            } else if (field.kind == FieldKind::array) {
                const auto a = array_value(field, first), b = array_value(field, second);
                const u8 *elements = at(read, field.offset);
                EXPECT_TRUE(std::equal(elements, elements + count, a.begin())) << here;
                EXPECT_TRUE(std::equal(elements + count, elements + minutes, b.begin() + count))
                    << here;
            } else {
                inner.check_field(read, field, count == 1 ? first : second);
            }
        }
    }
    void read_cut(const std::vector<u8> &form, u32 length) {
        SCOPED_TRACE("length " + std::to_string(length));
        const std::vector<u8> cut(form.begin(), form.begin() + length);
        typed.fill(target, 2);
        std::vector<u8> expected_block(tracking ? type.state_length : 0, 9);
        if (tracking) typed("set_all_state_tracking_flag", {target, 9});
        WireReading expected(cut, tracking ? expected_block.data() : nullptr);
        expected.object(type);
        reading = &expected;

        const u32 consumed =
            typed.operator()<u32>("unmarshal", {cut.data(), target, length, 0, &err});
        ASSERT_EQ(err, expected.err);
        err = 0;
        ASSERT_EQ(consumed, expected.cursor);
        head(target)->variant = type.top_variant;
        check(typed, target, 1, 2, "");
        const u8 *states = at(target, type.plain_size);
        if (tracking) {
            EXPECT_EQ(std::vector<u8>(states, states + type.state_length), expected_block);
        }
    }
    // The object's form as written by a handle that tracks state, or by one that doesn't.
    void read_all_cuts(bool with_states, bool jumps) {
        in_each_variant([&](const Filled &filled) {
            std::vector<u8> zeros(type.state_length);
            WireForm form(plenty);
            form.jumps = jumps;
            form.object({filled.type, 1, filled.variant,
                         !with_states ? nullptr : (tracking ? block() : zeros.data())});
            auto lengths = lengths_below(static_cast<u32>(form.bytes.size()), form.edges);
            lengths.push_back(static_cast<u32>(form.bytes.size()));
            for (const u32 length : lengths) {
                read_cut(form.bytes, length);
                if (HasFailure()) return;
            }
        });
    }

    void *target = nullptr;
    const WireReading *reading = nullptr;
};
TARN_EACH_STRUCTURE_BUT_STORE_TYPES(TruncatedForms);

TEST_P(TruncatedForms, AreReadAsFarAsTheyGo) { read_all_cuts(tracking, true); }

TEST_P(TruncatedForms, OfTheOtherModeAreReadAsFarAsTheyGo) { read_all_cuts(!tracking, true); }

TEST_P(TruncatedForms, WithoutJumpsEndWhereTheirLastItemEnds) { read_all_cuts(true, false); }

// ---- Text and XML --------------------------------------------------------------------

TEST_P(Forms, TheTextIsThatOfTheFieldsInSchemaOrder) {
    in_each_variant([this](const Filled &filled) {
        for (const u32 indent : {0U, 3U}) {
            TextForm form(plenty, '#');
            form.object(filled, indent, "mine");
            std::string text(form.text.size() + 8, '#');
            text.resize(typed.operator()<u32>(
                "print", {text.data(), indent, "mine", object, text.size(), &err}));
            EXPECT_EQ(err, 0U);
            EXPECT_EQ(text, form.text);
        }
    });
}

// All sizes for a short text; for a long one, those at both ends and a few between.
std::vector<u32> sizes_below(u32 whole) {
    std::vector<u32> sizes;
    for (u32 space = 0; space < whole; ++space) {
        if (whole < 1500 || space < 40 || space + 40 >= whole || space % 4999 == 0) {
            sizes.push_back(space);
        }
    }
    return sizes;
}

TEST_P(FormSizes, ATextIsWrittenAsFarAsItFits) {
    in_each_variant([this](const Filled &filled) {
        TextForm whole(plenty, '#');
        whole.object(filled, 2, "mine");
        for (const u32 space : sizes_below(static_cast<u32>(whole.text.size()))) {
            SCOPED_TRACE("space " + std::to_string(space));
            TextForm form(space, '#');
            form.object(filled, 2, "mine");
            std::vector<char> buffer(space, '#');
            const u32 written =
                typed.operator()<u32>("print", {buffer.data(), 2, "mine", object, space, &err});
            ASSERT_EQ(err, EMSGSIZE);
            ASSERT_EQ(handle->last_error, EMSGSIZE);
            err = 0;
            ASSERT_EQ(written, form.text.size());
            std::string text(buffer.data(), written);
            for (u32 i = 0; i < written; ++i) {
                if (form.text[i] == TextForm::any) text[i] = TextForm::any;
            }
            ASSERT_EQ(text, form.text);
        }
    });
}

TEST_P(Forms, TheXmlIsThatOfTheFieldsInSchemaOrder) {
    in_each_variant([this](const Filled &filled) {
        for (const u8 flag : {u8{0}, u8{5}}) {
            XmlForm form(plenty);
            form.object(filled, "mine", flag);
            std::string xml(form.text.size() + 8, '#');
            xml.resize(typed.operator()<u32>("to_xml",
                                             {"mine", xml.data(), object, xml.size(), flag, &err}));
            EXPECT_EQ(err, 0U);
            EXPECT_EQ(xml, form.text);
            parse(xml);
        }
    });
}

TEST_P(FormSizes, XmlIsWrittenAsFarAsItFits) {
    in_each_variant([this](const Filled &filled) {
        XmlForm whole(plenty);
        whole.object(filled, "mine", 0);
        for (const u32 space : sizes_below(static_cast<u32>(whole.text.size()))) {
            SCOPED_TRACE("space " + std::to_string(space));
            XmlForm form(space);
            form.object(filled, "mine", 0);
            std::vector<char> buffer(space);
            const u32 written =
                typed.operator()<u32>("to_xml", {"mine", buffer.data(), object, space, 0, &err});
            ASSERT_EQ(err, EMSGSIZE);
            err = 0;
            ASSERT_EQ(std::string(buffer.data(), written), form.text);
        }
    });
}

// ---- Reading parts of a document -----------------------------------------------------

TEST_P(Forms, ADocumentOfOneFieldSetsOnlyThatField) {
    const std::string path = "//" + std::string(type.name);
    for (u32 chosen = 0; chosen < type.field_count; ++chosen) {
        SCOPED_TRACE(type.fields[chosen].name);
        Structure part = type;
        part.fields = type.fields + chosen;
        part.field_count = 1;
        XmlForm form(plenty);
        form.object({part, 2, type.top_variant, nullptr}, type.name, 0);
        const Document document = parse("<around>" + form.text + "<other/></around>");
        typed.fill(object, 1);
        typed("from_xml", {path.c_str(), document.get(), object, &err, nullptr, 0});
        ASSERT_EQ(err, 0U);
        for (u32 i = 0; i < type.field_count; ++i) {
            typed.check_field(object, type.fields[i], i == chosen ? 2 : 1);
        }
    }
}

// ---- The form's length ----------------------------------------------------------------

TEST_P(Forms, OfANullObjectAreOfEmptyFieldsWithoutStateBytes) {
    const u32 length = typed.operator()<u32>("len", {nullptr});
    std::vector<u8> bytes(length);
    const Typed plain(type, session.second_handle(Mode::plain));
    EXPECT_EQ(plain.operator()<u32>("marshal", {bytes.data(), nullptr, length, &err}), length);
    EXPECT_EQ(err, 0U);
}

TEST_P(Forms, HaveOneStateBytePerFieldAndElementInStateMode) {
    // Those of the object itself: a nested one counts its own.
    const std::map<std::string, std::vector<u32>> known = {
        {"st_ldap_conn", {2}},
        {"st_aaa_client_stats", {21 + 1440}},
        {"st_aaa_servers", {40 + 1440, 41 + 1440}}};
    const Typed plain(type, session.second_handle(Mode::plain));
    in_each_variant([&](const Filled &filled) {
        u32 own = 0, nested = 0;
        for (const Field &field : fields_of(type)) {
            if (field.first_variant > filled.variant) break;
            own += 1 + field.elements;
            if (field.structure != nullptr) nested += field.structure->field_count;
        }
        if (const auto found = known.find(type.name); found != known.end()) {
            EXPECT_EQ(own, found->second.at(static_cast<std::size_t>(filled.variant)));
        }
        EXPECT_EQ(typed.operator()<u32>("len", {object}),
                  plain.operator()<u32>("len", {object}) + (tracking ? own + nested : 0));
    });
}

}  // namespace
}  // namespace tarn::test
