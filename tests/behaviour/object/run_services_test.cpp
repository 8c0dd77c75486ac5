// SPDX-License-Identifier: Apache-2.0
// A program that replaces four services of u_int8, and no others.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/run_switch.h"

namespace {

std::uint32_t replaced_calls = 0;

template <typename Function>
Function *runtimes(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

std::uint32_t u_int8_marshal(kel_handle *handle, std::uint32_t tx_id, void *buffer,
                             const std::uint8_t *field, std::uint32_t remaining,
                             std::uint32_t *err) {
    static auto *const real = runtimes<decltype(u_int8_marshal)>("u_int8_marshal");
    replaced_calls += 1;
    return real(handle, tx_id, buffer, field, remaining, err);
}

std::uint32_t u_int8_unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                               std::uint8_t *field, std::uint32_t remaining, std::uint32_t in_place,
                               std::uint32_t *err) {
    static auto *const real = runtimes<decltype(u_int8_unmarshal)>("u_int8_unmarshal");
    replaced_calls += 1;
    return real(handle, tx_id, buffer, field, remaining, in_place, err);
}

std::uint32_t u_int8_print(kel_handle *handle, std::uint32_t tx_id, char *buffer,
                           std::uint32_t indent, const char *name, const std::uint8_t *field,
                           std::uint32_t remaining, std::uint32_t *err) {
    static auto *const real = runtimes<decltype(u_int8_print)>("u_int8_print");
    replaced_calls += 1;
    return real(handle, tx_id, buffer, indent, name, field, remaining, err);
}

std::uint32_t u_int8_to_xml(kel_handle *handle, std::uint32_t tx_id, const char *name, char *buffer,
                            const std::uint8_t *field, std::uint32_t remaining,
                            std::uint8_t state_flag, std::uint32_t *err) {
    static auto *const real = runtimes<decltype(u_int8_to_xml)>("u_int8_to_xml");
    replaced_calls += 1;
    return real(handle, tx_id, name, buffer, field, remaining, state_flag, err);
}

namespace tarn::test {
namespace {

constexpr std::uint32_t minutes = 1440;
// Of u_int32, each after the other, between the address and the array.
constexpr std::uint32_t counters = 18;

class RunServices : public PlainTest {
 protected:
    // Calls `operation`, and expects a run of the counters and a call for each of the minutes.
    template <typename Operation>
    void expect_calls(Operation operation) {
        replaced_calls = 0;
        RunSwitch::runs = 0;
        RunSwitch::values = 0;
        RunSwitch::pieces = 0;
        operation();
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(replaced_calls, minutes);
        EXPECT_EQ(RunSwitch::runs, 1U);
        EXPECT_EQ(RunSwitch::values, counters);
        EXPECT_EQ(RunSwitch::pieces, 0U);
    }
};

TEST_F(RunServices, AReplacedServiceIsCalledForEachElementAndOthersForARun) {
    st_aaa_client_stats *object = st_aaa_client_stats_create(handle, tx);
    st_aaa_client_stats_coa_errors_set_value(handle, tx, object, 77, &err);
    st_aaa_client_stats_minute_set_value(handle, tx, object, 1439, 9, &err);
    std::vector<char> form(st_aaa_client_stats_len(handle, tx, object));
    const auto length = static_cast<std::uint32_t>(form.size());

    expect_calls([&] {
        EXPECT_EQ(st_aaa_client_stats_marshal(handle, tx, form.data(), object, length, &err),
                  length);
    });

    st_aaa_client_stats *copy = st_aaa_client_stats_create(handle, tx);
    expect_calls([&] {
        EXPECT_EQ(st_aaa_client_stats_unmarshal(handle, tx, form.data(), copy, length, 0, &err),
                  length);
    });
    EXPECT_EQ(st_aaa_client_stats_compare(object, copy), 0);
    EXPECT_EQ(st_aaa_client_stats_coa_errors_get_value(handle, tx, copy, &err), 77U);
    EXPECT_EQ(st_aaa_client_stats_minute_get_value(handle, tx, copy, 1439, &err), 9U);

    std::vector<char> text(1U << 20);
    expect_calls([&] {
        const std::uint32_t used =
            st_aaa_client_stats_print(handle, tx, text.data(), 0, "name", object, 1U << 20, &err);
        EXPECT_NE(std::string_view(text.data(), used).find("\n  minute[1439]: 9\n"),
                  std::string_view::npos);
    });
    expect_calls([&] {
        const std::uint32_t used =
            st_aaa_client_stats_to_xml(handle, tx, "name", text.data(), object, 1U << 20, 0, &err);
        EXPECT_NE(std::string_view(text.data(), used).find("<coa_errors>77</coa_errors>\n"),
                  std::string_view::npos);
    });
    st_aaa_client_stats_destroy(handle, tx, copy);
    st_aaa_client_stats_destroy(handle, tx, object);
}

}  // namespace
}  // namespace tarn::test
