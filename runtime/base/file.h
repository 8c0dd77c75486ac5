/* SPDX-License-Identifier: Apache-2.0 */
// An open file.
#ifndef TARNBASE_RUNTIME_BASE_FILE_H
#define TARNBASE_RUNTIME_BASE_FILE_H

#include <unistd.h>

#include <utility>

namespace tarnbase::runtime {

// The destructor closes it.
class File {
 public:
    File() = default;
    explicit File(int descriptor) : descriptor_(descriptor) {}
    File(File &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    File &operator=(File &&other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~File() {
        if (is_open()) ::close(descriptor_);
    }

    int descriptor() const { return descriptor_; }
    bool is_open() const { return descriptor_ >= 0; }

 private:
    int descriptor_ = -1;
};

}  // namespace tarnbase::runtime

#endif
