// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/follower/arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "frame/schema.h"
#include "runtime/store/record_block.h"
#include "runtime/store/store.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::Allocator;
using tarnbase::runtime::StoreHeader;

constexpr std::uint64_t page = 4096;
constexpr int most_places = 10;

// Each process counts what it rolled back itself.
bool is_counter(std::uint64_t offset) {
    return offset >= offsetof(StoreHeader, rolled_back) && offset < offsetof(StoreHeader, reserved);
}

// The references to a record are each process's own.
bool is_reference_count(const kel_store &store, const Allocator::Extent &block,
                        std::uint64_t offset) {
    const std::uint64_t count = block.offset + offsetof(kel_record, ref_count);
    return offset >= count && offset < count + sizeof(std::uint32_t) && is_record(store, block);
}

const kel_type_info *descriptor_at(const kel_store &store, const char *place) {
    const kel_type_info *type = nullptr;
    std::memcpy(&type, place, sizeof type);
    for (const auto *each = tarnbase::module.descriptors; *each != nullptr; ++each) {
        if (*each == type) return type;
    }
    return store.contains(type, sizeof *type) && type->magic == KEL_TYPE_INFO_MAGIC ? type
                                                                                    : nullptr;
}

const tarnbase::Structure *structure_of(const kel_type_info &type) {
    for (std::uint32_t i = 0; i < tarnbase::module.structure_count; ++i) {
        const tarnbase::Structure *each = tarnbase::module.structures[i];
        if (std::memcmp(each->descriptor->luid, type.luid, sizeof type.luid) == 0) return each;
    }
    return nullptr;
}

// The field at a distance from the object's start, or of the state byte there.
std::string field_at(const tarnbase::Structure &type, std::uint64_t distance) {
    if (distance < KEL_OBJECT_HEADER_SIZE) return ", in the header";
    const bool is_state = distance >= type.plain_size;
    const auto place = [&](const tarnbase::Field &field) {
        return is_state ? type.plain_size + field.state : field.offset;
    };
    const tarnbase::Field *found = nullptr;
    for (std::uint32_t i = 0; i < type.field_count; ++i) {
        if (place(type.fields[i]) <= distance) found = &type.fields[i];
    }
    if (found == nullptr) return "";
    const std::string path = std::string(is_state ? ", state of " : ", field ") + found->name +
                             " + " + std::to_string(distance - place(*found));
    if (is_state || found->structure == nullptr) return path;
    return path + field_at(*found->structure, distance - found->offset);
}

std::string describe(const kel_store &store, std::uint64_t offset) {
    std::ostringstream text;
    text << "at offset " << offset;
    if (offset < tarnbase::runtime::page_sets_offset) return text.str() + " of the header";
    const auto block = store.allocator.find(offset);
    if (!block) return text.str() + ", in no block";
    const char *start = store.region.base() + block->offset;
    text << ", byte " << offset - block->offset << " of a block of " << block->size;
    if (const kel_type_info *type = descriptor_at(store, start)) {
        text << ": " << type->kind << ' ' << type->name;
        if (const auto *structure = structure_of(*type)) {
            text << field_at(*structure, offset - block->offset);
        }
    }
    return text.str();
}

}  // namespace

Shared::Shared()
    : memory_(::mmap(nullptr, front + arena_capacity, PROT_READ | PROT_WRITE,
                     MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::runtime_error("mmap");
}

Shared::~Shared() { ::munmap(memory_, front + arena_capacity); }

void Shared::put(const kel_store *store) {
    kel_store_description store_is;
    kel_store_describe(store, &store_is);
    head().base = reinterpret_cast<std::uintptr_t>(store_is.base);
    head().size = store_is.size;
    std::memcpy(bytes(), store_is.base, store_is.size);
}

void Shared::put(const std::string &text) {
    head().size = std::min(text.size(), std::size_t{arena_capacity});
    std::memcpy(bytes(), text.data(), head().size);
}

std::string Shared::differences(const kel_store &store) const {
    const auto mine = store.bytes();
    std::ostringstream text;
    if (head().base != reinterpret_cast<std::uintptr_t>(mine.data())) text << "another base\n";
    if (head().size != mine.size()) {
        text << "the writer has " << mine.size() << " bytes, the follower " << head().size << '\n';
    }
    const std::uint64_t size = std::min<std::uint64_t>(head().size, mine.size());
    int places = 0;
    for (std::uint64_t from = 0; from < size && places < most_places; from += page) {
        const std::uint64_t length = std::min(page, size - from);
        if (std::memcmp(mine.data() + from, bytes() + from, length) == 0) continue;
        for (std::uint64_t at = from; at < from + length && places < most_places; ++at) {
            if (mine[at] == bytes()[at] || is_counter(at)) continue;
            const auto block = store.allocator.find(at);
            if (block && is_reference_count(store, *block, at)) continue;
            places += 1;
            text << describe(store, at) << ": the writer has "
                 << int{static_cast<unsigned char>(mine[at])} << ", the follower "
                 << int{static_cast<unsigned char>(bytes()[at])} << '\n';
        }
    }
    return text.str();
}

}  // namespace tarn::test
