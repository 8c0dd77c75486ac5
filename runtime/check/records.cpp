// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/records.h"

#include <cstddef>
#include <functional>
#include <vector>

#include "runtime/check/walks.h"
#include "runtime/index/tree.h"
#include "runtime/tenant/counters.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

constexpr unsigned known_flags = KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY |
                                 KEL_RECORD_PKEY_INSERTED | KEL_RECORD_HD_MAPPED;

kel_record *record_of(const kel_index_node *node) {
    const auto address = reinterpret_cast<std::uintptr_t>(node) - offsetof(kel_record, index_node);
    return reinterpret_cast<kel_record *>(address);
}

// The key as the table prints it, on one line.
std::string key_text(const TableType &type, kel_handle *handle, kel_table *table,
                     const kel_record *record) {
    char text[512] = "";
    std::uint32_t error = 0;
    const std::uint32_t length =
        type.vector.print_key(handle, KEL_TX_NONE, table, record, text, sizeof text, &error);
    std::string line;
    for (std::uint32_t i = 0; i < length && i < sizeof text; ++i) {
        const char c = text[i] == '\n' ? ' ' : text[i];
        if (c == ' ' && (line.empty() || line.back() == ' ')) continue;
        line += c;
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
}

// Checks an object of a record. Returns whether its fields can be read.
bool check_slot(RecordParts &parts, const ObjectType *type, void *object, const char *what,
                const ObjectCheck::Where &where) {
    if (object == nullptr) return true;
    const auto object_where = [&] { return where() + ", its " + what; };
    const std::uint64_t least = type != nullptr ? type->used_lengths.front() : sizeof(kel_object);
    const auto block = parts.blocks.claim(object, least, object_where);
    if (!block) return false;
    if (type != nullptr) return parts.objects.check(*type, object, *block, object_where);
    parts.opaque.insert(block->offset);
    return false;
}

// The tree of a table's tenants. Calls `found` with each.
class TenantWalk {
 public:
    using Found = std::function<void(TenantCounters &)>;
    TenantWalk(Blocks &blocks, Findings &findings, std::string table, Found found)
        : blocks_(blocks),
          findings_(findings),
          table_(std::move(table)),
          found_(std::move(found)) {}

    bool enter(Node *node) {
        return blocks_
            .claim(node, sizeof(TenantCounters), [&] { return table_ + ", counters of a tenant"; })
            .has_value();
    }
    void visit(Node *node) {
        auto &counters = *reinterpret_cast<TenantCounters *>(node);
        if (counters.tenant <= last_ || counters.tenant > 0xffff) {
            findings_.add(name(node), "it isn't in order after tenant %u", last_);
        }
        last_ = counters.tenant;
        found_(counters);
    }
    std::string name(const Node *node) const {
        if (node == nullptr) return table_ + ", its tenants";
        return table_ + ", tenant " +
               std::to_string(reinterpret_cast<const TenantCounters *>(node)->tenant);
    }

 private:
    Blocks &blocks_;
    Findings &findings_;
    std::string table_;
    Found found_;
    std::uint32_t last_ = 0;  // the default tenant has no counters
};

// The nodes of an index as a tree's.
class IndexTree {
 public:
    explicit IndexTree(IndexedNodes &nodes) : nodes_(nodes) {}
    bool enter(Node *node) { return nodes_.enter(to_public(node)); }
    void visit(Node *node) { nodes_.visit(to_public(node)); }
    std::string name(const Node *node) const { return nodes_.name(to_public(node)); }

 private:
    IndexedNodes &nodes_;
};

}  // namespace

bool check_record(RecordParts &parts, const TableType *type, kel_record *record,
                  Allocator::Extent block, const ObjectCheck::Where &where) {
    if (type != nullptr) parts.objects.check_descriptor(record->descriptor, type->record, where);
    if ((record->flags & ~known_flags) != 0 || record->ra_reserved[0] != 0 ||
        record->ra_reserved[1] != 0 || record->ra_reserved[2] != 0) {
        parts.findings.add(where(), "its flags are 0x%x, and bytes of it are reserved",
                           record->flags);
    }
    if (record->ref_count == 0) parts.findings.add(where(), "it has no reference");
    parts.objects.check_data(record, (record->flags & KEL_RECORD_HD_MAPPED) != 0, where);
    bool readable = check_slot(parts, type != nullptr ? &type->object : nullptr, record->object,
                               "object", where);
    const bool has_key = type != nullptr ? type->key.has_value() : block.size >= sizeof(kel_record);
    if (has_key) {
        readable &= check_slot(parts, type != nullptr ? &*type->key : nullptr, record->key_object,
                               "key object", where);
    }
    return readable;
}

void TableCheck::run() {
    const std::uint64_t foreign = parts_.objects.foreign();
    const std::uint64_t before = parts_.findings.count();
    walk_index();
    is_complete_ = parts_.findings.count() == before;
    if (parts_.descriptors.is_foreign(table_.descriptor)) {
        parts_.findings.add(listed_.name,
                            "its descriptor isn't in the store: only the process that made it can "
                            "read it");
    }
    if (parts_.objects.foreign() != foreign) {
        parts_.findings.add(listed_.name,
                            "%llu of its records and objects have descriptors that aren't in the "
                            "store: only the process that made them can read them",
                            static_cast<Number>(parts_.objects.foreign() - foreign));
    }
    check_counts();
    check_tenants();
}

