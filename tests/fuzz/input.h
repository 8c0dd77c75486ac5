/* SPDX-License-Identifier: Apache-2.0 */
// Input that is consumed from the front, and memory of exactly the requested size: a
// sanitizer detects any access beyond it.
#ifndef TARNBASE_TESTS_FUZZ_INPUT_H
#define TARNBASE_TESTS_FUZZ_INPUT_H

#include <algorithm>
#include <cstring>
#include <memory>

#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

class Buffer {
 public:
    explicit Buffer(std::size_t size) : bytes_(new u8[size]), size_(size) {}
    explicit Buffer(Bytes bytes) : Buffer(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }

    u8 *data() { return bytes_.get(); }
    const u8 *data() const { return bytes_.get(); }
    char *text() { return reinterpret_cast<char *>(bytes_.get()); }
    u32 size() const { return static_cast<u32>(size_); }

 private:
    std::unique_ptr<u8[]> bytes_;
    std::size_t size_;
};

// Zeros follow when the input is used up.
class Input {
 public:
    explicit Input(Bytes bytes) : bytes_(bytes) {}

    u8 byte() {
        if (bytes_.empty()) return 0;
        const u8 first = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return first;
    }
    Buffer rest() const { return Buffer(bytes_); }

 private:
    Bytes bytes_;
};

}  // namespace tarnbase::fuzz

#endif
