/* SPDX-License-Identifier: Apache-2.0 */
// Ranges whose bytes a transaction has logged: the last one of each of 64 classes of addresses.
// Logging them again would change nothing: undoing restores the oldest bytes last.
#ifndef TARNBASE_RUNTIME_STORE_LOGGED_RANGES_H
#define TARNBASE_RUNTIME_STORE_LOGGED_RANGES_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace tarnbase::runtime {

class LoggedRanges {
 public:
    // Only of ranges that begin at the same address.
    bool contain(const void *address, std::uint64_t length) const {
        const std::size_t at = place_of(address);
        return (in_use_ >> at & 1) != 0 && ranges_[at].address == address &&
               length <= ranges_[at].length;
    }
    void add(const void *address, std::uint64_t length) {
        const std::size_t at = place_of(address);
        ranges_[at] = {address, length};
        in_use_ |= std::uint64_t{1} << at;
    }
    void clear() { in_use_ = 0; }

 private:
    struct Range {
        const void *address;
        std::uint64_t length;
    };

    // Addresses that are near each other have different places.
    static std::size_t place_of(const void *address) {
        const auto number = std::uint64_t{reinterpret_cast<std::uintptr_t>(address)};
        return number / 4 * 0x9e3779b97f4a7c15ULL >> 58;
    }

    std::uint64_t in_use_ = 0;  // a bit for each place
    std::array<Range, 64> ranges_;
};

}  // namespace tarnbase::runtime

#endif
