/* SPDX-License-Identifier: Apache-2.0 */
// Recognises the blocks of records, tables and index pages. All stores into them are announced. The
// count of a record's references is each process's own: it isn't shared.
#ifndef TARNBASE_RUNTIME_STORE_RECORD_BLOCK_H
#define TARNBASE_RUNTIME_STORE_RECORD_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "runtime/store/image.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// The eight bytes of a record that contain its count of references.
inline constexpr std::uint64_t references_offset = offsetof(kel_record, ra_byte);
inline constexpr std::uint64_t references_length = 8;
static_assert(offsetof(kel_record, ref_count) == references_offset + 4);
static_assert(references_offset % 8 == 0);

// Whether an allocated block contains a record.
bool is_record(const Image &image, Allocator::Extent block);

// The same for many blocks: a descriptor that was recognised is known by its address. Valid as
// long as no block is freed.
class BlockKinds {
 public:
    explicit BlockKinds(const Image &image) : image_(image) {}
    bool is_record(Allocator::Extent block);
    bool is_table(Allocator::Extent block);
    bool is_index_page(Allocator::Extent block) const;

 private:
    bool has_type(Allocator::Extent block, const char *kind, const kel_type_info *&known) const;

    const Image &image_;
    const kel_type_info *record_type_ = nullptr;
    const kel_type_info *table_type_ = nullptr;
};

}  // namespace tarnbase::runtime

#endif
