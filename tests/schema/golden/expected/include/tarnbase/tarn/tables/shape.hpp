// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_TABLES_shape_HPP
#define TARNBASE_TARN_TABLES_shape_HPP

#include "tarnbase/tables/tbl_shape.h"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/tarn/table.hpp"
#include "tarnbase/tarn/types/shape.hpp"

namespace tarn {

/// the shapes by number. The key is `number`: number of the shape; a key.
struct tbl_shape {
    using object_type = shape;
    using c_object_type = ::st_shape;
    using key_type = std::uint32_t;
    using probe = detail::value_probe<key_type>;

    static constexpr const char *name = "tbl_shape";
    static const std::uint8_t *luid() noexcept { return ::table_tbl_shape_luid; }
    static const kel_type_info *descriptor() noexcept {
        return &::_tbl_shape_table_type_info_internal;
    }
    static constexpr auto open = &::tbl_shape_table_open;
    static constexpr auto open_by_id = &::tbl_shape_table_open_by_id;
    static constexpr auto free = &::tbl_shape_table_free;
    static constexpr auto count = &::tbl_shape_table_get_count;
    static constexpr auto count_by_src = &::tbl_shape_table_get_count_by_src;
    static constexpr auto create_record = &::tbl_shape_create_record_w_src;
    static constexpr auto destroy_record = &::tbl_shape_destroy_record;
    static constexpr auto insert = &::tbl_shape_insert;
    static constexpr auto remove = &::tbl_shape_delete;
    static constexpr auto search = &::tbl_shape_st_shape_number_search_internal;
    static constexpr auto first = &::tbl_shape_st_shape_number_get_first_by_src;
    static constexpr auto first_of_all = &::tbl_shape_st_shape_number_get_first_ignore_src;
    static constexpr auto first_not_pending = &::tbl_shape_st_shape_number_get_first_not_pending_destroy;
    static constexpr auto last = &::tbl_shape_st_shape_number_get_last_by_src;
    static constexpr auto get = &::tbl_shape_st_shape_number_get_cr;
    static constexpr auto last_not_pending = &::tbl_shape_st_shape_number_get_last_not_pending_destroy;
    static constexpr auto next = &::tbl_shape_st_shape_number_get_next_internal;
    static constexpr auto prev = &::tbl_shape_st_shape_number_get_prev_internal;
    static constexpr auto next_by_key = &::tbl_shape_st_shape_number_get_next_by_key_w_src;
    static constexpr auto walk = &::tbl_shape_st_shape_number_walk;
    static constexpr auto print = &::tbl_shape_table_record_print;
    static constexpr auto to_xml = &::tbl_shape_table_record_to_xml;
    static constexpr auto len = &::tbl_shape_table_record_len;
    static constexpr auto marshal = &::tbl_shape_table_record_marshal;
    static constexpr auto unmarshal = &::tbl_shape_table_record_unmarshal;

    static std::uint32_t attach_objects(kel_handle *handle, std::uint32_t tx_id,
                                        kel_record *record) {
        using namespace detail;
        const std::uint32_t err =
            attach<shape, &::tbl_shape_st_shape_set_field>(handle, tx_id, record);
        return err;
    }
    static auto key_of(const shape &object, const kel_record *) noexcept {
        return object.number();
    }
    static std::uint32_t set_key(const shape &object, kel_record *, const key_type &key) {
        return detail::write<&::st_shape_number_set_value>(object, key);
    }
    static result<void> read_xml(const shape &object, kel_record *,
                                 kel_xml_document *document) {
        return detail::read_part<shape>(object, document);
    }
};

}  // namespace tarn

#endif
