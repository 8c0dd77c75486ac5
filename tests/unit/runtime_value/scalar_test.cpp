// SPDX-License-Identifier: Apache-2.0
// The six integers, through one set of tests.
#include <cerrno>
#include <limits>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

// The operations of one integer type, by their common names.
#define OPERATIONS_OF(value, type)                                   \
    struct value##_operations {                                      \
        using Plain = type;                                          \
        static constexpr auto get = value##_get;                     \
        static constexpr auto get_value = value##_get_value;         \
        static constexpr auto set = value##_set;                     \
        static constexpr auto set_value = value##_set_value;         \
        static constexpr auto hash = value##_hash;                   \
        static constexpr auto len = value##_len;                     \
        static constexpr auto marshal = value##_marshal;             \
        static constexpr auto unmarshal = value##_unmarshal;         \
        static constexpr auto print = value##_print;                 \
        static constexpr auto to_xml = value##_to_xml;               \
        static constexpr auto from_xml = value##_from_xml;           \
        static constexpr auto backpropagate = value##_backpropagate; \
    };
OPERATIONS_OF(u_int8, std::uint8_t)
OPERATIONS_OF(u_int16, std::uint16_t)
OPERATIONS_OF(u_int32, std::uint32_t)
OPERATIONS_OF(u_int64, std::uint64_t)
OPERATIONS_OF(int32, std::int32_t)
OPERATIONS_OF(int64, std::int64_t)

template <typename Operations>
class Scalars : public ValueTest {
 protected:
    using Value = typename Operations::Plain;
    using ValueLimits = std::numeric_limits<Value>;

    Value *field = make_zeroed<Value>();

    std::vector<Value> interesting() const {
        return {Value{0},
                Value{1},
                Value{42},
                ValueLimits::min(),
                ValueLimits::max(),
                static_cast<Value>(ValueLimits::max() - 1),
                static_cast<Value>(ValueLimits::max() / 2)};
    }

    void read_xml(const std::string &content) {
        const Document document = parse("<o><f>" + content + "</f></o>");
        Operations::from_xml(handle, tx, "//o/f", document.get(), field, &err, nullptr, 0);
    }
};
using AllScalars = ::testing::Types<u_int8_operations, u_int16_operations, u_int32_operations,
                                    u_int64_operations, int32_operations, int64_operations>;
TYPED_TEST_SUITE(Scalars, AllScalars);

TYPED_TEST(Scalars, AccessToAFieldReturnsItsAddressAndNullForNull) {
    EXPECT_EQ(TypeParam::get(this->handle, this->tx, this->field, &this->err), this->field);
    EXPECT_EQ(TypeParam::get(this->handle, this->tx, nullptr, &this->err), nullptr);
    EXPECT_EQ(TypeParam::get_value(this->handle, this->tx, nullptr, &this->err), 0);
    EXPECT_EQ(this->err, 0U);
}

TYPED_TEST(Scalars, SetAndSetValueStoreEveryValueAndAnnounceItsWidthFirst) {
    using Plain = typename TypeParam::Plain;
    Plain before = 0;
    for (const Plain value : this->interesting()) {
        HookRecorder hooks(this->handle);
        Plain source = value;
        TypeParam::set(this->handle, 7, this->field, &source, &this->err);
        TypeParam::set_value(this->handle, 8, this->field, Plain{5}, &this->err);
        ASSERT_EQ(hooks.events.size(), 2U);
        for (const HookEvent &event : hooks.events) {
            EXPECT_EQ(event.hook, Hook::write_log);
            EXPECT_EQ(event.address, this->field);
            EXPECT_EQ(event.length, sizeof(Plain));
        }
        EXPECT_EQ(hooks.events[0].tx_id, 7U);
        EXPECT_EQ(hooks.events[1].tx_id, 8U);
        EXPECT_EQ(std::memcmp(hooks.events[0].before.data(), &before, sizeof before), 0);
        EXPECT_EQ(std::memcmp(hooks.events[1].before.data(), &value, sizeof value), 0);
        before = 5;
        EXPECT_EQ(TypeParam::get_value(this->handle, this->tx, this->field, &this->err), 5);
    }
    EXPECT_EQ(this->err, 0U);
}

