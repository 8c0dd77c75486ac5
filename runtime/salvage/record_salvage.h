/* SPDX-License-Identifier: Apache-2.0 */
// Decides whether a record that was found can be read, and mends in it what says nothing about
// its values: descriptors that are lost, states that are lost, flags and references.
#ifndef TARNBASE_RUNTIME_SALVAGE_RECORD_SALVAGE_H
#define TARNBASE_RUNTIME_SALVAGE_RECORD_SALVAGE_H

#include <string>
#include <unordered_map>

#include "runtime/check/objects.h"
#include "runtime/salvage/suspects.h"

namespace tarnbase::runtime {

class RecordSalvage {
 public:
    RecordSalvage(const Image &image, const Suspects &suspects, Blocks &blocks,
                  const Descriptors &descriptors, SideEntries &entries);

    // Whether the record can be read; else `why` says why not.
    bool take(const TableType &type, kel_record *record);
    const std::string &why() const { return why_; }
    // Objects whose state flags are lost.
    std::uint64_t without_state() const { return without_state_; }

 private:
    bool refuse(const std::string &why);
    bool take_object(const ObjectType &type, void *object, const char *what);
    bool mend_descriptor(kel_object &head, const kel_type_info *constant);
    void mend_state(const ObjectType &type, kel_object &head, Allocator::Extent block);
    bool has_suspect_text(const ObjectType &type, const void *object, Allocator::Extent block);
    bool is_suspect(const void *address, std::uint64_t length) const;

    const Image &image_;
    const Suspects &suspects_;
    Blocks &blocks_;
    const Descriptors &descriptors_;
    SideEntries &entries_;
    std::string why_;
    Findings findings_;
    ObjectCheck objects_;
    // The types of descriptors that can't be read, by their addresses.
    std::unordered_map<const kel_type_info *, const kel_type_info *> lost_descriptors_;
    std::uint64_t without_state_ = 0;
};

}  // namespace tarnbase::runtime

#endif
