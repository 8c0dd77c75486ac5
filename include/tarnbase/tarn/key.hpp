// SPDX-License-Identifier: Apache-2.0
/// @file
/// Search keys, one class for each kind of key. None allocates in the store.
#ifndef TARNBASE_TARN_KEY_HPP
#define TARNBASE_TARN_KEY_HPP

#include <memory>

#include "tarnbase/object.h"
#include "tarnbase/tarn/fields.hpp"

namespace tarn::detail {

// A probe is a key in the form that the C search takes: `get` returns its address, `error`
// an error number if it couldn't be made. Lifetime: the value's.

/// A u_int32 or an enumeration; the other types of keys have specializations.
template <typename Value, typename = void>
class value_probe {
 public:
    value_probe(kel_handle *, Value value) noexcept : value_(static_cast<std::uint32_t>(value)) {}
    std::uint32_t error() const noexcept { return 0; }
    const std::uint32_t *get() const noexcept { return &value_; }

 private:
    std::uint32_t value_;
};

/// A text. The probe refers to the caller's bytes.
template <>
class value_probe<std::string_view> {
 public:
    value_probe(kel_handle *, std::string_view value) noexcept : value_() {
        if (value.size() > std::numeric_limits<std::uint32_t>::max()) {
            error_ = E2BIG;
            return;
        }
        kel_vstring_refer(&value_, value.data(), static_cast<std::uint32_t>(value.size()));
    }
    std::uint32_t error() const noexcept { return error_; }
    const kel_vstring *get() const noexcept { return &value_; }

 private:
    kel_vstring value_;
    std::uint32_t error_ = 0;
};

/// An address, or another object of a value type.
template <typename Value>
class value_probe<Value, std::enable_if_t<is_value<Value>>> {
 public:
    value_probe(kel_handle *, const Value &value) noexcept : value_(value.to_c()) {}
    std::uint32_t error() const noexcept { return 0; }
    const auto *get() const noexcept { return &value_; }

 private:
    decltype(std::declval<const Value &>().to_c()) value_;
};

/// Stores a value in a field of a private key object: not logged, and a text by reference.
template <auto Get, typename View, typename T>
void put(std::uint32_t &err, const View &key, const T &value) noexcept {
    auto *field = call<Get>(err, key);
    if (field == nullptr) return;
    if constexpr (std::is_same_v<T, bool>) {
        field->value = value ? 1U : 0U;
    } else if constexpr (std::is_enum_v<T>) {
        reinterpret_cast<kel_enum_object *>(field)->value = static_cast<std::uint32_t>(value);
    } else if constexpr (is_number<T>) {
        *field = value;
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        if (value.size() > std::numeric_limits<std::uint32_t>::max()) {
            err = E2BIG;
            return;
        }
        kel_vstring_refer(field, value.data(), static_cast<std::uint32_t>(value.size()));
    } else {
        *field = value.to_c();
    }
}

/// A key structure on the stack, filled from `Table::key_values`.
template <typename Table, typename View>
class structure_probe {
    using traits = object_traits<View>;

 public:
    structure_probe(kel_handle *handle, const typename Table::key_values &values)
        : object_(reinterpret_cast<typename traits::c_type *>(block_)) {
        // A library of a later version may have a longer form of the structure.
        const std::uint32_t wanted = traits::size_of(handle);
        if (wanted > sizeof block_) {
            spare_ = std::make_unique<unsigned char[]>(wanted);
            object_ = reinterpret_cast<typename traits::c_type *>(spare_.get());
        }
        traits::initialize(handle, KEL_TX_NONE, object_, traits::descriptor, 0, 1, 0, nullptr,
                           &error_);
        if (error_ == 0) Table::put_key(error_, View(handle, object_), values);
    }
    structure_probe(const structure_probe &) = delete;
    structure_probe &operator=(const structure_probe &) = delete;

    std::uint32_t error() const noexcept { return error_; }
    const typename traits::c_type *get() const noexcept { return object_; }

 private:
    alignas(8) unsigned char block_[traits::size];
    std::unique_ptr<unsigned char[]> spare_;
    typename traits::c_type *object_;
    std::uint32_t error_ = 0;
};

/// The caller's key object.
template <typename View>
class object_probe {
 public:
    object_probe(kel_handle *, const View &key) noexcept : key_(key) {}
    std::uint32_t error() const noexcept { return 0; }
    auto *get() const noexcept { return key_.c_object(); }

 private:
    View key_;
};

}  // namespace tarn::detail

#endif
