// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_TARN_TABLES_{{file}}_HPP
#define TARNBASE_TARN_TABLES_{{file}}_HPP

#include "tarnbase/tables/{{table}}.h"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/tarn/table.hpp"
#include "tarnbase/tarn/types/{{object}}.hpp"
{{#composite}}
#include "tarnbase/tarn/types/{{key_object}}.hpp"
{{/composite}}

namespace tarn {

/// {{meaning}}. {{key_note}}
struct {{table}} {
    using object_type = {{object}};
    using c_object_type = ::{{type}};
{{#listed}}
    /// The parts of a key, in the order that records are sorted by.
    struct key_values {
{{#parts}}
        {{value}} {{member}}{};
{{/parts}}
    };
{{/listed}}
    using key_type = {{key_type}};
    using probe = {{probe}};

    static constexpr const char *name = "{{table}}";
    static const std::uint8_t *luid() noexcept { return ::table_{{table}}_luid; }
    static const kel_type_info *descriptor() noexcept {
        return &::_{{table}}_table_type_info_internal;
    }
    static constexpr auto open = &::{{table}}_table_open;
    static constexpr auto open_by_id = &::{{table}}_table_open_by_id;
    static constexpr auto free = &::{{table}}_table_free;
    static constexpr auto count = &::{{table}}_table_get_count;
    static constexpr auto count_by_src = &::{{table}}_table_get_count_by_src;
    static constexpr auto create_record = &::{{table}}_create_record_w_src;
    static constexpr auto destroy_record = &::{{table}}_destroy_record;
    static constexpr auto insert = &::{{table}}_insert;
    static constexpr auto remove = &::{{table}}_delete;
    static constexpr auto search = &::{{table}}_{{key}}_search_internal;
    static constexpr auto first = &::{{table}}_{{key}}_get_first_by_src;
    static constexpr auto first_of_all = &::{{table}}_{{key}}_get_first_ignore_src;
    static constexpr auto first_not_pending = &::{{table}}_{{key}}_get_first_not_pending_destroy;
    static constexpr auto last = &::{{table}}_{{key}}_get_last_by_src;
    static constexpr auto get = &::{{table}}_{{key}}_get_cr;
    static constexpr auto last_not_pending = &::{{table}}_{{key}}_get_last_not_pending_destroy;
    static constexpr auto next = &::{{table}}_{{key}}_get_next_internal;
    static constexpr auto prev = &::{{table}}_{{key}}_get_prev_internal;
    static constexpr auto next_by_key = &::{{table}}_{{key}}_get_next_by_key_w_src;
    static constexpr auto walk = &::{{table}}_{{key}}_walk;
    static constexpr auto print = &::{{table}}_table_record_print;
    static constexpr auto to_xml = &::{{table}}_table_record_to_xml;
    static constexpr auto len = &::{{table}}_table_record_len;
    static constexpr auto marshal = &::{{table}}_table_record_marshal;
    static constexpr auto unmarshal = &::{{table}}_table_record_unmarshal;

    static std::uint32_t attach_objects(kel_handle *handle, std::uint32_t tx_id,
                                        kel_record *record) {
        using namespace detail;
        const std::uint32_t err =
            attach<{{object}}, &::{{table}}_{{type}}_set_field>(handle, tx_id, record);
{{^composite}}
        return err;
{{/composite}}
{{#composite}}
        if (err != 0) return err;
        return attach<{{key_object}}, &::{{table}}_{{ktype}}_set_field>(handle, tx_id, record);
{{/composite}}
    }
{{^composite}}
    static auto key_of(const {{object}} &object, const kel_record *) noexcept {
        return object.{{key_member}}();
    }
    static std::uint32_t set_key(const {{object}} &object, kel_record *, const key_type &key) {
        return detail::write<&::{{key_setter}}>(object, key);
    }
    static result<void> read_xml(const {{object}} &object, kel_record *,
                                 kel_xml_document *document) {
        return detail::read_part<{{object}}>(object, document);
    }
{{/composite}}
{{#composite}}
    static {{key_object}} key_of(const {{object}} &object, const kel_record *record) noexcept {
        return {object.c_handle(), static_cast<::{{ktype}} *>(record->key_object)};
    }
    static std::uint32_t set_key(const {{object}} &object, const kel_record *record,
                                 const key_type &key) {
        const {{key_object}} into = key_of(object, record);
{{#listed}}
        std::uint32_t err = 0;
{{#parts}}
        if (err == 0) err = detail::write<&::{{setter}}>(into, key.{{member}});
{{/parts}}
        return err;
    }
    static void put_key(std::uint32_t &err, const {{key_object}} &into, const key_values &key) {
{{#parts}}
        detail::put<&::{{access_getter}}>(err, into, key.{{member}});
{{/parts}}
    }
{{/listed}}
{{^listed}}
        return detail::write<&::{{ktype}}_set>(into, key);
    }
{{/listed}}
    static result<void> read_xml(const {{object}} &object, const kel_record *record,
                                 kel_xml_document *document) {
        const result<void> done = detail::read_part<{{object}}>(object, document);
        if (!done) return done;
        return detail::read_part<{{key_object}}>(key_of(object, record), document);
    }
{{/composite}}
};
{{#only_one}}

template <>
struct table_of<{{object}}> {
    using type = {{table}};
};
{{/only_one}}

}  // namespace tarn

#endif
