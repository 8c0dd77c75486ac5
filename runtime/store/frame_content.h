/* SPDX-License-Identifier: Apache-2.0 */
// Adds what has changed in an image to a frame.
#ifndef TARNBASE_RUNTIME_STORE_FRAME_CONTENT_H
#define TARNBASE_RUNTIME_STORE_FRAME_CONTENT_H

#include <cstdint>

#include "runtime/log/frame.h"
#include "runtime/store/record_block.h"

namespace tarnbase::runtime {

class FrameContent {
 public:
    FrameContent(FrameBuilder &frame, const Image &image)
        : frame_(frame), image_(image), kinds_(image) {}

    // Adds the allocation of a block, with its content.
    void add_allocation(Allocator::Extent block);
    // Adds the numbers of the header that change with each transaction.
    void add_counters();
    // Adds bytes of the image, in increasing order, as far as they are in blocks or the header.
    // A block that may contain an object is added as a whole, once.
    void add_bytes(std::uint64_t offset, std::uint64_t end);
    // The same, but only blocks that may contain an object.
    void add_objects(std::uint64_t offset, std::uint64_t end);

 private:
    enum class Parts { all, objects };

    bool may_be_object(Allocator::Extent block);
    void add(std::uint64_t offset, std::uint64_t end, Parts parts);
    void add_header(std::uint64_t offset, std::uint64_t end);
    void add_part(Allocator::Extent block, std::uint64_t offset, std::uint64_t end);

    FrameBuilder &frame_;
    const Image &image_;
    BlockKinds kinds_;
    std::uint64_t done_ = 0;  // what is before is added
};

}  // namespace tarnbase::runtime

#endif
