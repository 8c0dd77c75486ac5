// SPDX-License-Identifier: Apache-2.0
// Runs of integers, compared with the operation for one value after the other.
#include <cerrno>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "tarnbase/runs.h"
#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

using Function = void (*)();

Function run_of(Function single) {
    std::uint32_t count = 0;
    const kel_run_service *const services = kel_run_services(&count);
    for (const kel_run_service &service : std::span(services, count)) {
        if (service.single == single) return service.run;
    }
    return nullptr;
}

// An integer type: its single operations.
template <auto Marshal, auto Unmarshal, auto Print, auto ToXml, typename T>
struct Integer {
    using Type = T;
    static constexpr auto *marshal = Marshal;
    static constexpr auto *unmarshal = Unmarshal;
    static constexpr auto *print = Print;
    static constexpr auto *to_xml = ToXml;

    static auto marshal_run() {
        return reinterpret_cast<kel_marshal_run>(run_of(reinterpret_cast<Function>(Marshal)));
    }
    static auto unmarshal_run() {
        return reinterpret_cast<kel_unmarshal_run>(run_of(reinterpret_cast<Function>(Unmarshal)));
    }
    static auto print_run() {
        return reinterpret_cast<kel_print_run>(run_of(reinterpret_cast<Function>(Print)));
    }
    static auto to_xml_run() {
        return reinterpret_cast<kel_to_xml_run>(run_of(reinterpret_cast<Function>(ToXml)));
    }
};

constexpr std::uint32_t count = 5;

template <typename Integer>
class Run : public ValueTest {
 protected:
    using T = typename Integer::Type;
    static constexpr std::uint32_t whole = count * sizeof(T);

    struct Values {
        T of[count];
    };
    // In the store, with other values.
    Values *make_values() {
        auto *values = make_zeroed<Values>();
        for (std::uint32_t i = 0; i < count; ++i) values->of[i] = static_cast<T>(0x11 + i);
        return values;
    }

    std::vector<std::uint8_t> form() const {
        std::vector<std::uint8_t> bytes(whole);
        for (std::uint32_t i = 0; i < whole; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37 + 5);
        return bytes;
    }
};

#define TARN_INTEGER(type, c_type) \
    Integer<&type##_marshal, &type##_unmarshal, &type##_print, &type##_to_xml, c_type>
using Integers =
    ::testing::Types<TARN_INTEGER(u_int8, std::uint8_t), TARN_INTEGER(u_int16, std::uint16_t),
                     TARN_INTEGER(u_int32, std::uint32_t), TARN_INTEGER(u_int64, std::uint64_t),
                     TARN_INTEGER(int32, std::int32_t), TARN_INTEGER(int64, std::int64_t)>;
TYPED_TEST_SUITE(Run, Integers);

TYPED_TEST(Run, IsWrittenAsItsValuesAre) {
    auto *values = this->make_values();
    for (const void *from :
         {static_cast<const void *>(values), static_cast<const void *>(nullptr)}) {
        for (std::uint32_t space = 0; space <= this->whole + 1; ++space) {
            std::vector<std::uint8_t> expected(this->whole + 1, 0xee);
            std::uint32_t single_err = 0;
            std::uint32_t used = 0;
            for (std::uint32_t i = 0; i < count; ++i) {
                used += TypeParam::marshal(this->handle, this->tx, expected.data() + used,
                                           from == nullptr ? nullptr : &values->of[i], space - used,
                                           &single_err);
            }
            std::vector<std::uint8_t> bytes(this->whole + 1, 0xee);
            this->handle->last_error = 0;
            EXPECT_EQ(TypeParam::marshal_run()(this->handle, this->tx, bytes.data(), from, count,
                                               space, &this->err),
                      used);
            EXPECT_EQ(this->err, single_err);
            EXPECT_EQ(this->handle->last_error, single_err);
            EXPECT_EQ(bytes, expected);
            this->err = 0;
        }
    }
}

