// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/check.h"

#include <cstring>

#include "runtime/check/arena.h"
#include "runtime/check/catalog.h"
#include "runtime/check/files.h"
#include "runtime/check/records.h"
#include "runtime/check/ring.h"
#include "runtime/check/side_entries.h"

namespace tarnbase::runtime {

namespace {

class StoreCheck {
 public:
    StoreCheck(const Image &image, kel_table_vector_lookup lookup, Findings &findings,
               const Blocks::Progress &progress, Mends &mends)
        : image_(image),
          findings_(findings),
          mends_(mends),
          blocks_(image, findings, progress),
          catalog_(image, findings, blocks_),
          entries_(image, findings, blocks_),
          types_(lookup),
          objects_(findings, blocks_, catalog_.descriptors(), entries_),
          opaque_(blocks_.make_set()) {}

    void run() {
        check_arena(image_, findings_);
        catalog_.check();
        catalog_.check_tables_are_found();
        entries_.check();
        for (const ListedTable &each : catalog_.tables()) check_table(each);
        if (catalog_.ring() != nullptr) check_ring(blocks_, findings_, catalog_.ring());
        each_lost(&StoreCheck::check_lost_record);
        check_identities();
        catalog_.claim_programs_blocks();
        each_lost(&StoreCheck::check_lost_block);
        entries_.check_use([&](const void *owner) {
            const auto block = blocks_.around(owner);
            return block && opaque_.has(block->offset);
        });
    }

 private:
    RecordParts parts() {
        return {findings_, blocks_, catalog_.descriptors(), types_, objects_, opaque_, mends_};
    }

    // The type of what has a descriptor with this LUID text.
    const TableType *type_of(const std::string &luid_text) {
        const kel_type_info *type = catalog_.descriptors().with_luid_text(luid_text);
        return type != nullptr ? types_.with_luid(type->luid) : nullptr;
    }

    void check_table(const ListedTable &listed) {
        RecordParts shared = parts();
        TableCheck(shared, listed, type_of(listed.luid_text)).run();
        entries_.use_identity(listed.table);
    }

    // Mapped objects that are in no record: the map owns them.
    void check_identities() {
        entries_.each_unused_identity([&](const Identity &identity) {
            const auto where = [&] {
                return "the identity " + std::to_string(identity.id()) + ", its object";
            };
            const void *object = identity.object();
            const auto block = blocks_.at(object, sizeof(kel_object));
            if (!block || blocks_.is_claimed(block->offset)) return;  // check_use has a finding
            blocks_.claim(object, sizeof(kel_object), where);
            check_object(*block, where);
            entries_.use_identity(object);
        });
    }

    // An object that is in no record.
    void check_object(Allocator::Extent block, const ObjectCheck::Where &where) {
        const char *object = image_.region.base() + block.offset;
        const kel_type_info *type = nullptr;
        std::memcpy(&type, object, sizeof type);
        for (const auto &[luid, known] : types_.known()) {
            if (known == nullptr) continue;
            for (const ObjectType *each : {&known->object, known->key ? &*known->key : nullptr}) {
                if (each == nullptr || block.size < each->used_lengths.front()) continue;
                if (catalog_.descriptors().fit(type, each->type) != Fit::right) continue;
                objects_.check(*each, object, block, where);
                return;
            }
        }
        opaque_.insert(block.offset);
    }

    // Calls `check` for each block without an owner.
    void each_lost(void (StoreCheck::*check)(Allocator::Extent)) {
        each_block(image_, [&](Allocator::Extent block) {
            if (!blocks_.is_claimed(block.offset)) (this->*check)(block);
        });
    }

    void check_lost_record(Allocator::Extent block) {
        auto *record = reinterpret_cast<kel_record *>(image_.region.base() + block.offset);
        const TableType *table = table_of_record(record->descriptor, block);
        if (table == nullptr) return;
        const std::string where = name_of(block);
        findings_.add(where, "it is a %s, which is in no table: it is lost", table->record->name);
        blocks_.claim(record, 0, [&] { return where; });
        RecordParts shared = parts();
        if (!check_record(shared, table, record, block, [&] { return where; })) return;
        mends_.lost_records.push_back({table->vector, record});
        ++mends_.findings;
    }

    void check_lost_block(Allocator::Extent block) {
        const char *bytes = image_.region.base() + block.offset;
        const kel_type_info *type = nullptr;
        std::memcpy(&type, bytes, sizeof type);
        const std::string where = name_of(block);
        if (const auto *known = catalog_.descriptors().readable(type)) {
            findings_.add(where, "it is a %s, which nothing refers to: it is lost", known->name);
            check_object(block, [&] { return where; });
        } else if (!catalog_.descriptors().are_old_variants(bytes, block.size)) {
            findings_.add(where, "nothing refers to its %llu bytes: it is lost",
                          static_cast<unsigned long long>(block.size));
            opaque_.insert(block.offset);
            if (catalog_.has_programs_blocks()) return;
            mends_.lost_blocks.push_back(block.offset);
            ++mends_.findings;
        }
    }

    static std::string name_of(Allocator::Extent block) {
        return "the block at offset " + std::to_string(block.offset);
    }

    const TableType *table_of_record(const kel_type_info *type, Allocator::Extent block) const {
        for (const auto &[luid, known] : types_.known()) {
            if (known == nullptr || block.size < known->record_bytes) continue;
            if (catalog_.descriptors().fit(type, known->record) == Fit::right) return known.get();
        }
        return nullptr;
    }

    const Image &image_;
    Findings &findings_;
    Mends &mends_;
    Blocks blocks_;
    Catalog catalog_;
    SideEntries entries_;
    TableTypes types_;
    ObjectCheck objects_;
    BlockSet opaque_;
};

}  // namespace

void check_store(const kel_store &store, kel_table_vector_lookup lookup, Findings &findings,
                 const Blocks::Progress &progress) {
    Mends unused;
    check_content(store, lookup, findings, progress, unused);
    if (store.sharing == nullptr) return;
    check_files(store.sharing->folder(), store.sharing->follower(), findings);
}

void check_content(const Image &image, kel_table_vector_lookup lookup, Findings &findings,
                   const Blocks::Progress &progress, Mends &mends) {
    if (check_header(image, findings)) StoreCheck(image, lookup, findings, progress, mends).run();
}

void check_roots(const Image &image, Findings &findings) {
    if (!check_header(image, findings)) return;
    Blocks blocks(image, findings, [](std::uint64_t) {});
    Catalog(image, findings, blocks).check();
}

}  // namespace tarnbase::runtime
