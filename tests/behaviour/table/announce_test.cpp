// SPDX-License-Identifier: Apache-2.0
// The log hooks see each byte that changes. Random steps change two tables of a store, one of
// them replicated. After each round, every byte that differs was announced, or is in a block
// that was allocated or freed during the round, or belongs to the allocator or a transaction.
#include <cerrno>
#include <map>
#include <random>

#include "runtime/arena/allocator.h"
#include "runtime/store/header.h"
#include "tarnbase/module.h"
#include "tests/behaviour/table/fixture.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::Page;
using tarnbase::runtime::page_size;
using tarnbase::runtime::PageKind;
using tarnbase::runtime::StoreHeader;

// Bytes, as a set of ranges.
class Bytes {
 public:
    void add(std::uintptr_t begin, u64 length) {
        std::uintptr_t end = begin + length;
        auto place = ranges_.upper_bound(begin);
        if (place != ranges_.begin() && std::prev(place)->second >= begin) --place;
        while (place != ranges_.end() && place->first <= end) {
            begin = std::min(begin, place->first);
            end = std::max(end, place->second);
            place = ranges_.erase(place);
        }
        ranges_[begin] = end;
    }
    bool contain(std::uintptr_t byte) const {
        auto place = ranges_.upper_bound(byte);
        return place != ranges_.begin() && std::prev(place)->second > byte;
    }
    void clear() { ranges_.clear(); }

 private:
    std::map<std::uintptr_t, std::uintptr_t> ranges_;
};

std::uintptr_t number(const void *address) { return reinterpret_cast<std::uintptr_t>(address); }

// A new store has no pages in use.
u64 size_of_new_store(u64 capacity) {
    const kel_store_options options{capacity, nullptr};
    kel_store *made = nullptr;
    kel_store_description store{};
    if (kel_store_create_private(&options, &made) == 0) kel_store_describe(made, &store);
    kel_store_close(made);
    return store.size;
}

// Records what the log hooks of a handle announce.
class Announced {
 public:
    explicit Announced(kel_handle *handle) : handle_(handle), original_(*handle) {
        current = this;
        kel_store_description store;
        kel_store_describe(kel_handle_store(handle), &store);
        base_ = static_cast<char *>(store.base);
        front_ = size_of_new_store(store.capacity);
        handle->write_log_hook = write;
        handle->delta_log_hook = change;
    }
    ~Announced() {
        handle_->write_log_hook = original_.write_log_hook;
        handle_->delta_log_hook = original_.delta_log_hook;
    }
    Announced(const Announced &) = delete;
    Announced &operator=(const Announced &) = delete;

    // Discards what was announced and starts anew.
    void begin_round() {
        announced_.clear();
        last_.clear();
        repeats_ = 0;
        in_use_ = blocks_in_use();
    }
    // A block that was free in between may be filled without an announcement.
    void end_step() {
        const Blocks now = blocks_in_use();
        std::erase_if(in_use_, [&now](const auto &block) { return !now.contains(block.first); });
    }
    // Bytes that are stored without an announcement by design.
    void allow(const void *address, u64 length) { announced_.add(number(address), length); }

    // The changes that were not announced.
    std::vector<ByteChange> not_announced(const StoreSnapshot &before) const {
        std::vector<ByteChange> changes = before.lasting_changes();
        std::erase_if(changes, [this](const ByteChange &change) {
            return !was_in_use(change.offset) || announced_.contain(number(base_) + change.offset);
        });
        return changes;
    }
    // How many stores were announced again before they were made.
    u32 repeats() const { return repeats_; }

 private:
    using Blocks = std::map<u64, u64>;  // first byte and end, from the base

    Blocks blocks_in_use() const {
        const u64 end = reinterpret_cast<const StoreHeader *>(base_)->arena.size;
        Blocks blocks;
        for (u64 at = front_; at < end;) {
            auto *page = reinterpret_cast<Page *>(base_ + at);
            if (page->kind == PageKind::small_blocks) add_small_blocks(blocks, page, at);
            u64 pages = 1;
            if (page->kind == PageKind::large_block) {
                pages = page->pages;
                blocks[at + tarnbase::runtime::large_block_offset] = at + pages * page_size;
            }
            at += pages * page_size;
        }
        return blocks;
    }
    static void add_small_blocks(Blocks &blocks, Page *page, u64 at) {
        const tarnbase::runtime::SizeClass &shape =
            tarnbase::runtime::size_classes[page->size_class];
        for (u32 slot = 0; slot < shape.slots; ++slot) {
            if ((page->bitmap()[slot / 64] >> slot % 64 & 1) == 0) continue;
            const u64 begin = at + shape.first + u64{slot} * shape.size;
            blocks[begin] = begin + shape.size;
        }
    }
    // Whether a byte was in use during the whole round, and isn't one of the store's own counts.
    bool was_in_use(u64 offset) const {
        if (offset < sizeof(StoreHeader)) {
            return offset < offsetof(StoreHeader, arena) || offset >= offsetof(StoreHeader, tables);
        }
        const auto next = in_use_.upper_bound(offset);
        return next != in_use_.begin() && offset < std::prev(next)->second;
    }

