// SPDX-License-Identifier: Apache-2.0
// This program's functions of the services, which the library calls in place of the runtime's.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tarnbase/runtime.h"
#include "tests/support/service_forwarder.h"
#include "tests/support/service_list.h"

using tarn::test::ServiceForwarder;
using tarn::test::Shape;

// Their types are those of the headers.
#define TARN_PARAMETER(name, i) Shape<decltype(name)>::Argument<i> a##i
#define TARN_PARAMETERS_0(name)
#define TARN_PARAMETERS_1(name) TARN_PARAMETER(name, 0)
#define TARN_PARAMETERS_2(name) TARN_PARAMETERS_1(name), TARN_PARAMETER(name, 1)
#define TARN_PARAMETERS_3(name) TARN_PARAMETERS_2(name), TARN_PARAMETER(name, 2)
#define TARN_PARAMETERS_4(name) TARN_PARAMETERS_3(name), TARN_PARAMETER(name, 3)
#define TARN_PARAMETERS_5(name) TARN_PARAMETERS_4(name), TARN_PARAMETER(name, 4)
#define TARN_PARAMETERS_6(name) TARN_PARAMETERS_5(name), TARN_PARAMETER(name, 5)
#define TARN_PARAMETERS_7(name) TARN_PARAMETERS_6(name), TARN_PARAMETER(name, 6)
#define TARN_PARAMETERS_8(name) TARN_PARAMETERS_7(name), TARN_PARAMETER(name, 7)
#define TARN_PARAMETERS_9(name) TARN_PARAMETERS_8(name), TARN_PARAMETER(name, 8)
#define TARN_ARGUMENTS_0
#define TARN_ARGUMENTS_1 , a0
#define TARN_ARGUMENTS_2 TARN_ARGUMENTS_1, a1
#define TARN_ARGUMENTS_3 TARN_ARGUMENTS_2, a2
#define TARN_ARGUMENTS_4 TARN_ARGUMENTS_3, a3
#define TARN_ARGUMENTS_5 TARN_ARGUMENTS_4, a4
#define TARN_ARGUMENTS_6 TARN_ARGUMENTS_5, a5
#define TARN_ARGUMENTS_7 TARN_ARGUMENTS_6, a6
#define TARN_ARGUMENTS_8 TARN_ARGUMENTS_7, a7
#define TARN_ARGUMENTS_9 TARN_ARGUMENTS_8, a8

#define TARN_FORWARD(name, count, failure)                                                  \
    Shape<decltype(name)>::Result name(TARN_PARAMETERS_##count(name)) {                     \
        static auto *const real =                                                           \
            reinterpret_cast<decltype(name) *>(ServiceForwarder::next(#name));              \
        return ServiceForwarder::serve(#name, &(name), real,                                \
                                       __builtin_return_address(0) TARN_ARGUMENTS_##count); \
    }

TARN_EACH_SERVICE(TARN_FORWARD)

// Formatted here, so that the text can be recorded; it goes on as one argument.
namespace {

std::string formatted(const char *format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

void ptrail_wrapper(uint16_t module_id, uint32_t level, uint32_t zero, const char *format, ...) {
    static auto *const real =
        reinterpret_cast<decltype(&ptrail_wrapper)>(ServiceForwarder::next("ptrail_wrapper"));
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (ServiceForwarder::listening() &&
        !ServiceForwarder::is_of_the_runtime(__builtin_return_address(0))) {
        ServiceForwarder::note("ptrail_wrapper", {module_id, level, zero}, text);
    }
    real(module_id, level, zero, "%s", text.c_str());
}

uint32_t kel_snprintf(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t remaining,
                      uint32_t *err, const char *format, ...) {
    static auto *const real =
        reinterpret_cast<decltype(&kel_snprintf)>(ServiceForwarder::next("kel_snprintf"));
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (!ServiceForwarder::listening() ||
        ServiceForwarder::is_of_the_runtime(__builtin_return_address(0))) {
        return real(handle, tx_id, buffer, remaining, err, "%s", text.c_str());
    }
    const std::size_t place =
        ServiceForwarder::note("kel_snprintf",
                               {tarn::test::word(handle), tx_id, tarn::test::word(buffer),
                                remaining, tarn::test::word(err)},
                               text);
    if (const auto *failure = ServiceForwarder::due("kel_snprintf")) {
        ServiceForwarder::call(place).failed = true;
        return static_cast<uint32_t>(tarn::test::fail_by(*failure, handle, err));
    }
    const uint32_t written = real(handle, tx_id, buffer, remaining, err, "%s", text.c_str());
    ServiceForwarder::call(place).result = written;
    return written;
}
