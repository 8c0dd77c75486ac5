/* SPDX-License-Identifier: Apache-2.0 */
// An enumeration of any name, used through its exported functions.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_ENUMERATED_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_ENUMERATED_H

#include <cstring>
#include <string>
#include <vector>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {

class EveryEnumeration : public ::testing::TestWithParam<InMode<Enumeration>> {
 protected:
    void SetUp() override {
        end(begin(), "destroy");
        blocks = session.blocks();
    }
    void TearDown() override {
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(session.blocks(), blocks) << "blocks were leaked";
    }

    std::string name(const std::string &operation) const {
        return std::string(type.name) + "_" + operation;
    }
    template <typename R = void>
    R on(const std::string &operation, std::vector<Word> arguments) {
        arguments.insert(arguments.begin(), {Word(handle), Word(KEL_TX_NONE)});
        return call<R>(name(operation), arguments);
    }
    kel_enum_object *begin(u32 value = 0) {
        auto *object = on<kel_enum_object *>("create", {});
        if (value != 0) on("set_value", {object, value, &err});
        return object;
    }
    void end(kel_enum_object *object, const char *how = "destroy") { on(how, {object}); }
    u32 value_of(const kel_enum_object *object) { return on<u32>("get_value", {object, &err}); }
    u32 internal(u32 value) const { return call<u32>(name("map_to_internal_value"), {value}); }
    u32 first() const { return type.first_user_value; }
    // One above the greatest user value.
    u32 past() const { return first() + type.count; }

    std::string text(const char *operation, std::vector<Word> before, const void *object,
                     std::vector<Word> after) {
        std::string buffer(512, ' ');
        const bool is_xml = std::strcmp(operation, "to_xml") == 0;
        std::vector<Word> arguments = before;
        if (is_xml) arguments.emplace_back(buffer.data());
        if (!is_xml) arguments.insert(arguments.begin(), Word(buffer.data()));
        arguments.emplace_back(object);
        arguments.emplace_back(buffer.size());
        arguments.insert(arguments.end(), after.begin(), after.end());
        arguments.emplace_back(&err);
        buffer.resize(on<u32>(operation, arguments));
        return buffer;
    }
    std::string print(const kel_enum_object *object) {
        return text("print", {2, "field"}, object, {});
    }
    std::string to_xml(const kel_enum_object *object) {
        return text("to_xml", {"field"}, object, {9});
    }
    std::vector<u8> wire(const kel_enum_object *object) {
        std::vector<u8> bytes(5);
        EXPECT_EQ(on<u32>("marshal", {bytes.data(), object, bytes.size(), &err}), 5U);
        return bytes;
    }
    // The value read from a wire form with this internal value.
    u32 read(u32 number, kel_enum_object *object) {
        const u8 bytes[5] = {0, static_cast<u8>(number)};
        EXPECT_EQ(on<u32>("unmarshal", {bytes, object, 5, 0, &err}), 5U);
        return object->value;
    }

    const TraceCapture trace;
    const Enumeration &type = *GetParam().item;
    Session session{GetParam().mode};
    kel_handle *const handle = session.handle();
    u32 err = 0;
    u64 blocks = 0;
};

}  // namespace tarn::test

#endif
