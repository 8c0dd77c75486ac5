// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/changes.h"

#include <algorithm>

#include "runtime/index/tree.h"

namespace tarnbase::runtime {
namespace {

constexpr std::size_t few_buckets = 1000;

// Clearing takes as long as the buckets, of which a large transaction leaves many.
template <class Table>
void empty(Table &table) {
    if (table.bucket_count() <= few_buckets) table.clear();
    else table = Table();
}

}  // namespace

void ChangeObserver::start() {
    changes_.clear();
    known_.clear();
    owners_.find_all();
}

void ChangeObserver::before(std::span<const char> frame) {
    touched_.clear();
    empty(seen_);
    born_.clear();
    empty(freed_);
    changes_.clear();
    copies_.clear();
    authors_.read(frame);
    BlockKinds kinds(image_);
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) touch_operation(operation, kinds);
}

void ChangeObserver::describe(kel_replica_transaction &transaction) const {
    transaction.changes = changes_.data();
    transaction.change_count = changes_.size();
}

// Notes the record whose bytes an operation will change. Offsets aren't checked yet.
void ChangeObserver::touch_operation(const Operation &operation, BlockKinds &kinds) {
    if (operation.kind == OperationKind::references || operation.kind == OperationKind::note)
        return;
    if (operation.kind == OperationKind::allocate) {
        born_.push_back(operation.offset);
        return;
    }
    if (operation.offset >= image_.header->arena.size) return;
    const auto block = image_.allocator.find(operation.offset);
    if (!block) return;
    if (operation.kind == OperationKind::write && kinds.is_record(*block) &&
        !is_content(operation.offset - block->offset, operation.bytes.size())) {
        return;
    }
    touch_block(*block, kinds);
    if (operation.kind == OperationKind::release && kinds.is_table(*block)) {
        keep_table(block->offset);
    }
}

void ChangeObserver::touch_block(Allocator::Extent block, BlockKinds &kinds) {
    if (kinds.is_record(block)) {
        touch(block.offset);
    } else if (!kinds.is_index_page(block)) {
        if (const std::uint64_t owner = owners_.owner_of(block)) touch(owner);
    }
}

void ChangeObserver::touch(std::uint64_t offset) {
    if (!seen_.insert(offset).second) return;
    const kel_record &record = record_at(offset);
    const bool is_in_table = image_.contains(record.table, sizeof *record.table);
    const TableType *type = is_in_table ? type_of(record.table) : nullptr;
    Touched touched{offset, nullptr, {}};
    if (type != nullptr) {
        touched.before = copies_.copy(*type, record);
        touched.objects = objects_of(record, type->record_bytes);
    }
    touched_.push_back(touched);
}

void ChangeObserver::keep_table(std::uint64_t offset) {
    const auto *table = reinterpret_cast<const kel_table *>(image_.region.base() + offset);
    type_of(table);
    freed_.emplace(table, copies_.copy(*table));
}

const TableType *ChangeObserver::type_of(const kel_table *table) {
    const auto known = known_.find(table->descriptor);
    if (known != known_.end()) return known->second;
    const auto block = image_.allocator.find(image_.offset_of(table));
    if (!block || !BlockKinds(image_).is_table(*block)) return nullptr;
    const TableType *type = types_.with_luid(table->descriptor->luid);
    known_.emplace(table->descriptor, type);
    return type;
}

const kel_record *ChangeObserver::record_in_table(std::uint64_t offset, BlockKinds &kinds) const {
    const auto block = image_.allocator.find(offset);
    if (!block || block->offset != offset || !kinds.is_record(*block)) return nullptr;
    const kel_record &record = record_at(offset);
    return image_.contains(record.table, sizeof *record.table) ? &record : nullptr;
}

