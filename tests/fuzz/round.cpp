// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/round.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "object/enumeration.h"
#include "object/object.h"
#include "table/table.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

void require(bool holds, const char *promise) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s (%s)\n", promise, kel_error_text());
    std::abort();
}

Conditions::Conditions(u8 flags)
    : mode(static_cast<HandleMode>(flags % mode_count)),
      used((flags & 4U) != 0),
      in_place((flags & 8U) != 0),
      memory((flags & 0x30U) == 0x20U   ? Memory::store
             : (flags & 0x30U) == 0x30U ? Memory::transaction
                                        : Memory::heap) {}

namespace {

u64 heap_blocks = 0;

void *heap_alloc(void *, u32, u64 size) {
    ++heap_blocks;
    return std::malloc(size);
}

void heap_free(void *, u32, void *block) {
    if (block == nullptr) return;
    --heap_blocks;
    std::free(block);
}

// Lines are already formatted when they get here; they are dropped.
void drop_line(void *, std::uint16_t, u32, const char *) {}

class Fixture {
 public:
    Fixture() {
        kel_trace_set_sink(drop_line, nullptr);
        require(kel_store_create_private(nullptr, &store_) == 0, "a store can be made");
        for (u32 i = 0; i < mode_count; ++i) handles_[i] = make_handle(static_cast<HandleMode>(i));
        alloc_hook_ = handles_[0]->alloc_hook;
        free_hook_ = handles_[0]->free_hook;
        for (const Table *model : all_tables()) tables_.push_back(open(*model));
        for (kel_handle *handle : handles_) warm_up(handle);
    }
    ~Fixture() {
        for (kel_handle *handle : handles_) kel_handle_destroy(handle);
        kel_store_close(store_);
    }
    Fixture(const Fixture &) = delete;
    Fixture &operator=(const Fixture &) = delete;

    kel_handle *handle(HandleMode mode, Memory memory) const {
        kel_handle *handle = handles_[static_cast<u32>(mode)];
        handle->alloc_hook = memory == Memory::heap ? heap_alloc : alloc_hook_;
        handle->free_hook = memory == Memory::heap ? heap_free : free_hook_;
        return handle;
    }
    const std::vector<kel_table *> &tables() const { return tables_; }
    u64 blocks() const {
        kel_store_description description;
        kel_store_describe(store_, &description);
        return description.blocks;
    }

 private:
    kel_handle *make_handle(HandleMode mode) {
        kel_handle *handle = nullptr;
        const u32 store_types = mode == HandleMode::store_types ? 1 : 0;
        require(kel_handle_create(store_, store_types, &handle) == 0, "a handle can be made");
        if (mode == HandleMode::tracking) {
            kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
        }
        if (mode != HandleMode::old) return handle;
        for (const Structure *type : all_structures()) {
            if (type->top_variant > 0) kel_handle_set_variant(handle, type->descriptor, 0);
        }
        return handle;
    }
    kel_table *open(const Table &model) {
        u32 err = 0;
        kel_table *table = table::open(model, {handles_[0], KEL_TX_NONE, &err},
                                       {.mode = KEL_OPEN_BY_NAME, .name = "fuzz"});
        require(table != nullptr && err == 0, "a table can be opened");
        return table;
    }
    // Makes the data that a store keeps permanently for an item.
    static void warm_up(kel_handle *handle) {
        u32 err = 0;
        for (const Structure *type : all_structures()) {
            object::destroy(*type, {handle, KEL_TX_NONE},
                            object::create(*type, {handle, KEL_TX_NONE}));
        }
        for (const Enumeration *type : all_enumerations()) {
            enumeration::destroy(*type, {handle, KEL_TX_NONE},
                                 enumeration::create(*type, {handle, KEL_TX_NONE}));
        }
        for (const Table *model : all_tables()) {
            const Call call = {handle, KEL_TX_NONE, &err};
            table::destroy_record(*model, call, table::create_record(*model, call, 1));
        }
        require(err == 0, "a record can be made");
    }

    kel_store *store_ = nullptr;
    std::array<kel_handle *, mode_count> handles_;
    decltype(kel_handle::alloc_hook) alloc_hook_;
    decltype(kel_handle::free_hook) free_hook_;
    std::vector<kel_table *> tables_;
};

const Fixture &fixture() {
    static const Fixture only;
    return only;
}

}  // namespace

Round::Round(const Conditions &conditions)
    : handle_(fixture().handle(conditions.mode, conditions.memory)),
      mode_(conditions.mode),
      memory_(conditions.memory),
      blocks_(fixture().blocks()) {
    handle_->last_error = 0;
    if (memory_ != Memory::transaction) return;
    require(kel_transaction_begin(handle_, &tx_) == 0, "a transaction can be begun");
    handle_->cr_tx_id = tx_;
}

Round::~Round() {
    if (memory_ == Memory::transaction) {
        require(kel_transaction_rollback(handle_, tx_) == 0, "a transaction can be rolled back");
        handle_->cr_tx_id = KEL_TX_NONE;
    }
    require(heap_blocks == 0, "each block on the heap is freed once");
    require(fixture().blocks() == blocks_, "each block of the store is freed once");
}

kel_table *Round::table(const Table &model) const {
    for (u32 i = 0; i < all_tables().size(); ++i) {
        if (all_tables()[i] == &model) return fixture().tables()[i];
    }
    return nullptr;
}

}  // namespace tarnbase::fuzz
