/* SPDX-License-Identifier: Apache-2.0 */
// Checks an object: its header, the objects in it, their texts, their side entries and their
// places in its state block.
#ifndef TARNBASE_RUNTIME_CHECK_OBJECTS_H
#define TARNBASE_RUNTIME_CHECK_OBJECTS_H

#include <functional>
#include <string>

#include "runtime/check/descriptors.h"
#include "runtime/check/side_entries.h"
#include "runtime/check/types.h"

namespace tarnbase::runtime {

class ObjectCheck {
 public:
    // Names what has the object, for findings.
    using Where = std::function<std::string()>;

    ObjectCheck(Findings &findings, Blocks &blocks, const Descriptors &descriptors,
                SideEntries &entries)
        : findings_(findings), blocks_(blocks), descriptors_(descriptors), entries_(entries) {}

    // Checks the object in a block, which has its owner. False: its fields can't be read.
    bool check(const ObjectType &type, const void *object, Allocator::Extent block,
               const Where &where);

    // Checks that `found` is the constant descriptor or the store's copy of it.
    bool check_descriptor(const kel_type_info *found, const kel_type_info *constant,
                          const Where &where);
    // Checks that the data entry of an object or record and its flags agree. Null: it has none.
    const ObjectData *check_data(const void *object, bool is_expected, const Where &where);

    // The number of objects with descriptors of another process.
    std::uint64_t foreign() const { return foreign_; }

 private:
    bool check_header(const ObjectType &type, const kel_object &head, Allocator::Extent block,
                      const Where &where);
    bool check_part(const ObjectType &type, const Part &part, const void *object,
                    Allocator::Extent block, const Where &where);
    bool check_part_header(const ObjectType &type, const Part &part, const kel_object &outer,
                           const kel_object &head, Allocator::Extent block, const Where &where);
    bool check_content(const Part &part, const void *place, const Where &where);
    bool check_text(const kel_vstring &string, const Where &where);
    bool check_address(const ip_address &address, const Where &where);
    void check_identity(const kel_object &head, const Where &where);

    Findings &findings_;
    Blocks &blocks_;
    const Descriptors &descriptors_;
    SideEntries &entries_;
    std::uint64_t foreign_ = 0;
};

}  // namespace tarnbase::runtime

#endif