void ChangeObserver::after() {
    BlockKinds kinds(image_);
    for (const std::uint64_t offset : born_) {
        if (!seen_.contains(offset) && record_in_table(offset, kinds) != nullptr) {
            seen_.insert(offset);
            touched_.push_back({offset, nullptr, {}});
        }
    }
    move_objects(kinds);
    for (const Touched &each : touched_) compare(each, record_in_table(each.offset, kinds));
    arrange();
}

// Each object belongs to the record that has it now.
void ChangeObserver::move_objects(BlockKinds &kinds) {
    for (const Touched &each : touched_) {
        for (const void *object : {each.objects.object, each.objects.key}) {
            if (object != nullptr) owners_.remove(image_.offset_of(object), each.offset);
        }
    }
    for (const Touched &each : touched_) {
        const kel_record *record = record_in_table(each.offset, kinds);
        if (record != nullptr) owners_.add(*record, each.offset);
    }
}

void ChangeObserver::compare(const Touched &touched, const kel_record *now) {
    const kel_record *old = touched.before;
    const TableType *type = now != nullptr ? type_of(now->table) : nullptr;
    if (type == nullptr) now = nullptr;
    const bool is_kept =
        old != nullptr && now != nullptr && old->table == now->table &&
        (type->order == nullptr || type->order(&old->index_node, &now->index_node) == orders_equal);
    if (is_kept) {
        if (!copies_.is_same(*type, *old, *now)) add(old, now);
        return;
    }
    if (old != nullptr) add(old, nullptr);
    if (now != nullptr) add(nullptr, now);
}

void ChangeObserver::add(const kel_record *old, const kel_record *now) {
    const std::uint32_t what = old == nullptr   ? KEL_REPLICA_INSERTED
                               : now == nullptr ? KEL_REPLICA_DELETED
                                                : KEL_REPLICA_CHANGED;
    kel_table *table = now != nullptr ? now->table : shown_table(old->table);
    changes_.push_back({table, old, now, what, 0});
}

// A table that was freed is shown by its copy.
kel_table *ChangeObserver::shown_table(kel_table *table) const {
    const auto freed = freed_.find(table);
    return freed != freed_.end() ? const_cast<kel_table *>(freed->second) : table;
}

// Orders the changes, and joins the deletion and the insertion of a key.
void ChangeObserver::arrange() {
    std::stable_sort(changes_.begin(), changes_.end(),
                     [](const auto &a, const auto &b) { return std::less<>()(a.table, b.table); });
    for (auto first = changes_.begin(); first != changes_.end();) {
        const auto last = std::find_if(
            first, changes_.end(), [&](const auto &each) { return each.table != first->table; });
        arrange_table(first, last);
        first = last;
    }
    std::erase_if(changes_, [](const auto &each) { return each.what == 0; });
}

void ChangeObserver::arrange_table(Changes::iterator first, Changes::iterator last) {
    const TableType *type = type_of(first->table);
    if (type == nullptr || type->order == nullptr || last - first < 2) return;
    const auto node = [](const kel_replica_change &each) {
        return &(each.after != nullptr ? each.after : each.before)->index_node;
    };
    const auto is_before = [&](const kel_replica_change &a, const kel_replica_change &b) {
        return type->order(node(a), node(b)) == orders_before;
    };
    const auto others = std::stable_partition(
        first, last, [](const auto &each) { return each.what == KEL_REPLICA_DELETED; });
    std::sort(first, others, is_before);
    std::sort(others, last, is_before);
    for (auto deleted = first, next = others; deleted != others && next != last;) {
        if (is_before(*deleted, *next)) {
            ++deleted;
            continue;
        }
        if (!is_before(*next, *deleted) && next->what == KEL_REPLICA_INSERTED) {
            next->before = deleted->before;
            deleted->what = 0;
            const bool same = copies_.is_same(*type, *next->before, *next->after);
            next->what = same ? 0 : KEL_REPLICA_CHANGED;
        }
        ++next;
    }
}

}  // namespace tarnbase::runtime
