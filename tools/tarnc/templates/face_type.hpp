// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_TARN_TYPES_{{face}}_HPP
#define TARNBASE_TARN_TYPES_{{face}}_HPP

#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/schema.hpp"
{{#includes}}
#include "tarnbase/tarn/{{header}}.hpp"
{{/includes}}
#include "tarnbase/types/{{type}}.h"

namespace tarn {

class {{face}};

template <>
struct object_traits<{{face}}> {
    using c_type = ::{{type}};
    static constexpr const char *name = "{{type}}";
    static constexpr const char *xml_path = "//{{type}}";
    static constexpr const kel_type_info *descriptor = &::_{{type}}_type_info_internal;
    static constexpr std::size_t size = {{plain_size}} + {{state_length}};
    static constexpr auto create = &::{{type}}_create;
    static constexpr auto initialize = &::{{type}}_initialize;
    static constexpr auto destroy = &::{{type}}_destroy;
    static constexpr auto size_of = &::{{type}}_sizeof;
    static constexpr auto print = &::{{type}}_print;
    static constexpr auto to_xml = &::{{type}}_to_xml;
    static constexpr auto from_xml = &::{{type}}_from_xml;
    static constexpr auto len = &::{{type}}_len;
    static constexpr auto marshal = &::{{type}}_marshal;
    static constexpr auto unmarshal = &::{{type}}_unmarshal;
};

/// {{meaning}}.
class {{face}} : public object_view<{{face}}> {
 public:
    using object_view<{{face}}>::object_view;
{{#fields}}

    /// {{note}}
{{#single}}
{{#certain}}
    {{value}} {{member}}() const noexcept {
        return detail::get<{{value}}, &::{{getter}}>(*this);
    }
{{/certain}}
{{^certain}}
    result<{{value}}> try_{{plain_member}}() const {
        return detail::try_get<{{value}}, &::{{getter}}>(*this, "{{label}}");
    }
{{/certain}}
    result<void> try_set_{{plain_member}}({{argument}}value) {
        return detail::try_set<&::{{setter}}>(*this, value, "{{label}}");
    }
#if TARN_EXCEPTIONS
{{^certain}}
    {{value}} {{member}}() const {
        return detail::need_get<{{value}}, &::{{getter}}>(*this, "{{label}}");
    }
{{/certain}}
    void set_{{plain_member}}({{argument}}value) {
        detail::set<&::{{setter}}>(*this, value, "{{label}}");
    }
#endif
{{/single}}
{{#array}}
{{#certain}}
    byte_range {{member}}() const noexcept {
        return detail::get_array<&::{{getter}}, {{elements}}>(*this);
    }
{{/certain}}
{{^certain}}
    result<byte_range> try_{{plain_member}}() const {
        return detail::try_get_array<&::{{getter}}, {{elements}}>(*this, "{{label}}");
    }
{{/certain}}
    result<std::uint8_t> try_{{plain_member}}(std::size_t index) const {
        return detail::try_get_element<&::{{getter}}_value>(*this, index, "{{label}}");
    }
    result<void> try_set_{{plain_member}}(std::size_t index, std::uint8_t value) {
        return detail::try_set_element<&::{{setter}}>(*this, index, value, "{{label}}");
    }
    /// Sets the first elements. Error: EINVAL more than {{elements}}.
    result<void> try_set_{{plain_member}}(byte_range values) {
        return detail::try_set_elements<&::{{mem_setter}}>(*this, values, "{{label}}");
    }
#if TARN_EXCEPTIONS
{{^certain}}
    byte_range {{member}}() const {
        return detail::need_get_array<&::{{getter}}, {{elements}}>(*this, "{{label}}");
    }
{{/certain}}
    std::uint8_t {{member}}(std::size_t index) const {
        return detail::get_element<&::{{getter}}_value>(*this, index, "{{label}}");
    }
    void set_{{plain_member}}(std::size_t index, std::uint8_t value) {
        detail::set_element<&::{{setter}}>(*this, index, value, "{{label}}");
    }
    void set_{{plain_member}}(byte_range values) {
        detail::set_elements<&::{{mem_setter}}>(*this, values, "{{label}}");
    }
#endif
{{/array}}
{{/fields}}
};

}  // namespace tarn

#endif
