// SPDX-License-Identifier: Apache-2.0
// Each accessor of each field of each structure.
#include <cerrno>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {
namespace {

class StructureFields : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        other = typed.create();
        typed.fill(object, 1);
        typed.fill(other, 2);
    }
    void TearDown() override {
        typed.destroy(object);
        typed.destroy(other);
        StructureTest::TearDown();
    }
    void clear_flags() { typed("set_all_state_tracking_flag", {object, 0}); }
    u8 flag(const Field &field) {
        const char *get =
            field.kind == FieldKind::array ? "_state_flag_whole_get" : "_state_flag_get";
        return typed.operator()<u8>(std::string(field.name) + get, {object, &err});
    }
    void set_flag(const Field &field, u8 value) {
        const char *set =
            field.kind == FieldKind::array ? "_state_flag_whole_set" : "_state_flag_set";
        typed(std::string(field.name) + set, {object, value, &err});
    }
    // The values of set_all and get_all.
    std::vector<const Field *> value_fields() const {
        std::vector<const Field *> found;
        for (const Field &field : fields_of(type)) {
            if (has_plain_value(field.kind)) found.push_back(&field);
        }
        return found;
    }
    // All but `except` has the values of `object`'s seed.
    void expect_others_unchanged(const Field &except) {
        for (const Field &field : fields_of(type)) {
            if (&field != &except) typed.check_field(object, field, 1);
        }
    }

    void *object = nullptr;
    void *other = nullptr;
};
TARN_EACH_STRUCTURE(StructureFields);

class TrackedFields : public StructureFields {};
class UntrackedFields : public StructureFields {};
INSTANTIATE_TEST_SUITE_P(Every, TrackedFields,
                         ::testing::ValuesIn(tracking_only(in_each_mode(all_structures()), true)),
                         name_in_mode<Structure>);
INSTANTIATE_TEST_SUITE_P(Every, UntrackedFields,
                         ::testing::ValuesIn(tracking_only(in_each_mode(all_structures()), false)),
                         name_in_mode<Structure>);

TEST_P(StructureFields, AFieldIsSetFromTheSameFieldOfAnotherObject) {
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        const std::string name = field.name;
        void *access = typed.operator()<void *>(name + "_get", {other, &err});
        typed(name + "_set", {object, access, &err});
        ASSERT_EQ(err, 0U) << typed.name(name);
        typed.check_field(object, field, 2);
        expect_others_unchanged(field);
        typed.fill_field(object, field, 1);
    }
    typed.check(object, 1);
    typed.check(other, 2);
}

TEST_P(StructureFields, GetReturnsTheAddressInsideTheObject) {
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        void *access = typed.operator()<void *>(std::string(field.name) + "_get", {object, &err});
        EXPECT_EQ(access, at(object, field.offset)) << field.name;
    }
}

TEST_P(UntrackedFields, HaveNoStateFlags) {
    for (const Field &field : fields_of(type)) {
        flag(field);
        EXPECT_EQ(err, EINVAL) << field.name;
        err = 0;
        set_flag(field, 1);
        EXPECT_EQ(err, EINVAL) << field.name;
        err = 0;
    }
}

TEST_P(TrackedFields, OnlyTheWrittenFieldIsMarkedAsChanged) {
    for (const Field &field : fields_of(type)) {
        clear_flags();
        typed.fill_field(object, field, 3);
        for (const Field &each : fields_of(type)) {
            EXPECT_EQ(flag(each), &each == &field ? 2 : 0) << field.name << ", " << each.name;
        }
    }
}

TEST_P(TrackedFields, AStateFlagKeepsAnyByteAtItsOwnPosition) {
    clear_flags();
    u8 next = 10;
    for (const Field &field : fields_of(type)) set_flag(field, next++);
    next = 10;
    for (const Field &field : fields_of(type)) {
        EXPECT_EQ(at(object, type.plain_size)[field.state], next) << field.name;
        EXPECT_EQ(flag(field), next++) << field.name;
    }
    typed("set_all_state_tracking_flag", {object, 77});
    const u8 *block = at(object, type.plain_size);
    EXPECT_EQ(std::vector<u8>(block, block + type.state_length),
              std::vector<u8>(type.state_length, 77));
}

