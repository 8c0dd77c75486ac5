// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/one_record.h"

#include <cstddef>

#include "runtime/index/key_index.h"
#include "runtime/store/record_block.h"

namespace tarnbase::runtime {

bool RecordObserver::start(kel_table *table, const kel_record *place) {
    copies_.clear();
    blocks_.clear();
    change_ = {};
    before_ = nullptr;
    is_freed_ = false;
    if (!image_.contains(table, sizeof *table)) return false;
    const auto block = image_.allocator.find(image_.offset_of(table));
    if (!block || !BlockKinds(image_).is_table(*block)) return false;
    table_ = table;
    place_ = place;
    table_block_ = *block;
    type_ = types_.with_luid(table->descriptor->luid);
    if (type_ == nullptr || type_->order == nullptr) return false;
    if (const kel_record *record = find()) {
        before_ = copies_.copy(*type_, *record);
        observe(record);
    }
    return true;
}

const kel_record *RecordObserver::find() const {
    const kel_index_node *node = index_find(table_->index_root, &place_->index_node, type_->order);
    if (node == nullptr) return nullptr;
    return reinterpret_cast<const kel_record *>(reinterpret_cast<const char *>(node) -
                                                offsetof(kel_record, index_node));
}

void RecordObserver::observe(const kel_record *record) {
    blocks_.clear();
    copies_.add_blocks(*type_, *record, blocks_);
}

void RecordObserver::before(std::span<const char> frame) {
    authors_.read(frame);
    change_ = {};
    is_touched_ = is_freed_ = false;
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) touch(operation);
}

void RecordObserver::touch(const Operation &operation) {
    if (operation.kind == OperationKind::references || operation.kind == OperationKind::note ||
        operation.kind == OperationKind::allocate) {
        return;
    }
    if (is_in(table_block_, operation.offset)) {
        is_freed_ |= operation.kind == OperationKind::release;
        is_touched_ |= is_freed_ || before_ == nullptr;
    }
    for (std::size_t i = 0; i < blocks_.size() && !is_touched_; ++i) {
        if (!is_in(blocks_[i], operation.offset)) continue;
        is_touched_ = i != 0 || operation.kind == OperationKind::release ||
                      is_content(operation.offset - blocks_[i].offset, operation.bytes.size());
    }
}

void RecordObserver::after() {
    if (!is_touched_) return;
    const kel_record *now = is_freed_ ? nullptr : find();
    if (now != nullptr && before_ != nullptr && copies_.is_same(*type_, *before_, *now)) {
        observe(now);
        return;
    }
    if (now == nullptr && before_ == nullptr) return;
    const std::uint32_t what = before_ == nullptr ? KEL_REPLICA_INSERTED
                               : now == nullptr   ? KEL_REPLICA_DELETED
                                                  : KEL_REPLICA_CHANGED;
    change_ = {table_, before_, now, what, 0};
}

void RecordObserver::describe(kel_replica_transaction &transaction) const {
    transaction.changes = &change_;
    transaction.change_count = 1;
}

}  // namespace tarnbase::runtime
