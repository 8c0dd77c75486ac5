// SPDX-License-Identifier: Apache-2.0
/// @file
/// The base of every structure's class.
#ifndef TARNBASE_TARN_OBJECT_HPP
#define TARNBASE_TARN_OBJECT_HPP

#include <string>

#include "tarnbase/tarn/fields.hpp"
#include "tarnbase/tarn/forms.hpp"

namespace tarn {

/// The base of the structures' classes. Such a class is a view: two pointers, to an
/// object and to the handle used with it. Copying the view doesn't copy the object.
/// Lifetime: the object's.
template <typename View>
class object_view {
    using c_type = typename object_traits<View>::c_type;

 public:
    object_view(kel_handle *handle, c_type *object) noexcept : handle_(handle), object_(object) {}

    /// Returns: the text form, under the structure's name.
    result<std::string> try_to_text() const {
        return text_form("printing", traits::name,
                         [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
                             return traits::print(handle_, handle_->cr_tx_id, buffer, 0,
                                                  traits::name, object_, size, err);
                         });
    }
    /// Returns: the XML form, an element of the structure's name.
    result<std::string> try_to_xml() const {
        return text_form("writing the XML of", traits::name,
                         [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
                             return traits::to_xml(handle_, handle_->cr_tx_id, traits::name, buffer,
                                                   object_, size, 0, err);
                         });
    }
    /// Returns: the wire form.
    result<bytes> try_to_wire() const {
        const std::uint32_t length = traits::len(handle_, handle_->cr_tx_id, object_);
        return detail::wire_form(
            length, traits::name, [&](void *buffer, std::uint32_t size, std::uint32_t *err) {
                return traits::marshal(handle_, handle_->cr_tx_id, buffer, object_, size, err);
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

    /// Returns: the handle that the view uses.
    kel_handle *c_handle() const noexcept { return handle_; }
    /// Returns: the object, for calls of the C interface.
    c_type *c_object() const noexcept { return object_; }

 private:
    using traits = object_traits<View>;

    kel_handle *handle_;
    c_type *object_;
};

namespace detail {

/// Fills `object` from the element at `path`. Fields without an element keep their
/// values.
template <typename View>
result<void> read_xml(const View &object, const char *path, kel_xml_document *document) {
    using traits = object_traits<View>;
    char message[256] = "";
    std::uint32_t err = 0;
    traits::from_xml(object.c_handle(), object.c_handle()->cr_tx_id, path, document,
                     object.c_object(), &err, message, sizeof message);
    if (err == 0) return {};
    if (*message == '\0') return make_error(err, "reading the XML of", traits::name);
    return error(err, std::string("reading the XML of ") + traits::name + ": " + message);
}

}  // namespace detail
}  // namespace tarn

#endif
