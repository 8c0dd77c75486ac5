// SPDX-License-Identifier: Apache-2.0
/// @file
/// Calls the C accessors from the C++ ones, which take and return values.
#ifndef TARNBASE_TARN_FIELDS_HPP
#define TARNBASE_TARN_FIELDS_HPP

#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tarnbase/tarn/bytes.hpp"
#include "tarnbase/tarn/result.hpp"
#include "tarnbase/value.h"

namespace tarn {

/// Generated from the schema: the C type and the C operations of a structure.
template <typename View>
struct object_traits;

namespace detail {

/// The operations on a field, as named in messages.
inline constexpr const char *reading = "reading";
inline constexpr const char *setting = "setting";

template <typename T>
inline constexpr bool is_number = std::is_integral_v<T> && !std::is_same_v<T, bool>;

/// Whether T is the C++ type of a value type that is an object. Such a type is in a header of its
/// name, which the headers of structures include. It is made from the C type and has `to_c()`.
template <typename T, typename = void>
inline constexpr bool is_value = false;
template <typename T>
inline constexpr bool is_value<T, std::void_t<decltype(std::declval<const T &>().to_c())>> = true;

/// Returns: a T, from the C getter's result: a plain value or the field's address.
template <typename T, typename Raw>
T as(kel_handle *handle, Raw raw) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
        return raw != 0;
    } else if constexpr (is_number<T> || std::is_enum_v<T>) {
        return static_cast<T>(raw);
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        if (raw == nullptr) return {};
        std::uint32_t length = 0;
        const char *bytes = kel_vstring_bytes(raw, &length);
        return {bytes, length};
    } else if constexpr (is_value<T>) {
        return raw == nullptr ? T() : T(*raw);
    } else {
        return T(handle, raw);
    }
}

template <auto Operation, typename View, typename... Arguments>
auto call(std::uint32_t &err, const View &object, Arguments... arguments) noexcept {
    return Operation(object.c_handle(), object.c_handle()->cr_tx_id, object.c_object(),
                     arguments..., &err);
}

/// Reads a field that every object of its structure has.
template <typename T, auto Get, typename View>
T get(const View &object) noexcept {
    std::uint32_t err = 0;
    return as<T>(object.c_handle(), call<Get>(err, object));
}

/// Reads a field that the object may not have.
template <typename T, auto Get, typename View>
result<T> try_get(const View &object, const char *field) {
    std::uint32_t err = 0;
    const auto raw = call<Get>(err, object);
    if (err != 0) return make_error(err, reading, field);
    return as<T>(object.c_handle(), raw);
}

/// Sets a field. Returns: the error number.
template <auto Set, typename View, typename T>
std::uint32_t write(const View &object, const T &value) noexcept {
    std::uint32_t err = 0;
    if constexpr (std::is_same_v<T, bool>) {
        call<Set>(err, object, value ? 1U : 0U);
    } else if constexpr (std::is_enum_v<T>) {
        call<Set>(err, object, static_cast<std::uint32_t>(value));
    } else if constexpr (is_number<T>) {
        call<Set>(err, object, value);
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        if (value.size() > std::numeric_limits<std::uint32_t>::max()) return E2BIG;
        kel_vstring text;
        kel_vstring_refer(&text, value.data(), static_cast<std::uint32_t>(value.size()));
        call<Set>(err, object, &text);
    } else if constexpr (is_value<T>) {
        const auto same = value.to_c();
        call<Set>(err, object, &same);
    } else {
        call<Set>(err, object, value.c_object());
    }
    return err;
}

template <auto Set, typename View, typename T>
result<void> try_set(const View &object, const T &value, const char *field) {
    return outcome(write<Set>(object, value), setting, field);
}

/// Returns: all elements of an array field that every object of its structure has.
template <auto Get, std::size_t Count, typename View>
byte_range get_array(const View &object) noexcept {
    std::uint32_t err = 0;
    const std::uint8_t *first = call<Get>(err, object, 0U);
    return {first, first == nullptr ? 0 : Count};
}

template <auto Get, std::size_t Count, typename View>
result<byte_range> try_get_array(const View &object, const char *field) {
    std::uint32_t err = 0;
    const std::uint8_t *first = call<Get>(err, object, 0U);
    if (err != 0) return make_error(err, reading, field);
    return byte_range(first, first == nullptr ? 0 : Count);
}

/// Returns: whether an index fits in the C interface's 32 bits.
inline bool is_index(std::size_t index) noexcept {
    return index <= std::numeric_limits<std::uint32_t>::max();
}

/// Reads an element.
template <auto Get, typename View>
std::uint8_t read_element(std::uint32_t &err, const View &object, std::size_t index) noexcept {
    if (!is_index(index)) err = ENOENT;
    return call<Get>(err, object, static_cast<std::uint32_t>(index));
}

template <auto Get, typename View>
result<std::uint8_t> try_get_element(const View &object, std::size_t index, const char *field) {
    std::uint32_t err = 0;
    const std::uint8_t value = read_element<Get>(err, object, index);
    if (err != 0) return make_error(err, reading, field);
    return value;
}

/// Sets an element. Returns: the error number.
template <auto Set, typename View>
std::uint32_t write_element(const View &object, std::size_t index, std::uint8_t value) noexcept {
    if (!is_index(index)) return ENOENT;
    std::uint32_t err = 0;
    call<Set>(err, object, static_cast<std::uint32_t>(index), value);
    return err;
}

template <auto Set, typename View>
result<void> try_set_element(const View &object, std::size_t index, std::uint8_t value,
                             const char *field) {
    return outcome(write_element<Set>(object, index, value), setting, field);
}

/// Sets the first elements. Returns: the error number.
template <auto Set, typename View>
std::uint32_t write_elements(const View &object, byte_range values) noexcept {
    if (values.size() > std::numeric_limits<std::int32_t>::max()) return EINVAL;
    std::uint32_t err = 0;
    call<Set>(err, object, static_cast<const void *>(values.data()),
              static_cast<std::int32_t>(values.size()));
    return err;
}

template <auto Set, typename View>
result<void> try_set_elements(const View &object, byte_range values, const char *field) {
    return outcome(write_elements<Set>(object, values), setting, field);
}

#if TARN_EXCEPTIONS
template <typename T, auto Get, typename View>
T need_get(const View &object, const char *field) {
    std::uint32_t err = 0;
    const auto raw = call<Get>(err, object);
    need(err, reading, field);
    return as<T>(object.c_handle(), raw);
}

template <auto Set, typename View, typename T>
void set(const View &object, const T &value, const char *field) {
    need(write<Set>(object, value), setting, field);
}

template <auto Get, std::size_t Count, typename View>
byte_range need_get_array(const View &object, const char *field) {
    std::uint32_t err = 0;
    const std::uint8_t *first = call<Get>(err, object, 0U);
    need(err, reading, field);
    return {first, first == nullptr ? 0 : Count};
}

template <auto Get, typename View>
std::uint8_t get_element(const View &object, std::size_t index, const char *field) {
    std::uint32_t err = 0;
    const std::uint8_t value = read_element<Get>(err, object, index);
    need(err, reading, field);
    return value;
}

template <auto Set, typename View>
void set_element(const View &object, std::size_t index, std::uint8_t value, const char *field) {
    need(write_element<Set>(object, index, value), setting, field);
}

template <auto Set, typename View>
void set_elements(const View &object, byte_range values, const char *field) {
    need(write_elements<Set>(object, values), setting, field);
}
#endif

}  // namespace detail
}  // namespace tarn

#endif
