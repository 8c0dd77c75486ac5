// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_TYPES_corner_HPP
#define TARNBASE_TARN_TYPES_corner_HPP

#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/types/st_corner.h"

namespace tarn {

class corner;

template <>
struct object_traits<corner> {
    using c_type = ::st_corner;
    static constexpr const char *name = "st_corner";
    static constexpr const char *xml_path = "//st_corner";
    static constexpr const kel_type_info *descriptor = &::_st_corner_type_info_internal;
    static constexpr std::size_t size = 40 + 2;
    static constexpr auto create = &::st_corner_create;
    static constexpr auto initialize = &::st_corner_initialize;
    static constexpr auto destroy = &::st_corner_destroy;
    static constexpr auto size_of = &::st_corner_sizeof;
    static constexpr auto print = &::st_corner_print;
    static constexpr auto to_xml = &::st_corner_to_xml;
    static constexpr auto from_xml = &::st_corner_from_xml;
    static constexpr auto len = &::st_corner_len;
    static constexpr auto marshal = &::st_corner_marshal;
    static constexpr auto unmarshal = &::st_corner_unmarshal;
};

/// where two lines meet.
class corner : public object_view<corner> {
 public:
    using object_view<corner>::object_view;

    /// to the right.
    std::int64_t x() const noexcept {
        return detail::get<std::int64_t, &::st_corner_x_get_value>(*this);
    }
    result<void> try_set_x(std::int64_t value) {
        return detail::try_set<&::st_corner_x_set_value>(*this, value, "x of st_corner");
    }
#if TARN_EXCEPTIONS
    void set_x(std::int64_t value) {
        detail::set<&::st_corner_x_set_value>(*this, value, "x of st_corner");
    }
#endif

    /// its name is a keyword of C.
    std::uint8_t register_() const noexcept {
        return detail::get<std::uint8_t, &::st_corner_register_get_value>(*this);
    }
    result<void> try_set_register(std::uint8_t value) {
        return detail::try_set<&::st_corner_register_set_value>(*this, value, "register of st_corner");
    }
#if TARN_EXCEPTIONS
    void set_register(std::uint8_t value) {
        detail::set<&::st_corner_register_set_value>(*this, value, "register of st_corner");
    }
#endif
};

}  // namespace tarn

#endif
