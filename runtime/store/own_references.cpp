// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/own_references.h"

#include "runtime/store/record_block.h"

namespace tarnbase::runtime {

namespace {

bool has_records(const Page &page) {
    return page.kind == PageKind::small_blocks &&
           (page.size_class == size_class_of(KEL_RECORD_SIZE) ||
            page.size_class == size_class_of(sizeof(kel_record)));
}

}  // namespace

OwnReferences::OwnReferences(const Image &image) {
    if (image.header == nullptr || image.wrong_size() != nullptr) return;
    const std::uint64_t end = image.header->arena.size / page_size;
    for (std::uint64_t number = 0; number < end; ++number) {
        if (image.allocator.heads().contains(number)) add_page(image, number);
    }
}

void OwnReferences::add_page(const Image &image, std::uint64_t number) {
    const Page &page = *image.allocator.page(number);
    if (!has_records(page)) return;
    const SizeClass &shape = size_classes[page.size_class];
    BlockKinds kinds(image);
    for (std::uint32_t slot = 0; slot < shape.slots; ++slot) {
        if ((page.bitmap()[slot / 64] >> slot % 64 & 1) == 0) continue;
        const Allocator::Extent block{
            number * page_size + shape.first + std::uint64_t{slot} * shape.size, shape.size};
        const auto &record =
            *reinterpret_cast<const kel_record *>(image.region.base() + block.offset);
        if (record.ref_count < 2 || !kinds.is_record(block)) continue;
        counted_.push_back(
            {block.offset, record.descriptor, record.table, record.object, record.ref_count});
    }
}

void OwnReferences::restore(Image &image) const {
    for (const Counted &each : counted_) {
        const auto block = image.allocator.find(each.offset);
        if (!block || block->offset != each.offset || !is_record(image, *block)) continue;
        auto &record = *reinterpret_cast<kel_record *>(image.region.base() + each.offset);
        const bool is_same = record.descriptor == each.descriptor && record.table == each.table &&
                             record.object == each.object;
        if (is_same && record.ref_count != 0) record.ref_count = each.count;
    }
}

}  // namespace tarnbase::runtime
