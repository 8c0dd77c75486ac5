// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/owners.h"

#include <cstring>

#include "runtime/store/record_block.h"

namespace tarnbase::runtime {

namespace {

bool has_records(const Page &page) {
    return page.kind == PageKind::small_blocks &&
           (page.size_class == size_class_of(KEL_RECORD_SIZE) ||
            page.size_class == size_class_of(sizeof(kel_record)));
}

}  // namespace

RecordObjects objects_of(const kel_record &record, std::uint64_t block_size) {
    return {record.object, block_size >= sizeof(kel_record) ? record.key_object : nullptr};
}

void Owners::find_all() {
    record_of_.clear();
    record_of_.reserve(image_.header->arena.blocks / 2);
    const std::uint64_t end = image_.header->arena.size / page_size;
    for (std::uint64_t number = 0; number < end; ++number) {
        if (image_.allocator.heads().contains(number)) add_page(number);
    }
}

void Owners::add_page(std::uint64_t number) {
    const Page &page = *image_.allocator.page(number);
    if (!has_records(page)) return;
    const SizeClass &shape = size_classes[page.size_class];
    BlockKinds kinds(image_);
    for (std::uint32_t slot = 0; slot < shape.slots; ++slot) {
        if ((page.bitmap()[slot / 64] >> slot % 64 & 1) == 0) continue;
        const Allocator::Extent block{
            number * page_size + shape.first + std::uint64_t{slot} * shape.size, shape.size};
        if (!kinds.is_record(block)) continue;
        const auto &record =
            *reinterpret_cast<const kel_record *>(image_.region.base() + block.offset);
        if (record.table != nullptr) add(record, block.offset);
    }
}

void Owners::add(const kel_record &record, std::uint64_t offset) {
    const auto block = image_.allocator.find(offset);
    const RecordObjects objects = objects_of(record, block ? block->size : 0);
    for (const void *object : {objects.object, objects.key}) {
        if (image_.contains(object, 1)) record_of_[image_.offset_of(object)] = offset;
    }
}

void Owners::remove(std::uint64_t object, std::uint64_t offset) {
    const auto found = record_of_.find(object);
    if (found != record_of_.end() && found->second == offset) record_of_.erase(found);
}

std::uint64_t Owners::owner_of_object(std::uint64_t offset) const {
    const auto found = record_of_.find(offset);
    return found != record_of_.end() ? found->second : 0;
}

std::uint64_t Owners::owner_of(Allocator::Extent block) const {
    if (const std::uint64_t owner = owner_of_object(block.offset)) return owner;
    const void *string = nullptr;
    std::memcpy(&string, image_.region.base() + block.offset, sizeof string);
    if (!image_.contains(string, 1)) return 0;
    const auto object = image_.allocator.find(image_.offset_of(string));
    return object ? owner_of_object(object->offset) : 0;
}

}  // namespace tarnbase::runtime
