// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/record_copies.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "runtime/replica/owners.h"
#include "runtime/value/vstring.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t alignment = 16;
constexpr std::size_t first_chunk = 64 << 10;

std::size_t used_length(const ObjectType &type, int variant) {
    const auto index = static_cast<std::size_t>(std::max(variant, 0));
    return type.used_lengths[std::min(index, type.used_lengths.size() - 1)];
}

// The bytes of an object of its variant, without the state after it.
std::size_t used_length(const ObjectType &type, const void *object) {
    const auto &head = *static_cast<const kel_object *>(object);
    return used_length(type, std::max(head.variant, head.created_variant));
}

// Calls `visit` with the offset of each string that an object of `size` bytes has, in order.
template <typename Visit>
void each_text(const ObjectType &type, const void *object, std::size_t size, Visit visit) {
    const std::size_t end = std::min(used_length(type, object), size);
    for (const Part &part : type.parts) {
        if (part.kind == PartKind::text && part.offset + sizeof(kel_vstring) <= end) {
            visit(std::size_t{part.offset});
        }
    }
}

// The size of a copied object, which is stored before it.
std::size_t copied_size(const void *copied) {
    std::size_t size = 0;
    std::memcpy(&size, static_cast<const char *>(copied) - alignment, sizeof size);
    return size;
}

constexpr std::size_t text_offset = offsetof(kel_vstring, text);

constexpr std::size_t bytes_of(PartKind kind) {
    return kind == PartKind::boolean ? sizeof(kel_boolean) : sizeof(kel_vstring);
}
static_assert(sizeof(ip_address) == sizeof(kel_vstring));

// Whether a part has the descriptor of the process that made it, at the address that it has there.
bool begins_with_descriptor(PartKind kind) {
    return kind == PartKind::text || kind == PartKind::address || kind == PartKind::boolean;
}

}  // namespace

bool is_content(std::uint64_t offset, std::uint64_t length) {
    const auto overlaps = [&](std::uint64_t first, std::uint64_t end) {
        return offset < end && first < offset + length;
    };
    return overlaps(0, offsetof(kel_record, ra_uuid)) ||
           overlaps(offsetof(kel_record, tenant_id), offsetof(kel_record, index_node)) ||
           overlaps(offsetof(kel_record, object), sizeof(kel_record));
}

void RecordCopies::clear() {
    // The largest chunk is kept, unless it is unusually large.
    constexpr std::size_t most_kept = std::size_t{16} << 20;
    if (!chunks_.empty() && chunks_.back().size <= most_kept) {
        chunks_.erase(chunks_.begin(), chunks_.end() - 1);
    } else {
        chunks_.clear();
    }
    used_ = 0;
}

char *RecordCopies::take(std::size_t size) {
    size = (size + alignment - 1) / alignment * alignment;
    if (chunks_.empty() || chunks_.back().size - used_ < size) {
        const std::size_t last = chunks_.empty() ? first_chunk / 2 : chunks_.back().size;
        const std::size_t bytes = std::max(2 * last, size);
        chunks_.push_back({std::unique_ptr<char[]>(new char[bytes]), bytes});
        used_ = 0;
    }
    char *taken = chunks_.back().bytes.get() + used_;
    used_ += size;
    return taken;
}

std::size_t RecordCopies::size_of(const void *object) const {
    if (!image_.contains(object, sizeof(kel_object))) return 0;
    const std::uint64_t offset = image_.offset_of(object);
    const auto block = image_.allocator.find(offset);
    return block && block->offset == offset ? block->size : 0;
}

const kel_record *RecordCopies::copy(const TableType &type, const kel_record &record) {
    auto *made = reinterpret_cast<kel_record *>(take(sizeof(kel_record)));
    std::memset(static_cast<void *>(made), 0, sizeof *made);
    std::memcpy(static_cast<void *>(made), &record, type.record_bytes);
    made->object = copy_object(type.object, record.object);
    if (type.key) made->key_object = copy_object(*type.key, record.key_object);
    return made;
}