TYPED_TEST(Scalars, AnErrorOnEntryStopsEveryOperation) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    *this->field = 9;
    this->err = EIDRM;
    const Plain source = 1;
    char buffer[64] = "untouched";
    HookRecorder hooks(this->handle);
    EXPECT_EQ(Op::get(this->handle, this->tx, this->field, &this->err), nullptr);
    EXPECT_EQ(Op::get_value(this->handle, this->tx, this->field, &this->err), 0);
    Op::set(this->handle, this->tx, this->field, &source, &this->err);
    Op::set_value(this->handle, this->tx, this->field, source, &this->err);
    EXPECT_EQ(Op::marshal(this->handle, this->tx, buffer, this->field, 64, &this->err), 0U);
    EXPECT_EQ(Op::unmarshal(this->handle, this->tx, buffer, this->field, 64, 0, &this->err), 0U);
    EXPECT_EQ(Op::print(this->handle, this->tx, buffer, 0, "n", this->field, 64, &this->err), 0U);
    EXPECT_EQ(Op::to_xml(this->handle, this->tx, "n", buffer, this->field, 64, 0, &this->err), 0U);
    this->read_xml("3");
    EXPECT_EQ(this->err, EIDRM);
    EXPECT_EQ(this->handle->last_error, 0U);
    EXPECT_EQ(*this->field, 9);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_TRUE(hooks.events.empty());
}

TYPED_TEST(Scalars, SettingANullFieldOrFromANullSourceFailsWithEnoent) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    const Plain source = 1;
    Op::set(this->handle, this->tx, this->field, nullptr, &this->err);
    this->expect_error(ENOENT);
    Op::set(this->handle, this->tx, nullptr, &source, &this->err);
    this->expect_error(ENOENT);
    Op::set_value(this->handle, this->tx, nullptr, source, &this->err);
    this->expect_error(ENOENT);
    EXPECT_EQ(*this->field, 0);
}

TYPED_TEST(Scalars, TheWireFormIsLittleEndianOfTheTypesWidthAndRoundTrips) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    for (const Plain value : this->interesting()) {
        std::uint8_t buffer[sizeof(Plain) + 1];
        std::memset(buffer, 0xee, sizeof buffer);
        *this->field = value;
        EXPECT_EQ(Op::len(this->handle, this->tx, this->field), sizeof(Plain));
        // The address need not be aligned.
        ASSERT_EQ(
            Op::marshal(this->handle, this->tx, buffer + 1, this->field, sizeof(Plain), &this->err),
            sizeof(Plain));
        EXPECT_EQ(buffer[0], 0xee);
        for (std::size_t i = 0; i < sizeof(Plain); ++i) {
            EXPECT_EQ(buffer[1 + i],
                      static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * i)));
        }
        *this->field = 77;
        HookRecorder hooks(this->handle);
        ASSERT_EQ(Op::unmarshal(this->handle, this->tx, buffer + 1, this->field, sizeof(Plain), 0,
                                &this->err),
                  sizeof(Plain));
        EXPECT_EQ(*this->field, value);
        EXPECT_TRUE(hooks.announced(this->field, sizeof(Plain)));
    }
}

TYPED_TEST(Scalars, ANullValueIsMarshalledAsZero) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    Plain buffer = 1;
    EXPECT_EQ(Op::len(this->handle, this->tx, nullptr), sizeof(Plain));
    EXPECT_EQ(Op::marshal(this->handle, this->tx, &buffer, nullptr, sizeof buffer, &this->err),
              sizeof(Plain));
    EXPECT_EQ(buffer, 0);
}

TYPED_TEST(Scalars, ATooSmallBufferFailsWithEmsgsizeAndChangesNothing) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    *this->field = 3;
    for (std::uint32_t space = 0; space < sizeof(Plain); ++space) {
        // Exactly as long as the text, so that a sanitizer finds a byte too many.
        std::vector<std::uint8_t> buffer(space + 1, 0xee);
        buffer.resize(space);
        EXPECT_EQ(
            Op::marshal(this->handle, this->tx, buffer.data(), this->field, space, &this->err), 0U);
        this->expect_error(EMSGSIZE);
        EXPECT_EQ(buffer, std::vector<std::uint8_t>(space, 0xee));
        EXPECT_EQ(
            Op::unmarshal(this->handle, this->tx, buffer.data(), this->field, space, 0, &this->err),
            0U);
        this->expect_error(EMSGSIZE);
        EXPECT_EQ(*this->field, 3);
    }
}

TYPED_TEST(Scalars, PrintWritesBlanksNameAndValueAndNoNul) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    for (const Plain value : this->interesting()) {
        *this->field = value;
        const std::string expected = "   count: " + std::to_string(value) + "\n";
        const auto length = static_cast<std::uint32_t>(expected.size());
        std::string buffer(length + 3, '~');
        EXPECT_EQ(Op::print(this->handle, this->tx, buffer.data(), 3, "count", this->field, length,
                            &this->err),
                  length);
        EXPECT_EQ(buffer, expected + "~~~");
        EXPECT_EQ(Op::print(this->handle, this->tx, buffer.data(), 3, "count", this->field,
                            length - 1, &this->err),
                  0U);
        EXPECT_EQ(buffer.substr(length), "~~~");
        this->expect_error(EMSGSIZE);
    }
}

