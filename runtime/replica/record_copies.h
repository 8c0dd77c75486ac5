/* SPDX-License-Identifier: Apache-2.0 */
// Copies of records with their objects and texts, which can be read as the records can. They last
// until they are cleared.
#ifndef TARNBASE_RUNTIME_REPLICA_RECORD_COPIES_H
#define TARNBASE_RUNTIME_REPLICA_RECORD_COPIES_H

#include <cstddef>
#include <memory>
#include <vector>

#include "runtime/check/types.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

// Whether bytes of a record are more than its place in the index and the references to it.
bool is_content(std::uint64_t offset, std::uint64_t length);

class RecordCopies {
 public:
    explicit RecordCopies(const Image &image) : image_(image) {}

    void clear();
    const kel_record *copy(const TableType &type, const kel_record &record);
    const kel_table *copy(const kel_table &table);

    // Adds the blocks of a record in the store to `blocks`: its own, its objects' and their texts'.
    void add_blocks(const TableType &type, const kel_record &record,
                    std::vector<Allocator::Extent> &blocks) const;

    // Whether the record in the store has what the copy has, apart from its place in the index
    // and the references to it.
    bool is_same(const TableType &type, const kel_record &copied, const kel_record &record) const;

 private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
    };

    char *take(std::size_t size);
    void *copy_object(const ObjectType &type, const void *object);
    void copy_text(char *string);
    void add_block(const void *begin, std::vector<Allocator::Extent> &blocks) const;
    void add_object(const ObjectType &type, const void *object,
                    std::vector<Allocator::Extent> &blocks) const;
    bool is_same_object(const ObjectType &type, const void *copied, const void *object) const;
    // The bytes of an object's block; 0 if it isn't in the store.
    std::size_t size_of(const void *object) const;

    const Image &image_;
    std::vector<Chunk> chunks_;
    std::size_t used_ = 0;  // of the last chunk
};

}  // namespace tarnbase::runtime

#endif