TYPED_TEST(Run, IsReadAsItsValuesAreAndRolledBack) {
    const std::vector<std::uint8_t> form = this->form();
    for (std::uint32_t space = 0; space <= this->whole; ++space) {
        auto *single = this->make_values();
        auto *run = this->make_values();
        const std::vector before(run->of, run->of + count);
        std::uint32_t single_err = 0;
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            used += TypeParam::unmarshal(this->handle, this->tx, form.data() + used, &single->of[i],
                                         space - used, 0, &single_err);
        }
        std::uint32_t begun = 0;
        ASSERT_EQ(kel_transaction_begin(this->handle, &begun), 0U);
        this->handle->last_error = 0;
        EXPECT_EQ(TypeParam::unmarshal_run()(this->handle, begun, form.data(), run->of, count,
                                             space, 0, &this->err),
                  used);
        EXPECT_EQ(this->err, single_err);
        EXPECT_EQ(this->handle->last_error, single_err);
        EXPECT_EQ(std::vector(run->of, run->of + count),
                  std::vector(single->of, single->of + count));
        kel_transaction_rollback(this->handle, begun);
        EXPECT_EQ(std::vector(run->of, run->of + count), before);
        this->err = 0;
    }
}

// A run with names of many lengths and the shortest and longest numbers.
template <typename T>
class LabelledRun {
 public:
    LabelledRun() {
        for (std::uint32_t i = 0; i < names_.size(); ++i)
            labels_.push_back({names_[i].c_str(), static_cast<std::uint32_t>(names_[i].size())});
    }
    std::uint32_t count() const { return static_cast<std::uint32_t>(labels_.size()); }
    const char *name(std::uint32_t index) const { return labels_[index].name; }
    const T *value(std::uint32_t index) const { return &values_[index]; }
    kel_labelled_run with_values() const { return {labels_.data(), values_.data(), count()}; }
    kel_labelled_run without_values() const { return {labels_.data(), nullptr, count()}; }

 private:
    using Limits = std::numeric_limits<T>;
    // Names of a different length are copied in different ways.
    std::vector<std::string> names_ = [] {
        std::vector<std::string> names;
        for (const std::size_t length : {0U, 1U, 2U, 3U, 4U, 7U, 8U, 15U, 16U, 31U, 32U, 33U, 40U})
            names.push_back(
                std::string("abcdefghijklmnopqrstuvwxyz_0123456789ABC").substr(0, length));
        return names;
    }();
    std::vector<T> values_ = [this] {
        const T some[] = {Limits::max(), Limits::min(), 0, 9, 10, 99, 100, 127};
        std::vector<T> values;
        for (std::size_t i = 0; i < names_.size(); ++i) values.push_back(some[i % std::size(some)]);
        return values;
    }();
    std::vector<kel_run_label> labels_;
};

// What a writer of text leaves in a buffer.
struct Text {
    std::string bytes;
    std::uint32_t used = 0;
    std::uint32_t err = 0;
    std::uint32_t last_error = 0;
    bool operator==(const Text &) const = default;
};

// `write(buffer, remaining, error)` in a buffer of so many bytes.
template <typename Write>
Text written(kel_handle *handle, std::uint32_t space, Write write) {
    Text text;
    text.bytes.assign(space + 1, '\xee');
    handle->last_error = 0;
    text.used = write(text.bytes.data(), space, &text.err);
    text.last_error = handle->last_error;
    return text;
}

// Expects that a run is written as its values are, in buffers that end anywhere.
template <typename Single, typename Whole>
void expect_same_texts(kel_handle *handle, std::uint32_t length, Single single, Whole run) {
    const auto values = [&](char *buffer, std::uint32_t remaining, std::uint32_t *error) {
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < length; ++i)
            used += single(i, buffer + used, remaining - used, error);
        return used;
    };
    const std::uint32_t whole = written(handle, 10000, values).used;
    ASSERT_GT(whole, 0U);
    for (std::uint32_t space = 0; space <= whole + 25; ++space)
        ASSERT_EQ(written(handle, space, run), written(handle, space, values)) << space;
}

TYPED_TEST(Run, IsPrintedAsItsValuesAre) {
    const LabelledRun<typename TypeParam::Type> labelled;
    for (const std::uint32_t indent : {0U, 1U, 2U, 3U, 4U, 7U, 8U, 16U, 41U}) {
        for (const kel_labelled_run &run : {labelled.with_values(), labelled.without_values()}) {
            expect_same_texts(
                this->handle, run.count,
                [&](std::uint32_t i, char *buffer, std::uint32_t remaining, std::uint32_t *error) {
                    return TypeParam::print(
                        this->handle, this->tx, buffer, indent, labelled.name(i),
                        run.values == nullptr ? nullptr : labelled.value(i), remaining, error);
                },
                [&](char *buffer, std::uint32_t remaining, std::uint32_t *error) {
                    return TypeParam::print_run()(this->handle, this->tx, buffer, indent, &run,
                                                  remaining, error);
                });
        }
    }
}

