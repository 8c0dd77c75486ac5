/* SPDX-License-Identifier: Apache-2.0 */
// The records that a frame changes.
#ifndef TARNBASE_RUNTIME_REPLICA_CHANGES_H
#define TARNBASE_RUNTIME_REPLICA_CHANGES_H

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "runtime/replica/authors.h"
#include "runtime/replica/owners.h"
#include "runtime/replica/record_copies.h"
#include "runtime/store/follower.h"
#include "runtime/store/record_block.h"
#include "tarnbase/replica.h"

namespace tarnbase::runtime {

class ChangeObserver final : public FrameObserver {
 public:
    ChangeObserver(const Image &image, TableTypes &types, Authors &authors)
        : image_(image), types_(types), authors_(authors), owners_(image), copies_(image) {}

    // Begins with an image that was loaded.
    void start();

    void before(std::span<const char> frame) override;
    void after() override;

    // Fills in what the last frame has changed. Valid until the next one.
    void describe(kel_replica_transaction &transaction) const;

 private:
    // A record that the frame may change.
    struct Touched {
        std::uint64_t offset;
        const kel_record *before;  // null: it wasn't in a table
        RecordObjects objects;     // those that it had
    };
    using Changes = std::vector<kel_replica_change>;

    void touch_operation(const Operation &operation, BlockKinds &kinds);
    void touch_block(Allocator::Extent block, BlockKinds &kinds);
    void touch(std::uint64_t offset);
    void keep_table(std::uint64_t offset);
    const kel_record &record_at(std::uint64_t offset) const {
        return *reinterpret_cast<const kel_record *>(image_.region.base() + offset);
    }
    const kel_record *record_in_table(std::uint64_t offset, BlockKinds &kinds) const;
    // Of a table of the image, or of the copy of one. Null: it isn't known.
    const TableType *type_of(const kel_table *table);
    void move_objects(BlockKinds &kinds);
    void compare(const Touched &touched, const kel_record *now);
    void add(const kel_record *old, const kel_record *now);
    kel_table *shown_table(kel_table *table) const;
    void arrange();
    void arrange_table(Changes::iterator first, Changes::iterator last);

    const Image &image_;
    TableTypes &types_;
    Authors &authors_;
    Owners owners_;
    RecordCopies copies_;
    std::vector<Touched> touched_;
    std::unordered_set<std::uint64_t> seen_;  // their offsets
    std::vector<std::uint64_t> born_;         // blocks that the frame allocates
    std::unordered_map<const kel_table *, const kel_table *> freed_;  // copies of freed tables
    std::unordered_map<const kel_type_info *, const TableType *> known_;
    Changes changes_;
};

}  // namespace tarnbase::runtime

#endif
