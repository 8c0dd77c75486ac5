// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/follower/writer.h"

#include <stdexcept>

#include "tarnbase/module.h"

namespace tarn::test {
namespace {

void require(std::uint32_t error) {
    if (error != 0) throw std::runtime_error(kel_error_text());
}

// Frees an object whose owner destroyed it while it was referred to.
void release(kel_handle *handle, std::uint32_t tx_id, void *object, void *) {
    const kel_type_info &type = *static_cast<kel_object *>(object)->descriptor;
    tarnbase::catalogue::schema.structure_of(type)->destroy(handle, tx_id, object);
}

}  // namespace

Writer::Writer(std::uint64_t seed, kel_store *store) : random_(seed), store_(store) {
    struct Mode {
        std::uint32_t store_types;
        std::uint32_t tracking;
    };
    for (const Mode mode : {Mode{1, KEL_STATE_TRACKING_ON}, Mode{1, KEL_STATE_TRACKING_OFF},
                            Mode{0, KEL_STATE_TRACKING_ON}, Mode{0, 0}}) {
        kel_handle *handle = nullptr;
        require(kel_handle_create(store, mode.store_types, &handle));
        kel_handle_set_state_tracking(handle, mode.tracking);
        kel_handle_set_release(handle, release, nullptr);
        handles_.push_back(handle);
    }
    handle_ = handles_.front();
}

Writer::~Writer() {
    for (kel_handle *handle : handles_) kel_handle_destroy(handle);
}

void Writer::prepare() {
    require(kel_store_lock(store_));
    for (kel_handle *handle : handles_) {
        require(kel_replication_attach(handle, tarnbase_table_get_vft));
    }
    require(kel_replication_configure(handle_, 40, 8192));
    tarnbase_typeinfo_initialize(handle_, tx_, &err_);
    begin();
    for (const auto *type : tarnbase::catalogue::schema.tables) {
        err_ = 0;
        kel_table *block = type->open(handle_, tx_, "every", 0, &err_);
        if (block != nullptr) all_.tables.push_back({type, block});
    }
    for (const auto *type : object_types()) {
        for (kel_handle *handle : handles_) {
            if (void *object = type->create(handle, tx_)) reserved_.push_back({type, object});
        }
    }
    end(true);
    require(kel_store_unlock(store_));
}

void Writer::choose_handle() {
    handle_ = handles_[random_.below(static_cast<std::uint32_t>(handles_.size()))];
    kel_clear_last_error(handle_);
    err_ = 0;
    kel_thread_set_tenant(static_cast<std::uint16_t>(random_.one_in(4) ? random_.below(3) : 0));
    const bool is_traced = random_.one_in(6);
    kel_thread_set_correlation(is_traced ? 1 + random_.below(9) : 0, is_traced ? 1 : 0);
}

void Writer::begin() {
    require(kel_transaction_begin(handle_, &tx_));
    before_ = all_;
}

void Writer::end(bool is_commit) {
    if (is_commit) {
        require(kel_transaction_commit(handle_, tx_));
    } else {
        require(kel_transaction_rollback(handle_, tx_));
        static_cast<Contents &>(all_) = before_;
    }
    note(is_commit ? "commit" : "rollback");
    tx_ = KEL_TX_NONE;
    will_roll_back_ = false;
}

void Writer::change(std::uint32_t most) {
    // The first ones are chosen more often.
    static constexpr Action actions[] = {
        &Writer::create_record,
        &Writer::create_record,
        &Writer::create_record,
        &Writer::change_record,
        &Writer::change_record,
        &Writer::change_record,
        &Writer::change_object,
        &Writer::change_object,
        &Writer::copy_object,
        &Writer::unmarshal_object,
        &Writer::insert_record,
        &Writer::insert_record,
        &Writer::erase_record,
        &Writer::release_record,
        &Writer::release_record,
        &Writer::add_reference,
        &Writer::replace_object,
        &Writer::detach_object,
        &Writer::unmarshal_record,
        &Writer::create_object,
        &Writer::destroy_object,
        &Writer::map_object,
        &Writer::map_object,
        &Writer::open_table,
        &Writer::free_table,
        &Writer::mark_table,
        &Writer::finish_destroys,
        &Writer::change_keys,
        &Writer::choose_variant,
        &Writer::read_xml,
        &Writer::drop_object_reference,
    };
    for (std::uint32_t count = 1 + random_.below(most); count > 0; --count) {
        choose_handle();
        (this->*random_.of(actions))();
    }
}

void Writer::in_transaction() {
    begin();
    will_roll_back_ = random_.one_in(5);
    change(20);
    end(!will_roll_back_);
}

// Two that are open at once change different objects: a rollback of one of them would otherwise
// undo what the other one changed.
void Writer::in_two_transactions() {
    std::uint32_t other = KEL_TX_NONE;
    begin();
    kel_handle *const second = handles_[random_.below(static_cast<std::uint32_t>(handles_.size()))];
    require(kel_transaction_begin(second, &other));
    will_roll_back_ = random_.one_in(3);
    change(10);
    const auto change_reserved = [&] {
        const auto [type, object] =
            reserved_[random_.below(static_cast<std::uint32_t>(reserved_.size()))];
        std::swap(tx_, other);
        handle_ = second;
        note(std::string("in the second one ") + type->name.data());
        // Texts in other blocks would be allocated between those of the first transaction.
        for (const auto &field : type->fields) {
            if (field.is_number() && random_.coin()) set_plain(object, field);
        }
        std::swap(tx_, other);
    };
    change_reserved();
    const bool second_commits = random_.coin();
    const auto end_second = [&] {
        require(second_commits ? kel_transaction_commit(second, other)
                               : kel_transaction_rollback(second, other));
        note(second_commits ? "second commit" : "second rollback");
    };
    if (random_.coin()) {
        end_second();
        change(5);
        end(!will_roll_back_);
    } else {
        end(!will_roll_back_);
        change_reserved();
        end_second();
    }
}

void Writer::outside_of_transactions() {
    require(kel_store_lock(store_));
    note("lock");
    change(10);
    if (random_.coin()) in_transaction();
    if (random_.coin()) change(3);
    require(kel_store_unlock(store_));
    note("unlock");
}

void Writer::step() {
    history_.clear();
    choose_handle();
    switch (random_.below(8)) {
        case 0:
            outside_of_transactions();
            break;
        case 1:
            in_two_transactions();
            break;
        default:
            in_transaction();
            break;
    }
}

}  // namespace tarn::test
