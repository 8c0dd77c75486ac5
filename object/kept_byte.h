/* SPDX-License-Identifier: Apache-2.0 */
// kel_snprintf ends its text with a NUL where there is room for one. Behind an inner
// text stands what the outer one's closing line may step over: there the NUL would
// cut the whole text in two.
#ifndef TARNBASE_OBJECT_KEPT_BYTE_H
#define TARNBASE_OBJECT_KEPT_BYTE_H

#include <cstddef>
#include <cstdint>

namespace tarnbase {

// Gives the byte behind a text of `length` characters, which is written while this
// lives, its value back, if the text is indented and its room goes on behind it.
class KeptByte {
 public:
    KeptByte(std::uint32_t indent, char *text, std::size_t length, std::uint32_t room)
        : place_(indent != 0 && length < room ? text + length : nullptr),
          held_(place_ == nullptr ? '\0' : *place_) {}
    ~KeptByte() {
        if (place_ != nullptr) *place_ = held_;
    }
    KeptByte(const KeptByte &) = delete;
    KeptByte &operator=(const KeptByte &) = delete;

 private:
    char *place_;
    char held_;
};

}  // namespace tarnbase

#endif
