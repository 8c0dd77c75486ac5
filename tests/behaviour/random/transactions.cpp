// SPDX-License-Identifier: Apache-2.0
// Transactions around the operations: the model is rolled back where the store is.
#include <cerrno>

#include "tests/behaviour/random/driver.h"
#include "tests/behaviour/random/reports.h"

namespace tarn::test {

namespace {

// Steps between two transactions, and steps of one, on average.
constexpr u32 pause = 8;
constexpr u32 length = 30;

// Every n-th rollback is compared byte by byte.
constexpr u32 byte_comparisons = 16;

// Whether a change lies in the reference count of one of the model's records.
bool is_reference_count(const kel_store_description &store, const ByteChange &change,
                        const Model &model) {
    const char *place = static_cast<const char *>(store.base) + change.offset;
    for (const Row &row : model.rows) {
        if (row.record == nullptr) continue;
        const char *count = reinterpret_cast<const char *>(&row.record->ref_count);
        if (place >= count && place < count + sizeof row.record->ref_count) return true;
    }
    return false;
}

}  // namespace

void Driver::begin_or_end() {
    if (tx_ == KEL_TX_NONE) {
        if (random_.one_in(pause)) begin();
        return;
    }
    if (random_.one_in(4 * length)) begin_another();
    if (random_.one_in(4 * length)) return run_out_of_memory();
    if (!random_.one_in(length)) return;
    if (random_.one_in(3)) {
        commit();
    } else {
        rollback();
    }
}

void Driver::begin() {
    history_.begin(step_, "begin");
    model_before_ = model_;
    bytes_before_.reset();
    if (random_.one_in(byte_comparisons)) bytes_before_.emplace(world_.session.store());
    same(kel_transaction_begin(handle_, &tx_), 0U, "the status of a begin");
    for (kel_handle *handle : handles_) handle->cr_tx_id = tx_;
}

void Driver::commit() {
    history_.begin(step_, "commit");
    const u32 ended = tx_;
    const u64 committed = world_.session.describe().committed;
    same(kel_transaction_commit(handle_, tx_), 0U, "the status of a commit");
    tx_ = KEL_TX_NONE;
    for (kel_handle *handle : handles_) handle->cr_tx_id = KEL_TX_NONE;
    references_kept_.clear();
    references_logged_.clear();
    same(world_.session.describe().committed, committed + 1, "the transactions committed");
    same(kel_transaction_commit(handle_, ended), u32{EINVAL}, "the status of a second commit");
}

void Driver::rollback() {
    history_.begin(step_, "roll back");
    const u32 ended = tx_;
    const u64 rolled_back = world_.session.describe().rolled_back;
    same(kel_transaction_rollback(handle_, tx_), 0U, "the status of a rollback");
    tx_ = KEL_TX_NONE;
    for (kel_handle *handle : handles_) handle->cr_tx_id = KEL_TX_NONE;
    model_ = std::move(model_before_);
    for (Row &row : model_.rows) {
        const auto kept = references_kept_.find(row.record);
        if (row.record != nullptr && kept != references_kept_.end()) row.refs = kept->second;
    }
    references_kept_.clear();
    references_logged_.clear();
    same(world_.session.describe().rolled_back, rolled_back + 1, "the transactions rolled back");
    same(kel_transaction_rollback(handle_, ended), u32{EINVAL}, "the status of a second rollback");
    if (!bytes_before_) return;
    expect_bytes_as_before();
    const u16 tenant = tenant_;
    check_whole();
    choose_tenant(tenant);
}

// Except for what is not logged: modified marks and added references.
void Driver::expect_bytes_as_before() {
    const kel_store_description store = world_.session.describe();
    std::vector<ByteChange> changes = bytes_before_->lasting_changes();
    std::erase_if(changes, [&](const ByteChange &change) {
        return is_reference_count(store, change, model_);
    });
    if (!changes.empty()) fail("a rollback leaves changes:\n" + to_text(changes));
    for (const Row &row : model_.rows) {
        if (row.record != nullptr) expect_row(row);
    }
}

// A transaction that changes nothing, within the other one.
void Driver::begin_another() {
    history_.begin(step_, "begin and end another transaction");
    u32 other = 0;
    same(kel_transaction_begin(handles_[1], &other), 0U, "the status of a begin");
    if (other == tx_) fail("two open transactions have one id");
    same(world_.session.describe().transactions, u64{2}, "the open transactions");
    same(random_.coin() ? kel_transaction_commit(handles_[1], other)
                        : kel_transaction_rollback(handles_[1], other),
         0U, "the status of its end");
    same(world_.session.describe().transactions, u64{1}, "the open transactions");
}

// A record that is only partly created leaves nothing after a rollback.
void Driver::run_out_of_memory() {
    history_.begin(step_, "run out of memory");
    const u32 number = pick_any();
    if (number == no_row) return;
    const u32 bytes = to_wire(model_.rows[number]);
    Row row = read_row(model_.rows[number]);
    kel_store_fail_allocation(world_.session.store(), 1 + random_.below(8));
    form().unmarshal(handle_, tx_, &row.record, wire_.data(), bytes, 0, &err_);
    kel_store_fail_allocation(world_.session.store(), 0);
    history_.add("error", err_);
    if (err_ == 0) {
        model_.add(row);
        expect_row(row);
        expect_content(row);
        return;
    }
    // The error stays; creating the rest of the record has cleared the handle's.
    same(err_, u32{ENOMEM}, "the error");
    err_ = 0;
    kel_clear_last_error(handle_);
    rollback();
}

// The increment of a reference is not logged, so a rollback keeps it, unless a logged
// decrement came first: undoing that restores the count of then.
void Driver::note_reference(const Row &row) {
    if (tx_ == KEL_TX_NONE || references_logged_.count(row.record) != 0) return;
    references_kept_[row.record] = row.refs;
}

void Driver::note_release(const Row &row) {
    if (tx_ != KEL_TX_NONE) references_logged_.insert(row.record);
}

}  // namespace tarn::test
