// SPDX-License-Identifier: Apache-2.0
// Runs of integers, compared with the operation for one value after the other.
#include <cerrno>
#include <span>
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
template <auto Marshal, auto Unmarshal, typename T>
struct Integer {
    using Type = T;
    static constexpr auto *marshal = Marshal;
    static constexpr auto *unmarshal = Unmarshal;

    static auto marshal_run() {
        return reinterpret_cast<kel_marshal_run>(run_of(reinterpret_cast<Function>(Marshal)));
    }
    static auto unmarshal_run() {
        return reinterpret_cast<kel_unmarshal_run>(run_of(reinterpret_cast<Function>(Unmarshal)));
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

using Integers = ::testing::Types<Integer<&u_int8_marshal, &u_int8_unmarshal, std::uint8_t>,
                                  Integer<&u_int16_marshal, &u_int16_unmarshal, std::uint16_t>,
                                  Integer<&u_int32_marshal, &u_int32_unmarshal, std::uint32_t>,
                                  Integer<&u_int64_marshal, &u_int64_unmarshal, std::uint64_t>,
                                  Integer<&int32_marshal, &int32_unmarshal, std::int32_t>,
                                  Integer<&int64_marshal, &int64_unmarshal, std::int64_t>>;
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
