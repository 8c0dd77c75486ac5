// SPDX-License-Identifier: Apache-2.0
/// @file
/// The type of every failure: thrown, or returned in a tarn::result.
#ifndef TARNBASE_TARN_ERROR_HPP
#define TARNBASE_TARN_ERROR_HPP

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tarnbase/embedded.h"

/// 1 if the compiler has exceptions on. The operations that throw exist only then;
/// the `try_` form of each always exists.
#if defined(__cpp_exceptions)
#define TARN_EXCEPTIONS 1
#else
#define TARN_EXCEPTIONS 0
#endif

namespace tarn {

/// A failed operation: its error number and what was wrong.
class error : public std::runtime_error {
 public:
    error(std::uint32_t number, const std::string &message)
        : std::runtime_error(message), number_(number) {}

    /// Returns: the Linux errno number that the C call reported.
    std::uint32_t number() const noexcept { return number_; }
    /// Returns: the number as a code that compares with std::errc.
    std::error_code code() const noexcept {
        return {static_cast<int>(number_), std::generic_category()};
    }

 private:
    std::uint32_t number_;
};

namespace detail {

/// Returns: the meaning of an error number of an operation on tables and objects.
inline std::string meaning_of(std::uint32_t number) {
    switch (number) {
        case ENOENT:
            return "not found";
        case E2BIG:
            return "too long";
        case EAGAIN:
            return "still referenced";
        case ENOMEM:
            return "no memory";
        case EEXIST:
            return "the key already exists";
        case ENOTEMPTY:
            return "it still has records";
        case EIDRM:
            return "not in the object's variant, or not a value of the enumeration";
        case EMSGSIZE:
            return "too few bytes";
        default:
            return std::generic_category().message(static_cast<int>(number));
    }
}

/// Returns: the error of an operation, which `doing` and `item` name.
inline error make_error(std::uint32_t number, const char *doing, const char *item) {
    // The C interface reports an allocation that the store refused as one without memory.
    if (number == ENOMEM && kel_error_number() == EPERM) {
        return {EPERM, std::string(doing) + " " + item + ": " + kel_error_text()};
    }
    return {number, std::string(doing) + " " + item + ": " + meaning_of(number)};
}

/// Returns: the error of an operation that sets kel_error_text.
inline error last_failure(std::uint32_t number) { return {number, kel_error_text()}; }

#if TARN_EXCEPTIONS
/// Throws; out of line, to keep the callers' code short.
[[noreturn]] __attribute__((cold, noinline)) inline void fail(std::uint32_t number,
                                                              const char *doing, const char *item) {
    throw make_error(number, doing, item);
}

/// Throws unless `number` is 0.
inline void need(std::uint32_t number, const char *doing, const char *item) {
    if (__builtin_expect(number != 0, 0)) fail(number, doing, item);
}
#endif

}  // namespace detail
}  // namespace tarn

#endif