TEST_P(StructureFields, AWriteIsReportedAsAModificationOnce) {
    const auto reported = [this] {
        u32 times = 0;
        while (typed.operator()<u32>("type_type_backpropagate", {object, &err}) != 0) ++times;
        return times;
    };
    EXPECT_GE(reported(), 1U);
    EXPECT_EQ(reported(), 0U);
    for (const Field &field : fields_of(type)) {
        typed.fill_field(object, field, 4);
        EXPECT_GE(reported(), 1U) << field.name;
        EXPECT_EQ(reported(), 0U) << field.name;
    }
    EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {nullptr, &err}), 0U);
}

TEST_P(StructureFields, GetAllReturnsThePlainValuesInTheirWidths) {
    const auto values = value_fields();
    // Words of all ones: a value wider than its field would overwrite the guard.
    std::vector<u64> words(values.size(), ~u64{0});
    std::vector<Word> arguments = {object};
    for (u64 &word : words) arguments.emplace_back(&word);
    arguments.emplace_back(&err);
    typed("get_all", arguments);
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(narrowed(values[i]->kind, words[i]), plain_value(*values[i], 1))
            << values[i]->name;
        const u32 bits = 8 * plain_width(values[i]->kind);
        if (bits < 64) {
            EXPECT_EQ(words[i] >> bits, ~u64{0} >> bits) << values[i]->name;
        }
    }
}

TEST_P(StructureFields, SetAllSetsThePlainValuesAndMarksNoField) {
    clear_flags();
    std::vector<Word> arguments = {object};
    for (const Field *field : value_fields()) arguments.emplace_back(plain_value(*field, 5));
    arguments.emplace_back(&err);
    typed("set_all", arguments);
    for (const Field &field : fields_of(type)) {
        typed.check_field(object, field, has_plain_value(field.kind) ? 5 : 1);
        if (tracking) {
            EXPECT_EQ(flag(field), 0) << field.name;
        }
    }
}

TEST_P(StructureFields, SetCopiesTheWholeObjectAndItsFlags) {
    if (tracking) typed("set_all_state_tracking_flag", {other, 5});
    typed("set", {object, other, &err});
    typed.check(object, 2);
    if (tracking) {
        const u8 *block = at(object, type.plain_size);
        EXPECT_EQ(std::vector<u8>(block, block + type.state_length),
                  std::vector<u8>(type.state_length, 5));
    }
    typed.fill(other, 3);
    typed.check(object, 2);
    EXPECT_EQ(typed.operator()<void *>("get", {object, &err}), object);
}

TEST_P(StructureFields, CompareAndHashUseEveryField) {
    const auto compare = [this] {
        return call<std::int32_t>(typed.name("compare"), {object, other});
    };
    const auto hash = [this](const void *each) {
        return call<u32>(typed.name("hash"), {each, 17});
    };
    typed("set", {other, object, &err});
    for (const Field &field : fields_of(type)) {
        EXPECT_EQ(compare(), 0) << field.name;
        EXPECT_EQ(hash(object), hash(other)) << field.name;
        // A boolean has only two values; an enumeration of one enumerator has no second.
        u32 seed = 2;
        while (has_plain_value(field.kind) && seed < 100 &&
               plain_value(field, seed) == plain_value(field, 1)) {
            ++seed;
        }
        if (seed == 100) continue;
        typed.fill_field(other, field, seed);
        const std::int32_t order = compare();
        EXPECT_NE(order, 0) << field.name;
        EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {other, object}) < 0, order > 0)
            << field.name;
        EXPECT_NE(hash(object), hash(other)) << field.name;
        typed.fill_field(other, field, 1);
    }
    EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {nullptr, nullptr}), 0);
    EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {nullptr, object}), -1);
    EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {object, nullptr}), 1);
    EXPECT_EQ(call<u32>(typed.name("hash"), {nullptr, 17}), 17U);
}

}  // namespace
}  // namespace tarn::test
