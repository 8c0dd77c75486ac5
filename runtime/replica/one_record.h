/* SPDX-License-Identifier: Apache-2.0 */
// The changes of one record, among frames that are applied without looking at any other record.
#ifndef TARNBASE_RUNTIME_REPLICA_ONE_RECORD_H
#define TARNBASE_RUNTIME_REPLICA_ONE_RECORD_H

#include <cstdint>
#include <vector>

#include "runtime/replica/authors.h"
#include "runtime/replica/record_copies.h"
#include "runtime/store/follower.h"
#include "tarnbase/replica.h"

namespace tarnbase::runtime {

// While the record is in its table, its blocks are observed: no frame that leaves them alone
// changes it. While it isn't, the table's block is, since each insertion counts in it.
class RecordObserver final : public FrameObserver {
 public:
    RecordObserver(const Image &image, TableTypes &types, Authors &authors)
        : image_(image), types_(types), authors_(authors), copies_(image) {}

    // Observes the record with the key, tenant and source of `place`. False: `table` is no table
    // of a known type. Both are used until the next call.
    bool start(kel_table *table, const kel_record *place);

    void before(std::span<const char> frame) override;
    void after() override;

    // Of the last frame.
    bool has_changed() const { return change_.what != 0; }
    bool has_freed_table() const { return is_freed_; }
    // Fills in the change. Valid until the next call of `start`.
    void describe(kel_replica_transaction &transaction) const;

 private:
    const kel_record *find() const;
    void observe(const kel_record *record);
    void touch(const Operation &operation);
    bool is_in(Allocator::Extent block, std::uint64_t offset) const {
        return offset - block.offset < block.size;
    }

    const Image &image_;
    TableTypes &types_;
    Authors &authors_;
    RecordCopies copies_;
    kel_table *table_ = nullptr;
    const TableType *type_ = nullptr;
    const kel_record *place_ = nullptr;
    const kel_record *before_ = nullptr;  // a copy; null: it isn't in the table
    Allocator::Extent table_block_{};
    std::vector<Allocator::Extent> blocks_;  // the record's first
    bool is_touched_ = false;
    bool is_freed_ = false;
    kel_replica_change change_{};
};

}  // namespace tarnbase::runtime

#endif