// 0, the limits of the type, and what is beside the powers of ten.
template <typename T>
std::vector<T> numbers_of_each_length() {
    using Limits = std::numeric_limits<T>;
    std::vector<T> numbers = {0, Limits::min(), Limits::max()};
    std::uint64_t power = 1;
    for (int digits = 0; digits <= Limits::digits10; ++digits, power *= 10) {
        for (const std::uint64_t number : {power - 1, power, power + power / 4 + 1}) {
            numbers.push_back(static_cast<T>(number));
            numbers.push_back(static_cast<T>(0 - number));
        }
    }
    return numbers;
}

TYPED_TEST(Run, PrintsNumbersOfEachLengthInDecimal) {
    const kel_run_label label = {"n", 1};
    for (const auto number : numbers_of_each_length<typename TypeParam::Type>()) {
        const std::string expected = "n: " + std::to_string(number) + "\n";
        const auto length = static_cast<std::uint32_t>(expected.size());
        const kel_labelled_run run = {&label, &number, 1};
        std::string text(50, '\xee');
        EXPECT_EQ(
            TypeParam::print_run()(this->handle, this->tx, text.data(), 0, &run, 50, &this->err),
            length);
        EXPECT_EQ(text, expected + std::string(50 - length, '\xee'));
        text.assign(50, '\xee');
        EXPECT_EQ(TypeParam::print(this->handle, this->tx, text.data(), 0, "n", &number, length,
                                   &this->err),
                  length);
        EXPECT_EQ(text, expected + std::string(50 - length, '\xee'));
    }
}

TYPED_TEST(Run, IsWrittenAsXmlAsItsValuesAre) {
    const LabelledRun<typename TypeParam::Type> labelled;
    for (const kel_labelled_run &run : {labelled.with_values(), labelled.without_values()}) {
        expect_same_texts(
            this->handle, run.count,
            [&](std::uint32_t i, char *buffer, std::uint32_t remaining, std::uint32_t *error) {
                return TypeParam::to_xml(this->handle, this->tx, labelled.name(i), buffer,
                                         run.values == nullptr ? nullptr : labelled.value(i),
                                         remaining, 0, error);
            },
            [&](char *buffer, std::uint32_t remaining, std::uint32_t *error) {
                return TypeParam::to_xml_run()(this->handle, this->tx, buffer, &run, remaining,
                                               error);
            });
    }
}

TYPED_TEST(Run, WithAnErrorSetDoesNothing) {
    auto *values = this->make_values();
    std::vector<std::uint8_t> bytes(this->whole, 0xee);
    this->err = EIDRM;
    EXPECT_EQ(TypeParam::marshal_run()(this->handle, this->tx, bytes.data(), values->of, count,
                                       this->whole, &this->err),
              0U);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(this->whole, 0xee));
    EXPECT_EQ(TypeParam::unmarshal_run()(this->handle, this->tx, bytes.data(), values->of, count,
                                         this->whole, 0, &this->err),
              0U);
    EXPECT_EQ(values->of[0], static_cast<typename TypeParam::Type>(0x11));
    const kel_run_label label = {"name", 4};
    const kel_labelled_run run = {&label, values->of, 1};
    std::string text(100, '\xee');
    EXPECT_EQ(TypeParam::print_run()(this->handle, this->tx, text.data(), 0, &run, 100, &this->err),
              0U);
    EXPECT_EQ(TypeParam::to_xml_run()(this->handle, this->tx, text.data(), &run, 100, &this->err),
              0U);
    EXPECT_EQ(text, std::string(100, '\xee'));
    EXPECT_EQ(this->err, EIDRM);
}

TYPED_TEST(Run, AnnouncesEachValueToAProgramsOwnHook) {
    auto *values = this->make_values();
    HookRecorder hooks(this->handle);
    std::vector<std::uint8_t> form = this->form();
    form.resize(2 * this->whole);
    EXPECT_EQ(TypeParam::unmarshal_run()(this->handle, this->tx, form.data(), values->of, count,
                                         2 * this->whole, 0, &this->err),
              this->whole);
    EXPECT_EQ(this->err, 0U);
    const std::vector<HookEvent> writes = hooks.of(Hook::write_log);
    ASSERT_EQ(writes.size(), count);
    for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(writes[i].address, &values->of[i]);
        EXPECT_EQ(writes[i].length, sizeof values->of[i]);
        EXPECT_EQ(writes[i].before.at(0), 0x11 + i);
    }
}

}  // namespace
}  // namespace tarn::test