const kel_table *RecordCopies::copy(const kel_table &table) {
    char *made = take(sizeof table);
    std::memcpy(made, &table, sizeof table);
    return reinterpret_cast<const kel_table *>(made);
}

void *RecordCopies::copy_object(const ObjectType &type, const void *object) {
    const std::size_t size = size_of(object);
    if (size < type.used_lengths.front()) return nullptr;
    char *made = take(alignment + size) + alignment;
    std::memcpy(made - alignment, &size, sizeof size);
    std::memcpy(made, object, size);
    each_text(type, object, size, [&](std::size_t offset) { copy_text(made + offset); });
    return made;
}

// Gives a copied string a text of its own.
void RecordCopies::copy_text(char *string) {
    kel_vstring value;
    std::memcpy(&value, string, sizeof value);
    if (is_inline(value)) return;
    const char *text = text_block(value);
    if (!image_.contains(text, value.length)) {
        value.length = 0;
        value.text = {};
    } else {
        const char *made = static_cast<char *>(std::memcpy(take(value.length), text, value.length));
        std::memcpy(value.text.outside.block, &made, sizeof made);
    }
    std::memcpy(string, &value, sizeof value);
}

void RecordCopies::add_block(const void *begin, std::vector<Allocator::Extent> &blocks) const {
    if (!image_.contains(begin, 1)) return;
    if (const auto block = image_.allocator.find(image_.offset_of(begin))) blocks.push_back(*block);
}

void RecordCopies::add_object(const ObjectType &type, const void *object,
                              std::vector<Allocator::Extent> &blocks) const {
    const std::size_t size = size_of(object);
    if (size < type.used_lengths.front()) return;
    add_block(object, blocks);
    each_text(type, object, size, [&](std::size_t offset) {
        kel_vstring value;
        std::memcpy(&value, static_cast<const char *>(object) + offset, sizeof value);
        if (!is_inline(value)) add_block(text_block(value), blocks);
    });
}

void RecordCopies::add_blocks(const TableType &type, const kel_record &record,
                              std::vector<Allocator::Extent> &blocks) const {
    add_block(&record, blocks);
    add_object(type.object, record.object, blocks);
    if (type.key) add_object(*type.key, record.key_object, blocks);
}

bool RecordCopies::is_same(const TableType &type, const kel_record &copied,
                           const kel_record &record) const {
    if (copied.descriptor != record.descriptor || copied.tenant_id != record.tenant_id ||
        copied.flags != record.flags || copied.src != record.src) {
        return false;
    }
    if (!is_same_object(type.object, copied.object, record.object)) return false;
    return !type.key || is_same_object(*type.key, copied.key_object, record.key_object);
}

bool RecordCopies::is_same_object(const ObjectType &type, const void *copied,
                                  const void *object) const {
    const std::size_t size = size_of(object);
    if (copied == nullptr || size < type.used_lengths.front()) {
        return copied == nullptr && size < type.used_lengths.front();
    }
    const auto *before = static_cast<const char *>(copied);
    const auto *after = static_cast<const char *>(object);
    if (copied_size(copied) != size || used_length(type, copied) != used_length(type, object)) {
        return false;
    }
    const std::size_t end = std::min(used_length(type, object), size);
    std::size_t from = 0;
    for (const Part &part : type.parts) {
        const std::size_t at = part.offset;
        if (!begins_with_descriptor(part.kind) || at + bytes_of(part.kind) > end) continue;
        if (std::memcmp(before + from, after + from, at - from) != 0) return false;
        from = at + sizeof(kel_type_info *);
        if (part.kind != PartKind::text) continue;
        if (std::memcmp(before + from, after + from, at + text_offset - from) != 0 ||
            text_of(reinterpret_cast<const kel_vstring *>(before + at)) !=
                text_of(reinterpret_cast<const kel_vstring *>(after + at))) {
            return false;
        }
        from = at + sizeof(kel_vstring);
    }
    return std::memcmp(before + from, after + from, size - from) == 0;
}

}  // namespace tarnbase::runtime
