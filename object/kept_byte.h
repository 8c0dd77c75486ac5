/* SPDX-License-Identifier: Apache-2.0 */
// kel_snprintf adds a NUL if it fits. The bytes after an inner text
// may be blanks that the outer text's closing line steps over: a NUL among them would
// end the whole text there.
#ifndef TARNBASE_OBJECT_KEPT_BYTE_H
#define TARNBASE_OBJECT_KEPT_BYTE_H

#include <cstddef>
#include <cstdint>

#include "frame/cursor.h"

namespace tarnbase {

// Restores the byte after a text of `length` characters, which is written during this
// object's lifetime, if the text is indented and doesn't fill the buffer.
class KeptByte {
 public:
    KeptByte(std::uint32_t indent, const Output &out, std::size_t length)
        : place_(indent != 0 && length < out.remaining() ? out.at() + length : nullptr),
          kept_(place_ == nullptr ? '\0' : *place_) {}
    ~KeptByte() {
        if (place_ != nullptr) *place_ = kept_;
    }
    KeptByte(const KeptByte &) = delete;
    KeptByte &operator=(const KeptByte &) = delete;

 private:
    char *place_;
    char kept_;
};

}  // namespace tarnbase

#endif