// An index is a tree of its nodes, or pages.
void TableCheck::walk_index() {
    if (parts_.blocks.at(table_.index_root, sizeof(IndexPage)) && is_page(table_.index_root)) {
        IndexWalk(parts_.findings, parts_.blocks, &table_.index_root, *this).run();
    } else {
        IndexTree tree(*this);
        TreeWalk(parts_.findings, &table_.index_root, tree).run();
    }
}

bool TableCheck::enter(kel_index_node *node) {
    kel_record *record = record_of(node);
    const std::uint64_t least = type_ != nullptr ? type_->record_bytes : KEL_RECORD_SIZE;
    const auto block =
        parts_.blocks.claim(record, least, [&] { return listed_.name + ", a record in its tree"; });
    if (block) __builtin_prefetch(record->object);
    return block.has_value();
}

bool TableCheck::get_key(const kel_index_node *node, KeyBytes &bytes) const {
    const KeyOrder *order = type_ != nullptr ? order_of_keys(type_->order) : nullptr;
    if (order == nullptr || record_of(node) != readable_) return false;
    order->encode(node, bytes);
    return true;
}

std::string TableCheck::name(const kel_index_node *node) const {
    if (node == nullptr) return listed_.name;
    const kel_record *record = record_of(node);
    if (record == readable_ && type_ != nullptr) {
        return listed_.name + ", record " +
               key_text(*type_, parts_.types.handle(), &table_, record);
    }
    return listed_.name + ", record at offset " + std::to_string(parts_.blocks.offset_of(record));
}

void TableCheck::visit(kel_index_node *node) {
    kel_record *record = record_of(node);
    const auto block = parts_.blocks.at(record, KEL_RECORD_SIZE);
    const auto where = [&] { return name(node); };
    const bool readable = check_record(parts_, type_, record, *block, where) && type_ != nullptr;
    readable_ = readable ? record : nullptr;
    if (record->table != &table_) {
        parts_.findings.add(where(), "it says that its table is %p, expected %p",
                            static_cast<const void *>(record->table),
                            static_cast<const void *>(&table_));
    }
    if ((record->flags & KEL_RECORD_IN_INDEX) == 0) {
        parts_.findings.add(where(), "its flags say that it isn't in the tree");
    }
    if (readable) check_order(record);
    last_ = readable ? record : nullptr;
    count(*record);
}

void TableCheck::count(const kel_record &record) {
    const auto add = [&](Counts &counts) {
        ++counts.total;
        ++counts.by_source[record.src];
    };
    add(counts_);
    if (record.tenant_id != 0) add(by_tenant_[record.tenant_id]);
}

void TableCheck::check_order(kel_record *record) {
    if (last_ == nullptr || type_->order == nullptr) return;
    if (type_->order(&last_->index_node, &record->index_node) == orders_before) return;
    parts_.findings.add(name(&record->index_node),
                        "it isn't in order after the record at offset %llu",
                        static_cast<Number>(parts_.blocks.offset_of(last_)));
}

// A count of a tree that was walked can be mended.
void TableCheck::check_count(std::uint32_t &count, std::uint32_t expected,
                             const std::string &what) {
    if (count == expected) return;
    parts_.findings.add(listed_.name, "it counts %u records%s, its tree has %u", count,
                        what.c_str(), expected);
    if (!is_complete_) return;
    parts_.mends.counts.push_back({&count, expected});
    ++parts_.mends.findings;
}

void TableCheck::check_counts() {
    check_count(table_.record_count, counts_.total, "");
    for (std::size_t source = 0; source < counts_.by_source.size(); ++source) {
        check_count(table_.src_counts[source], counts_.by_source[source],
                    " of source " + std::to_string(source));
    }
}

void TableCheck::check_tenants() {
    const std::uint64_t before = parts_.findings.count();
    std::vector<TenantCounters *> found;
    TenantWalk walk(parts_.blocks, parts_.findings, listed_.name,
                    [&](TenantCounters &counters) { found.push_back(&counters); });
    TreeWalk(parts_.findings, &table_.tenant_counters, walk).run();
    if (parts_.findings.count() != before) return;
    for (TenantCounters *counters : found) check_tenant(*counters);
    for (const auto &[tenant, counts] : by_tenant_) {
        if (!counts.is_counted) add_uncounted(tenant, counts);
    }
}

void TableCheck::check_tenant(TenantCounters &counters) {
    const auto tenant = static_cast<std::uint16_t>(counters.tenant);
    const std::string what = " of tenant " + std::to_string(tenant);
    Counts &expected = by_tenant_[tenant];
    expected.is_counted = true;
    check_count(counters.total, expected.total, what);
    for (std::size_t source = 0; source < expected.by_source.size(); ++source) {
        if (counters.by_source[source] == expected.by_source[source]) continue;
        check_count(counters.by_source[source], expected.by_source[source],
                    what + " and source " + std::to_string(source));
    }
}

void TableCheck::add_uncounted(std::uint16_t tenant, const Counts &counts) {
    parts_.findings.add(listed_.name, "it doesn't count the %u records of tenant %u in its tree",
                        counts.total, tenant);
    if (!is_complete_) return;
    for (std::size_t source = 0; source < counts.by_source.size(); ++source) {
        if (counts.by_source[source] == 0) continue;
        parts_.mends.uncounted.push_back(
            {&table_, tenant, static_cast<std::uint8_t>(source), counts.by_source[source]});
    }
    ++parts_.mends.findings;
}

}  // namespace tarnbase::runtime
