// SPDX-License-Identifier: Apache-2.0
/// @file
/// Sequences of bytes: array fields and wire forms.
#ifndef TARNBASE_TARN_BYTES_HPP
#define TARNBASE_TARN_BYTES_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn {

/// Owned bytes: a wire form.
using bytes = std::vector<std::uint8_t>;

/// A view of bytes.
/// Lifetime: that of the bytes.
class byte_range {
 public:
    constexpr byte_range() = default;
    constexpr byte_range(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
    byte_range(const bytes &all) : data_(all.data()), size_(all.size()) {}
    /// Of an array.
    template <std::size_t N>
    constexpr byte_range(const std::uint8_t (&all)[N]) : data_(all), size_(N) {}

    constexpr const std::uint8_t *begin() const noexcept { return data_; }
    constexpr const std::uint8_t *end() const noexcept { return data_ + size_; }
    constexpr const std::uint8_t *data() const noexcept { return data_; }
    constexpr std::size_t size() const noexcept { return size_; }
    constexpr bool empty() const noexcept { return size_ == 0; }
    /// Requires: `index` is below size().
    constexpr std::uint8_t operator[](std::size_t index) const noexcept { return data_[index]; }

 private:
    const std::uint8_t *data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace tarn

#endif
