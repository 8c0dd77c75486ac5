// SPDX-License-Identifier: Apache-2.0
// Each enumeration through its 32 operations.
#include <cerrno>

#include "tests/behaviour/every/enumerated.h"

namespace tarn::test {
namespace {

TARN_EACH_ENUMERATION(EveryEnumeration);

TEST_P(EveryEnumeration, IsCreatedAndDestroyedInEveryForm) {
    auto *object = on<kel_enum_object *>("create_internal", {});
    auto *third = call<kel_enum_object *>(name("create_cr"), {handle});
    for (kel_enum_object *each : {object, third}) {
        EXPECT_STREQ(each->descriptor->name, type.name);
        EXPECT_EQ(each->descriptor == type.descriptor, GetParam().mode != Mode::store_types);
        EXPECT_EQ(each->value, 0U);
        EXPECT_EQ(each->flags, 0);
    }
    on("destroy_internal", {object, 0});
    on("destroy_internal", {object, 1});
    call(name("destroy_cr"), {handle, third});
    EXPECT_EQ(call<u32>(name("sizeof"), {handle}), 16U);
    EXPECT_EQ(call<std::int8_t>(name("variant_data_index_cap"), {1}), 0);
    EXPECT_EQ(call<std::int8_t>(name("variant_data_index_cap"), {-1}), -1);
}

TEST_P(EveryEnumeration, InitialisesMemoryWithoutCountingIt) {
    kel_enum_object memory = {};
    const kel_variant_usage before = type.descriptor->variant_info->variants[0];
    on("initialize",
       {&memory, symbol("_" + name("type_info_internal")), 1, 0, OBJ_NESTED, nullptr, &err});
    EXPECT_STREQ(memory.descriptor->name, type.name);
    EXPECT_EQ(memory.flags, OBJ_NESTED);
    on("set_instance_embedded", {&memory});
    EXPECT_EQ(memory.flags, OBJ_NESTED | OBJ_EMBEDDED);
    EXPECT_EQ(type.descriptor->variant_info->variants[0].created, before.created);
}

TEST_P(EveryEnumeration, MapsEachValueBetweenUserAndInternal) {
    kel_enum_object *object = begin();
    for (u32 i = 0; i < type.count; ++i) {
        const u32 value = first() + i;
        EXPECT_EQ(type.enumerators[i].user_value, value);
        on("set_value", {object, value, &err});
        EXPECT_EQ(object->value, value);
        EXPECT_EQ(value_of(object), value);
        EXPECT_EQ(internal(value), i);
        EXPECT_EQ(call<u32>(name("map_to_user_value"), {value}), value);
        EXPECT_EQ(call<u32>(name("is_valid_cr"), {handle, value}), 1U);
        const std::vector<u8> bytes = wire(object);
        EXPECT_EQ(bytes, (std::vector<u8>{0, static_cast<u8>(i), 0, 0, 0}));
        EXPECT_EQ(read(i, object), value);
    }
    end(object);
}

TEST_P(EveryEnumeration, RefusesValuesBeyondTheLastOneInFormsThatCheck) {
    kel_enum_object *object = begin(first());
    on("set_value", {object, past(), &err});
    EXPECT_EQ(err, EIDRM);
    err = 0;
    kel_enum_object *other = begin();
    other->value = past();
    on("set", {object, other, &err});
    EXPECT_EQ(err, EIDRM);
    err = 0;
    EXPECT_EQ(object->value, first());
    EXPECT_EQ(call<u32>(name("is_valid_cr"), {handle, past()}), 0U);
    // Setters test without a sign, this one with it.
    EXPECT_EQ(call<u32>(name("is_valid_cr"), {handle, u32{0xffffffff}}), 1U);
    on("set_value", {object, u32{0xffffffff}, &err});
    EXPECT_EQ(err, EIDRM);
    err = 0;
    // 0 is internal value 0 of every enumeration, and not an enumerator of some.
    on("set_value", {object, 0, &err});
    EXPECT_EQ(object->value, 0U);
    EXPECT_EQ(internal(past()), past());
    EXPECT_EQ(internal(0), 0U);
    EXPECT_EQ(call<u32>(name("map_to_user_value"), {0}), 0U);
    EXPECT_EQ(read(past(), object), past());
    EXPECT_EQ(read(type.count, object), type.count);
    end(other);
    end(object);
}

TEST_P(EveryEnumeration, SetCopiesTheWholeObject) {
    kel_enum_object *source = begin(first() + type.count - 1);
    kel_enum_object *object = begin();
    on("set_instance_embedded", {object});
    on("set", {object, source, &err});
    EXPECT_EQ(object->value, source->value);
    EXPECT_EQ(object->flags & OBJ_EMBEDDED, 0);
    EXPECT_EQ(on<kel_enum_object *>("get", {object, &err}), object);
    EXPECT_EQ(on<std::int32_t>("adjust_variant", {object, &err}), 0);
    end(source);
    end(object);
}

TEST_P(EveryEnumeration, ComparesByDifferenceAndHashesItsValue) {
    kel_enum_object *least = begin(first());
    kel_enum_object *greatest = begin(past() - 1);
    const auto compare = [this](const void *a, const void *b) {
        return call<std::int32_t>(name("compare"), {a, b});
    };
    EXPECT_EQ(compare(greatest, least), static_cast<std::int32_t>(type.count) - 1);
    EXPECT_EQ(compare(least, greatest), 1 - static_cast<std::int32_t>(type.count));
    EXPECT_EQ(compare(nullptr, least), -1);
    EXPECT_EQ(compare(least, nullptr), 1);
    EXPECT_EQ(compare(nullptr, nullptr), 0);
    EXPECT_EQ(call<u32>(name("hash"), {greatest, 5}),
              SuperFastHash(reinterpret_cast<const char *>(&greatest->value), 4, 5));
    EXPECT_EQ(call<u32>(name("hash"), {nullptr, 5}), 5U);
    end(least);
    end(greatest);
}

TEST_P(EveryEnumeration, TakesFiveBytesOnTheWire) {
    kel_enum_object *object = begin(first());
    EXPECT_EQ(on<u32>("len", {object}), 5U);
    EXPECT_EQ(call<u32>(name("len_cr"), {handle}), 5U);
    u8 bytes[5] = {};
    on<u32>("marshal", {bytes, object, 0, &err});
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    on<u32>("marshal", {bytes, object, 4, &err});
    EXPECT_EQ(err, EMSGSIZE);
    err = 0;
    on<u32>("unmarshal", {bytes, object, 0, 0, &err});
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    EXPECT_EQ(on<u32>("get_value", {nullptr, &err}), 0U);
    EXPECT_EQ(err, EINVAL);
    err = 0;
    end(object);
}

TEST_P(EveryEnumeration, ReportsAModificationOnce) {
    kel_enum_object *object = begin(first());
    on("set_value", {object, first(), &err});
    EXPECT_EQ(on<u32>("backpropagate", {object, &err}), 1U);
    EXPECT_EQ(on<u32>("backpropagate", {object, &err}), 0U);
    EXPECT_EQ(on<u32>("backpropagate", {nullptr, &err}), 0U);
    u64 references[1] = {7};
    EXPECT_EQ(on<u32>("get_oid_count", {object, &err}), 0U);
    on("get_object_references", {object, references, 1, &err});
    EXPECT_EQ(references[0], 7U);
    end(object);
}

TEST_P(EveryEnumeration, TextAndXmlNameTheEnumerator) {
    kel_enum_object *object = begin();
    kel_enum_object *second = begin();
    for (u32 i = 0; i < type.count; ++i) {
        const std::string enumerator = type.enumerators[i].name;
        object->value = first() + i;
        EXPECT_EQ(print(object), std::string("  field@") + type.name + ":" + enumerator + "\n");
        const std::string xml = to_xml(object);
        EXPECT_NE(xml.find("<" + enumerator + "/>"), std::string::npos) << xml;
        const Document document = parse(xml);
        on("from_xml", {"/field", document.get(), second, &err, nullptr, 0});
        EXPECT_EQ(second->value, object->value);
    }
    object->value = past();
    EXPECT_EQ(print(object), std::string("  field@") + type.name + ":Enum value out of range");
    EXPECT_NE(to_xml(object).find(std::string("<") + type.name + " value out of range/>"),
              std::string::npos);
    end(object);
    end(second);
}

TEST_P(EveryEnumeration, TheShortTextFormsUseItsOwnName) {
    kel_enum_object *object = begin(first());
    char buffer[256];
    const u32 printed = call<u32>(name("print_cr"), {handle, object, buffer, sizeof buffer});
    EXPECT_EQ(std::string(buffer, printed),
              std::string(type.name) + "@" + type.name + ":" + type.enumerators[0].name + "\n");
    const u32 written = call<u32>(name("toxml_cr"), {handle, object, buffer, sizeof buffer});
    const std::string xml(buffer, written);
    EXPECT_EQ(xml.find(std::string("<") + type.name + ">"), 0U) << xml;
    end(object);
}

TEST_P(EveryEnumeration, ADocumentWithoutEnumeratorsKeepsTheValueAndTheFirstOfSeveralWins) {
    kel_enum_object *object = begin(past() - 1);
    const Document empty = parse("<field/>");
    on("from_xml", {"/field", empty.get(), object, &err, nullptr, 0});
    EXPECT_EQ(object->value, past() - 1);
    std::string several = "<field>";
    for (u32 i = type.count; i-- > 0;) {
        several += std::string("<") + type.enumerators[i].name + "/>";
    }
    const Document all = parse(several + "</field>");
    on("from_xml", {"/field", all.get(), object, &err, nullptr, 0});
    EXPECT_EQ(object->value, first());
    end(object);
}

}  // namespace
}  // namespace tarn::test