TYPED_TEST(Scalars, TheXmlElementRoundTripsAtTheLimitsToo) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    for (const Plain value : this->interesting()) {
        *this->field = value;
        const std::string expected = "<f>" + std::to_string(value) + "</f>\n";
        char buffer[64];
        ASSERT_EQ(Op::to_xml(this->handle, this->tx, "f", buffer, this->field, sizeof buffer, 0,
                             &this->err),
                  expected.size());
        EXPECT_EQ(std::string(buffer, expected.size()), expected);
        *this->field = 1;
        HookRecorder hooks(this->handle);
        this->read_xml(std::to_string(value));
        EXPECT_EQ(this->err, 0U);
        EXPECT_EQ(*this->field, value);
        EXPECT_TRUE(hooks.announced(this->field, sizeof(Plain)));
    }
}

TYPED_TEST(Scalars, AStateFlagIsAnAttribute) {
    using Op = TypeParam;
    char buffer[64];
    const std::string expected = "<f state=\"255\">0</f>\n";
    ASSERT_EQ(Op::to_xml(this->handle, this->tx, "f", buffer, this->field, sizeof buffer, 255,
                         &this->err),
              expected.size());
    EXPECT_EQ(std::string(buffer, expected.size()), expected);
    EXPECT_EQ(Op::to_xml(this->handle, this->tx, "f", buffer, this->field, 20, 255, &this->err),
              0U);
    this->expect_error(EMSGSIZE);
}

TYPED_TEST(Scalars, TextThatIsNoNumberOfTheTypeFailsWithEinvalAndKeepsTheValue) {
    using Limits = std::numeric_limits<typename TypeParam::Plain>;
    const std::string beyond = "9" + std::to_string(Limits::max());
    const std::string below = Limits::min() == 0 ? "-1" : std::to_string(Limits::min()) + "0";
    *this->field = 6;
    for (const std::string &text :
         {beyond, below, std::string(), std::string(" 1"), std::string("1 "), std::string("+1"),
          std::string("1x"), std::string("0x10"), std::string("1.5"), std::string("one"),
          std::string("-"), std::string("<g>1</g>")}) {
        TraceCapture trace;
        this->read_xml(text);
        this->expect_error(EINVAL);
        EXPECT_EQ(*this->field, 6) << text;
        ASSERT_EQ(trace.lines.size(), 1U) << text;
        EXPECT_EQ(trace.lines[0].level, KEL_TRACE_ERROR);
        EXPECT_NE(trace.lines[0].text.find("//o/f"), std::string::npos) << trace.all();
    }
}

TYPED_TEST(Scalars, TheErrorNamesThePathAndTheRange) {
    using Limits = std::numeric_limits<typename TypeParam::Plain>;
    TraceCapture trace;
    this->read_xml("many");
    this->expect_error(EINVAL);
    const std::string expected = "XML: //o/f: expected a number from " +
                                 std::to_string(Limits::min()) + " to " +
                                 std::to_string(Limits::max()) + ", found \"many\"";
    EXPECT_EQ(kel_error_text(), expected);
    EXPECT_EQ(kel_error_number(), std::uint32_t{EINVAL});
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): " + expected)) << trace.all();
}

TYPED_TEST(Scalars, AMissingElementFailsWithEnoentAndKeepsTheValue) {
    const Document document = parse("<o><g>1</g></o>");
    *this->field = 6;
    TypeParam::from_xml(this->handle, this->tx, "//o/f", document.get(), this->field, &this->err,
                        nullptr, 0);
    this->expect_error(ENOENT);
    EXPECT_EQ(*this->field, 6);
}

TYPED_TEST(Scalars, EqualValuesHashAlikeAndTheSeedChains) {
    using Op = TypeParam;
    using Plain = typename TypeParam::Plain;
    Plain a = 41;
    Plain b = 41;
    EXPECT_EQ(Op::hash(&a, 5), Op::hash(&b, 5));
    EXPECT_NE(Op::hash(&a, 5), Op::hash(&a, 6));
    b = 42;
    EXPECT_NE(Op::hash(&a, 5), Op::hash(&b, 5));
    EXPECT_EQ(Op::hash(nullptr, 5), 5U);
}

TYPED_TEST(Scalars, APlainValueHasNoMark) {
    EXPECT_EQ(TypeParam::backpropagate(this->handle, this->tx, this->field, &this->err), 0U);
}

TYPED_TEST(Scalars, ARollbackRestoresTheValue) {
    using Op = TypeParam;
    *this->field = 12;
    std::uint32_t transaction = 0;
    ASSERT_EQ(kel_transaction_begin(this->handle, &transaction), 0U);
    Op::set_value(this->handle, transaction, this->field, 13, &this->err);
    Op::set_value(this->handle, transaction, this->field, 14, &this->err);
    ASSERT_EQ(kel_transaction_rollback(this->handle, transaction), 0U);
    EXPECT_EQ(*this->field, 12);
}

}  // namespace
}  // namespace tarn::test
