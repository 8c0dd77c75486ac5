// SPDX-License-Identifier: Apache-2.0
//
// A store that a Python program has open, and how its threads share it.
//
// The lock of the interpreter orders the threads: whoever has it reads the process's copy at once,
// unless a thread changes the copy meanwhile, or waits to do so, without that lock. Then a reader
// opens a reading scope of the runtime for the time that it needs. docs/decisions/0053 says more.
#ifndef TARNBASE_PYTHON_STORE_H
#define TARNBASE_PYTHON_STORE_H

#include <Python.h>

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "failure.h"
#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/replica.hpp"

namespace tarnbase::python {

// Gives the interpreter's lock to other threads.
class WithoutLock {
 public:
    WithoutLock() : state_(PyEval_SaveThread()) {}
    WithoutLock(const WithoutLock &) = delete;
    WithoutLock &operator=(const WithoutLock &) = delete;
    ~WithoutLock() { PyEval_RestoreThread(state_); }

 private:
    PyThreadState *state_;
};

// How long what was read stays valid: until the store changes, or a snapshot ends.
class Validity {
 public:
    bool has_ended() const { return why_ != nullptr; }
    const char *why() const { return why_; }
    void end(const char *why) {
        if (why_ == nullptr) why_ = why;
    }

    // Records that were deleted meanwhile. Another record can be made in their place.
    std::uint64_t deletions() const { return deletions_; }
    void note_deletion(const kel_record *record) { deleted_[record] = ++deletions_; }
    bool was_deleted(const kel_record *record, std::uint64_t seen_after) const {
        if (deletions_ == seen_after) return false;
        const auto found = deleted_.find(record);
        return found != deleted_.end() && found->second > seen_after;
    }

    // The state of the copy that the first record was read in; none: none was.
    std::optional<std::uint64_t> mark;

 private:
    const char *why_ = nullptr;
    std::uint64_t deletions_ = 0;
    std::unordered_map<const kel_record *, std::uint64_t> deleted_;
};

enum class Opening : std::uint8_t { read, write, create, write_or_create };

// How the objects of a transaction are made.
struct Making {
    bool tracked = false;
    std::vector<std::pair<const kel_type_info *, std::int8_t>> variants;
};

class Store {
 public:
    static std::shared_ptr<Store> open(const std::string &path, Opening how,
                                       std::uint64_t capacity);
    static std::shared_ptr<Store> make_private(std::uint64_t capacity);
    // As the store was after a transaction; it can advance.
    static std::shared_ptr<Store> at(const std::string &path, std::uint64_t sequence);
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;
    ~Store();

    // Nothing that was read is valid any more. Does nothing to a closed store.
    void close();
    bool is_closed() const { return !store_.has_value(); }
    const std::string &path() const { return path_; }
    bool is_writable() const { return is_writable_; }
    bool is_replica() const { return replica_.has_value(); }
    tarn::store &get();

    // Failure if the store can't be used, or changed, by this thread now.
    void need_open() const;
    void need_transaction(const char *what) const;

    // The session of this thread's transaction, or that of all readers.
    kel_handle *handle() const;
    std::uint32_t tx_id() const { return handle()->cr_tx_id; }
    tarn::session &writing_session() { return *writer_; }

    void begin(const std::string &label, const Making &making);
    void commit();
    void roll_back();
    bool in_transaction() const { return owner_ == std::this_thread::get_id(); }

    void begin_snapshot();
    void end_snapshot();
    void refresh();
    // Whether another process has committed something within `seconds`; negative: without limit.
    bool wait(double seconds);
    void sync();
    void back_up(const std::string &path);
    void compact();
    void set_journal(const kel_journal_settings &settings);
    void set_patience(double seconds) { patience_ = seconds; }

    // Calls `make` as the writer, in a transaction or out of one.
    template <typename Make>
    void as_writer(Make make);

    tarn::replica::step advance(kel_table *table, const kel_record *place);
    // Failure if this isn't a store at a transaction, or is closed.
    const tarn::replica &replica() const;

    // Nothing that was read outside of snapshots is valid any more.
    void forget() { end_validity("the store has been changed since"); }
    // What this thread reads now is valid until that ends.
    const std::shared_ptr<Validity> &validity();
    // Whether an address is in the store.
    bool holds(const void *address);

 private:
    friend class Reading;
    class Turn;
    struct Snapshot {
        int depth = 0;
        std::shared_ptr<Validity> validity = std::make_shared<Validity>();
    };

    Store(std::string path, bool is_writable) : path_(std::move(path)), is_writable_(is_writable) {}
    static std::shared_ptr<Store> finish(std::unique_ptr<Store> made, tarn::store store,
                                         bool of_store);

    bool is_calm() const;
    void enter();
    void leave() { kel_store_end_read(store_->c_store()); }
    void end_validity(const char *why);
    void forget_if_changed();
    std::uint64_t mark() const;

    void need_idle() const;
    void become_writer();
    bool take_turn();
    void end_turn();
    void lock();
    void apply(const Making &making);
    std::uint32_t try_begin();
    void finish_transaction(bool committing);
    template <typename Call>
    auto without_lock(Call call);
    template <typename Call>
    auto changing(Call call);
    template <typename Call>
    auto with_patience(Call call);
    template <typename Call>
    void in_turn(Call call);

    std::optional<tarn::replica> replica_;
    std::optional<tarn::store> store_;
    std::optional<tarn::session> reader_;
    std::optional<tarn::session> writer_;
    std::optional<tarn::transaction> transaction_;
    std::string path_;
    bool is_writable_;
    double patience_ = -1;

    std::shared_ptr<Validity> validity_ = std::make_shared<Validity>();
    std::map<std::thread::id, Snapshot> snapshots_;
    std::optional<std::thread::id> owner_;  // of the transaction
    int changing_ = 0;  // threads that change the copy, or wait for that, without the lock
    int busy_ = 0;      // threads in a call without the lock
    std::uintptr_t first_ = 0;
    std::uint64_t size_ = 0;

    // The turns of the threads that write.
    std::mutex turns_;
    std::condition_variable turn_ends_;
    bool is_taken_ = false;
};

// While it exists, the copy doesn't change. The interpreter's lock is held.
class Reading {
 public:
    explicit Reading(Store &store) : store_(store) {
        store.need_open();
        if (store.is_calm()) return;
        store.enter();
        has_scope_ = true;
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;
    ~Reading() {
        if (has_scope_) store_.leave();
    }

 private:
    Store &store_;
    bool has_scope_ = false;
};

// A thread's turn to write. Failure if it can't have one.
class Store::Turn {
 public:
    explicit Turn(Store &store) : store_(&store) { store.become_writer(); }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;
    ~Turn() {
        if (store_ != nullptr) store_->end_turn();
    }
    // The turn goes on until the thread's transaction ends.
    void keep() { store_ = nullptr; }

 private:
    Store *store_;
};

template <typename Make>
void Store::as_writer(Make make) {
    std::optional<Turn> turn;
    if (!in_transaction()) turn.emplace(*this);
    lock();
    if (turn) forget();
    try {
        make();
    } catch (...) {
        kel_store_unlock(store_->c_store());
        throw;
    }
    if (const std::uint32_t status = kel_store_unlock(store_->c_store()))
        throw tarn::error(status, kel_error_text());
}

}  // namespace tarnbase::python

#endif
