// SPDX-License-Identifier: Apache-2.0
/// @file
/// The result of a `try_` operation: a value or an error.
#ifndef TARNBASE_TARN_RESULT_HPP
#define TARNBASE_TARN_RESULT_HPP

#include <optional>
#include <utility>

#include "tarnbase/tarn/error.hpp"

namespace tarn {

/// A value or an error.
template <typename T>
class [[nodiscard]] result {
 public:
    result(T value) : value_(std::move(value)) {}
    result(tarn::error problem) : error_(std::move(problem)) {}

    /// Returns: whether there is a value.
    explicit operator bool() const noexcept { return value_.has_value(); }
    bool has_value() const noexcept { return value_.has_value(); }

    /// Requires: there is a value.
    T &operator*() &noexcept { return *value_; }
    const T &operator*() const &noexcept { return *value_; }
    T &&operator*() &&noexcept { return std::move(*value_); }
    T *operator->() noexcept { return &*value_; }
    const T *operator->() const noexcept { return &*value_; }

    /// Returns: the value, or `other` if there is none.
    T value_or(T other) const & { return value_ ? *value_ : std::move(other); }

    /// Requires: there is no value.
    const tarn::error &error() const noexcept { return *error_; }

#if TARN_EXCEPTIONS
    /// Returns: the value. Throws the error if there is none.
    T value() && {
        if (!value_) throw *error_;
        return std::move(*value_);
    }
#endif

 private:
    std::optional<T> value_;
    std::optional<tarn::error> error_;
};

/// Success or an error.
template <>
class [[nodiscard]] result<void> {
 public:
    result() = default;
    result(tarn::error problem) : error_(std::move(problem)) {}

    /// Returns: whether the operation succeeded.
    explicit operator bool() const noexcept { return !error_; }
    bool has_value() const noexcept { return !error_; }

    /// Requires: the operation failed.
    const tarn::error &error() const noexcept { return *error_; }

#if TARN_EXCEPTIONS
    /// Throws the error if there is one.
    void value() && {
        if (error_) throw *error_;
    }
#endif

 private:
    std::optional<tarn::error> error_;
};

namespace detail {

/// The result of an operation without a value.
inline result<void> outcome(std::uint32_t number, const char *doing, const char *item) {
    if (number != 0) return make_error(number, doing, item);
    return {};
}

}  // namespace detail
}  // namespace tarn

#endif
