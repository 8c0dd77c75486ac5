// SPDX-License-Identifier: Apache-2.0
/// @file
/// Records: in a table, and not yet inserted.
#ifndef TARNBASE_TARN_RECORD_HPP
#define TARNBASE_TARN_RECORD_HPP

#include <utility>

#include "tarnbase/record.h"
#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/owned.hpp"
#include "tarnbase/tarn/tenant.hpp"

namespace tarn {

namespace detail {

/// Creates an empty object for a record, which then owns it. Returns: the error number.
template <typename View, auto SetField>
std::uint32_t attach(kel_handle *handle, std::uint32_t tx_id, kel_record *record) {
    auto *object = object_traits<View>::create(handle, tx_id);
    if (object == nullptr) return ENOMEM;
    kel_clear_last_error(handle);
    SetField(handle, tx_id, record, object);
    if (handle->last_error != 0) object_traits<View>::destroy(handle, tx_id, object);
    return handle->last_error;
}

/// Fills one of a record's objects from its element in a document, if there is one.
template <typename View>
result<void> read_part(const View &object, kel_xml_document *document) {
    result<void> done = read_xml(object, object_traits<View>::xml_path, document);
    if (!done && done.error().number() == ENOENT) return {};
    return done;
}

}  // namespace detail

/// A record of a table: a view of its object, with the record's own properties.
/// Lifetime: the record's, which ends when it is erased or its insertion is rolled back.
template <typename Table>
class basic_record : public Table::object_type {
 public:
    basic_record(kel_handle *handle, kel_record *record) noexcept
        : Table::object_type(handle, static_cast<typename Table::c_object_type *>(record->object)),
          record_(record) {}

    /// Returns: the key: the key field's value, or a view of the key object.
    auto key() const noexcept { return Table::key_of(*this, record_); }
    std::uint16_t tenant() const noexcept { return record_->tenant_id; }
    tarn::source source() const noexcept { return tarn::source{record_->src}; }
    /// Returns: whether the record is pending destruction, on a replicated table.
    bool pending_destroy() const noexcept {
        return (record_->flags & KEL_RECORD_PENDING_DESTROY) != 0;
    }

    /// Returns: the text form of the record.
    result<std::string> try_to_text() const {
        return text_form(
            "printing", Table::name, [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
                return Table::print(this->c_handle(), tx_id(), buffer, record_, size, err);
            });
    }
    /// Returns: the XML form of the record, an element of the table's name. Error: EINVAL a
    /// text contains characters that XML doesn't allow.
    result<std::string> try_to_xml() const {
        return text_form("writing the XML of", Table::name,
                         [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
                             return Table::to_xml(this->c_handle(), tx_id(), buffer, record_, size,
                                                  err);
                         });
    }
    /// Returns: the wire form of the record: a frame with its table's LUID. Error: ENOENT it
    /// has no object.
    result<bytes> try_to_wire() const {
        return detail::wire_form(Table::len(this->c_handle(), tx_id(), record_), Table::name,
                                 [&](void *buffer, std::uint32_t size, std::uint32_t *err) {
                                     return Table::marshal(this->c_handle(), tx_id(), buffer,
                                                           record_, size, err);
                                 });
    }

#if TARN_EXCEPTIONS
    /// As try_to_text; throws.
    std::string to_text() const { return try_to_text().value(); }
    /// As try_to_xml; throws.
    std::string to_xml() const { return try_to_xml().value(); }
    /// As try_to_wire; throws.
    bytes to_wire() const { return try_to_wire().value(); }
#endif

    /// Returns: the record, for calls of the C interface.
    kel_record *c_record() const noexcept { return record_; }

 private:
    std::uint32_t tx_id() const noexcept { return this->c_handle()->cr_tx_id; }

    kel_record *record_;
};

/// Owns a record that is in no table, and its object. Destroys both unless the record is
/// inserted. Move-only.
/// Lifetime: if made in a transaction, it must be inserted or destroyed before that ends.
template <typename Table>
class basic_new_record : public basic_record<Table> {
    using base = basic_record<Table>;

 public:
    /// Takes ownership of a record that is in no table and has one reference.
    basic_new_record(kel_handle *handle, kel_record *record) noexcept
        : base(handle, record), made_in_(handle->cr_tx_id) {}
    basic_new_record(basic_new_record &&other) noexcept
        : base(other), made_in_(other.made_in_), is_owner_(std::exchange(other.is_owner_, false)) {}
    basic_new_record &operator=(basic_new_record &&other) noexcept {
        std::swap(static_cast<base &>(*this), static_cast<base &>(other));
        std::swap(made_in_, other.made_in_);
        std::swap(is_owner_, other.is_owner_);
        return *this;
    }
    ~basic_new_record() {
        if (!is_owner_ || !detail::outlives(this->c_handle(), made_in_)) return;
        std::uint32_t err = 0;
        Table::destroy_record(this->c_handle(), this->c_handle()->cr_tx_id, this->c_record(), &err);
    }

    /// Returns: whether it still owns its record: false once it was moved or inserted.
    explicit operator bool() const noexcept { return is_owner_; }

    /// Releases ownership. Returns: the record, now the caller's.
    kel_record *release() noexcept {
        is_owner_ = false;
        return this->c_record();
    }

 private:
    std::uint32_t made_in_;
    bool is_owner_ = true;
};

}  // namespace tarn

#endif