    static void write(void *arena, void *address, u64 length, u32 tx_id) {
        current->note(address, length);
        current->original_.write_log_hook(arena, address, length, tx_id);
    }
    static void change(void *arena, u64 *counter, std::int32_t delta, u32 tx_id) {
        current->announced_.add(number(counter), sizeof *counter);
        current->original_.delta_log_hook(arena, counter, delta, tx_id);
    }
    void note(const void *address, u64 length) {
        announced_.add(number(address), length);
        const auto *bytes = static_cast<const u8 *>(address);
        std::vector<u8> before(bytes, bytes + length);
        std::vector<u8> &last = last_[address];
        if (last == before) ++repeats_;
        last = std::move(before);
    }

    static Announced *current;
    kel_handle *handle_;
    kel_handle original_;
    char *base_ = nullptr;
    u64 front_ = 0;
    Bytes announced_;
    std::map<const void *, std::vector<u8>> last_;  // bytes at an address when it was announced
    u32 repeats_ = 0;
    Blocks in_use_;  // since the round began
};

Announced *Announced::current = nullptr;

class Announcements : public TableTest {
 protected:
    Announcements() {
        EXPECT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft), 0U);
        replicated = s.plain.open(handle, tx, "replicated", 0, &err);
        kel_table_set_replication(handle, tx, replicated, 1, 1);
    }
    u32 below(u32 limit) { return static_cast<u32>(engine() % limit); }
    kel_record *any() { return records.empty() ? nullptr : records[below(u32(records.size()))]; }
    void forget(kel_record *record) { std::erase(records, record); }

    void insert_one() {
        kel_thread_set_tenant(static_cast<u16>(below(3)));
        kel_record *record = make(below(s.keys), 1 + below(3), below(100));
        s.plain.insert(handle, tx, below(2) == 0 ? table : replicated, record, &err);
        if (err == EEXIST) {
            err = 0;
            destroy(record);
        } else {
            records.push_back(record);
        }
    }
    void end_one(kel_record *record) {
        if (record->ref_count == 1) forget(record);
        const u32 status = kel_record_release(handle, tx, s.vector, record);
        EXPECT_TRUE(status == 0 || record->table == replicated) << kel_error_text();
        u32 finished = 0;
        EXPECT_EQ(kel_replication_finish_destroys(handle, tx, &finished), 0U);
    }
    void move_out_and_in(kel_record *record) {
        if (record->table != table) return;
        remove(record);
        insert(record);
    }
    void refer_to(kel_record *record) {
        if (record->ref_count > 2) return;
        announced.allow(&record->ref_count, sizeof record->ref_count);
        s.plain.add_ref(handle, tx, record, &err);
    }
    void change_key_of_the_store() {
        const std::string key = "key " + std::to_string(below(4));
        if (below(3) == 0) {
            loam_delete_key(handle->arena, key.c_str());
        } else {
            EXPECT_NE(loam_set_key(handle->arena, key.c_str(), table), 0U);
        }
    }
    void map(kel_record *record) {
        u64 oid = 0;
        if ((header_of(record->object)->flags & OBJ_OID_MAPPED) != 0) return;
        EXPECT_EQ(kel_object_map(handle, tx, record->object, &oid), 0U);
        EXPECT_EQ(kel_object_reference(handle, tx, oid), 0U);
        kellib_lookup_and_update_oid_ref_count(handle, tx, oid, 0, &err);
    }

    void step() {
        kel_record *record = any();
        const u32 choice = below(12);
        if (record == nullptr || choice < 4) return insert_one();
        switch (choice) {
            case 4:
            case 5:
                return end_one(record);
            case 6:
                return move_out_and_in(record);
            case 7:
                return refer_to(record);
            case 8:
                return change_key_of_the_store();
            case 9:
                return map(record);
            case 10:
                kellib_record_update_ra_all(handle, tx, record, below(9), 1);
                return kellib_update_ra_all(handle, tx, record->object, below(9), 1);
            default:
                return s.set_value(handle, tx, record->object, below(100), &err);
        }
    }

    kel_table *replicated = nullptr;
    std::vector<kel_record *> records;
    std::mt19937 engine{7};
    Announced announced{handle};
};
TARN_EACH_TABLE_AND_MODE(Announcements);

TEST_P(Announcements, CoverEachByteThatARandomRunChanges) {
    for (int round = 0; round < 30 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const std::vector<kel_record *> kept = records;
        const StoreSnapshot before(session.store());
        announced.begin_round();
        const u32 end = below(3);  // no transaction, one committed, one rolled back
        if (end != 0) begin();
        for (int i = 0; i < 10; ++i) {
            step();
            announced.end_step();
        }
        EXPECT_EQ(err, 0U);
        if (end == 1) commit();
        if (end == 2) {
            rollback();
            records = kept;
        }
        announced.end_step();
        EXPECT_EQ(to_text(announced.not_announced(before)), "");
    }
    kel_thread_set_tenant(0);
}

// The runtime and the library never announce the same store.
TEST_P(Announcements, OfAStoreAreMadeOnce) {
    for (u32 key = 0; key < std::min(s.keys, 20U); ++key) {
        kel_record *record = make(key);
        announced.begin_round();
        insert(record);
        EXPECT_EQ(announced.repeats(), 0U);
    }
}

}  // namespace
}  // namespace tarn::test
