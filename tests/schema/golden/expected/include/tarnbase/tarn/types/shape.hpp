// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_TYPES_shape_HPP
#define TARNBASE_TARN_TYPES_shape_HPP

#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/tarn/enums/color.hpp"
#include "tarnbase/tarn/types/corner.hpp"
#include "tarnbase/types/st_shape.h"

namespace tarn {

class shape;

template <>
struct object_traits<shape> {
    using c_type = ::st_shape;
    static constexpr const char *name = "st_shape";
    static constexpr const char *xml_path = "//st_shape";
    static constexpr const kel_type_info *descriptor = &::_st_shape_type_info_internal;
    static constexpr std::size_t size = 112 + 12;
    static constexpr auto create = &::st_shape_create;
    static constexpr auto initialize = &::st_shape_initialize;
    static constexpr auto destroy = &::st_shape_destroy;
    static constexpr auto size_of = &::st_shape_sizeof;
    static constexpr auto print = &::st_shape_print;
    static constexpr auto to_xml = &::st_shape_to_xml;
    static constexpr auto from_xml = &::st_shape_from_xml;
    static constexpr auto len = &::st_shape_len;
    static constexpr auto marshal = &::st_shape_marshal;
    static constexpr auto unmarshal = &::st_shape_unmarshal;
};

/// a shape on a plane.
class shape : public object_view<shape> {
 public:
    using object_view<shape>::object_view;

    /// sides of the shape.
    std::uint8_t sides() const noexcept {
        return detail::get<std::uint8_t, &::st_shape_sides_get_value>(*this);
    }
    result<void> try_set_sides(std::uint8_t value) {
        return detail::try_set<&::st_shape_sides_set_value>(*this, value, "sides of st_shape");
    }
#if TARN_EXCEPTIONS
    void set_sides(std::uint8_t value) {
        detail::set<&::st_shape_sides_set_value>(*this, value, "sides of st_shape");
    }
#endif

    /// number of the shape; a key.
    std::uint32_t number() const noexcept {
        return detail::get<std::uint32_t, &::st_shape_number_get_value>(*this);
    }
    result<void> try_set_number(std::uint32_t value) {
        return detail::try_set<&::st_shape_number_set_value>(*this, value, "number of st_shape");
    }
#if TARN_EXCEPTIONS
    void set_number(std::uint32_t value) {
        detail::set<&::st_shape_number_set_value>(*this, value, "number of st_shape");
    }
#endif

    /// named as its type.
    ::tarn::color color() const noexcept {
        return detail::get<::tarn::color, &::st_shape_color_get_value>(*this);
    }
    result<void> try_set_color(::tarn::color value) {
        return detail::try_set<&::st_shape_color_set_value>(*this, value, "color of st_shape");
    }
#if TARN_EXCEPTIONS
    void set_color(::tarn::color value) {
        detail::set<&::st_shape_color_set_value>(*this, value, "color of st_shape");
    }
#endif

    /// the corner to begin at.
    ::tarn::corner first() const noexcept {
        return detail::get<::tarn::corner, &::st_shape_first_get>(*this);
    }
    result<void> try_set_first(const ::tarn::corner &value) {
        return detail::try_set<&::st_shape_first_set>(*this, value, "first of st_shape");
    }
#if TARN_EXCEPTIONS
    void set_first(const ::tarn::corner &value) {
        detail::set<&::st_shape_first_set>(*this, value, "first of st_shape");
    }
#endif

    /// how the sides are dashed.
    byte_range pattern() const noexcept {
        return detail::get_array<&::st_shape_pattern_get, 4>(*this);
    }
    result<std::uint8_t> try_pattern(std::size_t index) const {
        return detail::try_get_element<&::st_shape_pattern_get_value>(*this, index, "pattern of st_shape");
    }
    result<void> try_set_pattern(std::size_t index, std::uint8_t value) {
        return detail::try_set_element<&::st_shape_pattern_set_value>(*this, index, value, "pattern of st_shape");
    }
    /// Sets the first elements. Error: EINVAL more than 4.
    result<void> try_set_pattern(byte_range values) {
        return detail::try_set_elements<&::st_shape_pattern_set_mem>(*this, values, "pattern of st_shape");
    }
#if TARN_EXCEPTIONS
    std::uint8_t pattern(std::size_t index) const {
        return detail::get_element<&::st_shape_pattern_get_value>(*this, index, "pattern of st_shape");
    }
    void set_pattern(std::size_t index, std::uint8_t value) {
        detail::set_element<&::st_shape_pattern_set_value>(*this, index, value, "pattern of st_shape");
    }
    void set_pattern(byte_range values) {
        detail::set_elements<&::st_shape_pattern_set_mem>(*this, values, "pattern of st_shape");
    }
#endif

    /// whether the inside is painted. From variant 1 on. Error: EIDRM the object is older.
    result<bool> try_filled() const {
        return detail::try_get<bool, &::st_shape_filled_get_value>(*this, "filled of st_shape");
    }
    result<void> try_set_filled(bool value) {
        return detail::try_set<&::st_shape_filled_set_value>(*this, value, "filled of st_shape");
    }
#if TARN_EXCEPTIONS
    bool filled() const {
        return detail::need_get<bool, &::st_shape_filled_get_value>(*this, "filled of st_shape");
    }
    void set_filled(bool value) {
        detail::set<&::st_shape_filled_set_value>(*this, value, "filled of st_shape");
    }
#endif
};

}  // namespace tarn

#endif
