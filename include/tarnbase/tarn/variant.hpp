// SPDX-License-Identifier: Apache-2.0
/// @file
/// The variant in which a session makes objects of a type.
#ifndef TARNBASE_TARN_VARIANT_HPP
#define TARNBASE_TARN_VARIANT_HPP

#include <cstdint>
#include <utility>

#include "tarnbase/runtime.h"
#include "tarnbase/tarn/result.hpp"

namespace tarn {

/// Sets the variant of a type in a handle until the end of the scope: objects are made with the
/// fields up to this variant, and a write raises an older object to it. The handle's default is
/// the type's highest variant.
/// Lifetime: its handle's.
class variant_scope {
 public:
#if TARN_EXCEPTIONS
    /// As try_make; throws.
    variant_scope(kel_handle *handle, const kel_type_info &type, std::int8_t variant)
        : variant_scope(try_make(handle, type, variant).value()) {}
#endif
    variant_scope(variant_scope &&other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)),
          type_(other.type_),
          before_(other.before_) {}
    variant_scope &operator=(variant_scope &&) = delete;
    ~variant_scope() {
        // There is a choice to change, so this allocates nothing and doesn't fail.
        if (handle_ != nullptr) kel_handle_set_variant(handle_, type_, before_);
    }

    /// Begins a scope. Error: ENOMEM.
    static result<variant_scope> try_make(kel_handle *handle, const kel_type_info &type,
                                          std::int8_t variant) {
        std::uint32_t err = 0;
        const std::uint32_t before =
            kel_domain_lookup_variant(handle, &handle->variant_domain, &type, &err);
        if (err == 0) err = kel_handle_set_variant(handle, &type, variant);
        if (err != 0) return detail::make_error(err, "setting the variant of", type.name);
        return variant_scope(handle, &type, static_cast<std::int8_t>(before));
    }

 private:
    variant_scope(kel_handle *handle, const kel_type_info *type, std::int8_t before) noexcept
        : handle_(handle), type_(type), before_(before) {}

    kel_handle *handle_;
    const kel_type_info *type_;
    std::int8_t before_;
};

}  // namespace tarn

#endif
