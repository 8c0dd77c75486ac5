/* SPDX-License-Identifier: Apache-2.0 */
// What is found in the blocks of a damaged store without following its trees and lists: each
// kind of block has a pointer to itself or to what it belongs to, which it is recognised by.
#ifndef TARNBASE_RUNTIME_SALVAGE_FINDS_H
#define TARNBASE_RUNTIME_SALVAGE_FINDS_H

#include <map>
#include <string>
#include <vector>

#include "runtime/check/blocks.h"
#include "runtime/check/descriptors.h"
#include "runtime/salvage/suspects.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

class Finds {
 public:
    Finds(const Image &image, const Blocks &blocks) : image_(image), blocks_(blocks) {}

    // Looks at all blocks. Copies of descriptors that the type map doesn't lead to are added to
    // `descriptors`.
    void search(Descriptors &descriptors);

    // The records of a table, by the table's address, in the order of their addresses.
    const std::map<kel_table *, std::vector<kel_record *>> &records() const { return records_; }
    // The names that lead to an address.
    const std::map<const void *, std::string> &names() const { return names_; }

 private:
    void look_at(Allocator::Extent block, Descriptors &descriptors);
    bool take_name(const char *bytes, Allocator::Extent block);
    void take_record(kel_record *record);

    const Image &image_;
    const Blocks &blocks_;
    std::map<kel_table *, std::vector<kel_record *>> records_;
    std::map<const void *, std::string> names_;
    std::vector<kel_record *> unsure_;  // their two links to a table differ
};

}  // namespace tarnbase::runtime

#endif
