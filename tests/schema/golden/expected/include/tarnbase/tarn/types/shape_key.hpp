// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_TYPES_shape_key_HPP
#define TARNBASE_TARN_TYPES_shape_key_HPP

#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/tarn/address.hpp"
#include "tarnbase/types/shape_key.h"

namespace tarn {

class shape_key;

template <>
struct object_traits<shape_key> {
    using c_type = ::shape_key;
    static constexpr const char *name = "shape_key";
    static constexpr const char *xml_path = "//shape_key";
    static constexpr const kel_type_info *descriptor = &::_shape_key_type_info_internal;
    static constexpr std::size_t size = 96 + 10;
    static constexpr auto create = &::shape_key_create;
    static constexpr auto initialize = &::shape_key_initialize;
    static constexpr auto destroy = &::shape_key_destroy;
    static constexpr auto size_of = &::shape_key_sizeof;
    static constexpr auto print = &::shape_key_print;
    static constexpr auto to_xml = &::shape_key_to_xml;
    static constexpr auto from_xml = &::shape_key_from_xml;
    static constexpr auto len = &::shape_key_len;
    static constexpr auto marshal = &::shape_key_marshal;
    static constexpr auto unmarshal = &::shape_key_unmarshal;
};

/// names a shape among its layer's.
class shape_key : public object_view<shape_key> {
 public:
    using object_view<shape_key>::object_view;

    /// the layer's name.
    std::string_view layer() const noexcept {
        return detail::get<std::string_view, &::shape_key_layer_get>(*this);
    }
    result<void> try_set_layer(std::string_view value) {
        return detail::try_set<&::shape_key_layer_set>(*this, value, "layer of shape_key");
    }
#if TARN_EXCEPTIONS
    void set_layer(std::string_view value) {
        detail::set<&::shape_key_layer_set>(*this, value, "layer of shape_key");
    }
#endif

    /// the machine that draws it.
    ::tarn::address owner() const noexcept {
        return detail::get<::tarn::address, &::shape_key_owner_get>(*this);
    }
    result<void> try_set_owner(const ::tarn::address &value) {
        return detail::try_set<&::shape_key_owner_set>(*this, value, "owner of shape_key");
    }
#if TARN_EXCEPTIONS
    void set_owner(const ::tarn::address &value) {
        detail::set<&::shape_key_owner_set>(*this, value, "owner of shape_key");
    }
#endif
};

}  // namespace tarn

#endif
