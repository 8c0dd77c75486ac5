// SPDX-License-Identifier: Apache-2.0
/// @file
/// Objects outside any record.
#ifndef TARNBASE_TARN_OWNED_HPP
#define TARNBASE_TARN_OWNED_HPP

#include <utility>

#include "tarnbase/tarn/object.hpp"
#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/xml.hpp"

namespace tarn {

namespace detail {

/// Returns: whether a block allocated in transaction `made_in` can still be destroyed: a
/// rollback would have freed it.
inline bool outlives(const kel_handle *handle, std::uint32_t made_in) noexcept {
    return made_in == KEL_TX_NONE || made_in == handle->cr_tx_id;
}

}  // namespace detail

/// Owns an object of the structure View. Move-only. Pass it to the setter of a field that
/// nests the structure, which copies it, or use it to read XML or wire forms.
/// Lifetime: if made in a transaction, it must be destroyed before that ends.
template <typename View>
class owned : public View {
    using traits = object_traits<View>;

 public:
    owned(owned &&other) noexcept : View(other), made_in_(other.made_in_) {
        static_cast<View &>(other) = View(other.c_handle(), nullptr);
    }
    owned &operator=(owned &&other) noexcept {
        std::swap(static_cast<View &>(*this), static_cast<View &>(other));
        std::swap(made_in_, other.made_in_);
        return *this;
    }
    ~owned() {
        if (this->c_object() == nullptr || !detail::outlives(this->c_handle(), made_in_)) return;
        traits::destroy(this->c_handle(), this->c_handle()->cr_tx_id, this->c_object());
    }

    /// Makes an empty object. Error: ENOMEM.
    static result<owned> try_make(const session &in) {
        kel_handle *handle = in.c_handle();
        auto *object = traits::create(handle, handle->cr_tx_id);
        if (object == nullptr) return detail::make_error(ENOMEM, "making a", traits::name);
        return owned(handle, object);
    }
    /// Fills the object from its wire form. Error: EMSGSIZE too few bytes.
    result<void> try_read_wire(byte_range wire) {
        std::uint32_t err = 0;
        traits::unmarshal(this->c_handle(), this->c_handle()->cr_tx_id, wire.data(),
                          this->c_object(), static_cast<std::uint32_t>(wire.size()), 0, &err);
        return detail::outcome(err, "reading the wire form of", traits::name);
    }
    /// Fills the object from the element at the XPath `path`. Error: ENOENT there is none.
    template <typename Document>
    result<void> try_read_xml(const Document &document, const char *path) {
        return detail::read_xml<View>(*this, path, document.c_document());
    }

#if TARN_EXCEPTIONS
    /// As try_make; throws.
    static owned make(const session &in) { return try_make(in).value(); }
    /// As try_read_wire; throws.
    void read_wire(byte_range wire) { try_read_wire(wire).value(); }
    /// As try_read_xml; throws.
    template <typename Document>
    void read_xml(const Document &document, const char *path) {
        try_read_xml(document, path).value();
    }
#endif

 private:
    owned(kel_handle *handle, typename traits::c_type *object) noexcept
        : View(handle, object), made_in_(handle->cr_tx_id) {}

    std::uint32_t made_in_;
};

}  // namespace tarn

#endif
