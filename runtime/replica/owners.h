/* SPDX-License-Identifier: Apache-2.0 */
// Which record a block of an image belongs to.
//
// No block leads to its record, so the blocks of objects are in a map. A text begins with the
// address of its string (value/text_owner.h), which is in an object.
#ifndef TARNBASE_RUNTIME_REPLICA_OWNERS_H
#define TARNBASE_RUNTIME_REPLICA_OWNERS_H

#include <cstdint>
#include <unordered_map>

#include "runtime/store/image.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// The objects of a record in the store; null where there is none.
struct RecordObjects {
    const void *object;
    const void *key;
};
RecordObjects objects_of(const kel_record &record, std::uint64_t block_size);

class Owners {
 public:
    explicit Owners(const Image &image) : image_(image) {}

    // Finds the objects of all records that are in tables.
    void find_all();
    // The objects of a record, which is at `offset`, belong to it.
    void add(const kel_record &record, std::uint64_t offset);
    // The object at an offset doesn't belong to the record at `offset` any more.
    void remove(std::uint64_t object, std::uint64_t offset);

    // The offset of the record that a block belongs to, which isn't a record itself; 0: of none.
    std::uint64_t owner_of(Allocator::Extent block) const;

 private:
    std::uint64_t owner_of_object(std::uint64_t offset) const;
    void add_page(std::uint64_t number);

    const Image &image_;
    std::unordered_map<std::uint64_t, std::uint64_t> record_of_;  // by the object's offset
};

}  // namespace tarnbase::runtime

#endif
