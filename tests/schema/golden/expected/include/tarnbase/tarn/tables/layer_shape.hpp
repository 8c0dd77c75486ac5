// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_TABLES_layer_shape_HPP
#define TARNBASE_TARN_TABLES_layer_shape_HPP

#include "tarnbase/tables/tbl_layer_shape.h"
#include "tarnbase/tarn/schema.hpp"
#include "tarnbase/tarn/table.hpp"
#include "tarnbase/tarn/types/shape.hpp"
#include "tarnbase/tarn/types/shape_key.hpp"

namespace tarn {

/// the shapes by layer and owner. The key is a shape_key: names a shape among its layer's.
struct tbl_layer_shape {
    using object_type = shape;
    using c_object_type = ::st_shape;
    /// The parts of a key, in the order that records are sorted by.
    struct key_values {
        std::string_view layer{};
        ::tarn::address owner{};
    };
    using key_type = key_values;
    using probe = detail::structure_probe<tbl_layer_shape, shape_key>;

    static constexpr const char *name = "tbl_layer_shape";
    static const std::uint8_t *luid() noexcept { return ::table_tbl_layer_shape_luid; }
    static const kel_type_info *descriptor() noexcept {
        return &::_tbl_layer_shape_table_type_info_internal;
    }
    static constexpr auto open = &::tbl_layer_shape_table_open;
    static constexpr auto open_by_id = &::tbl_layer_shape_table_open_by_id;
    static constexpr auto free = &::tbl_layer_shape_table_free;
    static constexpr auto count = &::tbl_layer_shape_table_get_count;
    static constexpr auto count_by_src = &::tbl_layer_shape_table_get_count_by_src;
    static constexpr auto create_record = &::tbl_layer_shape_create_record_w_src;
    static constexpr auto destroy_record = &::tbl_layer_shape_destroy_record;
    static constexpr auto insert = &::tbl_layer_shape_insert;
    static constexpr auto remove = &::tbl_layer_shape_delete;
    static constexpr auto search = &::tbl_layer_shape_shape_key__search_internal;
    static constexpr auto first = &::tbl_layer_shape_shape_key__get_first_by_src;
    static constexpr auto first_of_all = &::tbl_layer_shape_shape_key__get_first_ignore_src;
    static constexpr auto first_not_pending = &::tbl_layer_shape_shape_key__get_first_not_pending_destroy;
    static constexpr auto last = &::tbl_layer_shape_shape_key__get_last_by_src;
    static constexpr auto get = &::tbl_layer_shape_shape_key__get_cr;
    static constexpr auto last_not_pending = &::tbl_layer_shape_shape_key__get_last_not_pending_destroy;
    static constexpr auto next = &::tbl_layer_shape_shape_key__get_next_internal;
    static constexpr auto prev = &::tbl_layer_shape_shape_key__get_prev_internal;
    static constexpr auto next_by_key = &::tbl_layer_shape_shape_key__get_next_by_key_w_src;
    static constexpr auto walk = &::tbl_layer_shape_shape_key__walk;
    static constexpr auto print = &::tbl_layer_shape_table_record_print;
    static constexpr auto to_xml = &::tbl_layer_shape_table_record_to_xml;
    static constexpr auto len = &::tbl_layer_shape_table_record_len;
    static constexpr auto marshal = &::tbl_layer_shape_table_record_marshal;
    static constexpr auto unmarshal = &::tbl_layer_shape_table_record_unmarshal;

    static std::uint32_t attach_objects(kel_handle *handle, std::uint32_t tx_id,
                                        kel_record *record) {
        using namespace detail;
        const std::uint32_t err =
            attach<shape, &::tbl_layer_shape_st_shape_set_field>(handle, tx_id, record);
        if (err != 0) return err;
        return attach<shape_key, &::tbl_layer_shape_shape_key_set_field>(handle, tx_id, record);
    }
    static shape_key key_of(const shape &object, const kel_record *record) noexcept {
        return {object.c_handle(), static_cast<::shape_key *>(record->key_object)};
    }
    static std::uint32_t set_key(const shape &object, const kel_record *record,
                                 const key_type &key) {
        const shape_key into = key_of(object, record);
        std::uint32_t err = 0;
        if (err == 0) err = detail::write<&::shape_key_layer_set>(into, key.layer);
        if (err == 0) err = detail::write<&::shape_key_owner_set>(into, key.owner);
        return err;
    }
    static void put_key(std::uint32_t &err, const shape_key &into, const key_values &key) {
        detail::put<&::shape_key_layer_get>(err, into, key.layer);
        detail::put<&::shape_key_owner_get>(err, into, key.owner);
    }
    static result<void> read_xml(const shape &object, const kel_record *record,
                                 kel_xml_document *document) {
        const result<void> done = detail::read_part<shape>(object, document);
        if (!done) return done;
        return detail::read_part<shape_key>(key_of(object, record), document);
    }
};

}  // namespace tarn

#endif
