// SPDX-License-Identifier: Apache-2.0
/// @file
/// The names of enumerators, and all values of an enumeration.
#ifndef TARNBASE_TARN_ENUMERATION_HPP
#define TARNBASE_TARN_ENUMERATION_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tarn {

/// A value of an enumeration and its name in the schema.
template <typename Enumeration>
struct enumerator {
    Enumeration value;      ///< the value
    std::string_view name;  ///< its name in the schema
};

/// Generated from the schema: `all` has the enumerators in the order of their values,
/// which have no gaps.
template <typename Enumeration>
struct enumeration_traits;

/// Returns: all enumerators, to iterate over.
template <typename Enumeration>
constexpr const auto &values() noexcept {
    return enumeration_traits<Enumeration>::all;
}

/// Returns: the enumerator's name in the schema; "" for a value that has no enumerator.
template <typename Enumeration>
constexpr auto name(Enumeration value) noexcept
    -> decltype(std::string_view(enumeration_traits<Enumeration>::all[0].name)) {
    const auto &all = enumeration_traits<Enumeration>::all;
    const std::size_t place =
        static_cast<std::uint32_t>(value) - static_cast<std::uint32_t>(all[0].value);
    return place < sizeof all / sizeof all[0] ? all[place].name : std::string_view();
}

/// Returns: the value of the enumerator with this name in the schema, if there is one.
template <typename Enumeration>
constexpr std::optional<Enumeration> from_name(std::string_view name) noexcept {
    for (const auto &each : enumeration_traits<Enumeration>::all) {
        if (each.name == name) return each.value;
    }
    return std::nullopt;
}

}  // namespace tarn

#endif
