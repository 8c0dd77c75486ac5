// SPDX-License-Identifier: Apache-2.0
#include "store.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace tarnbase::python {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How long a call waits until it looks for signals, as Ctrl-C.
constexpr milliseconds slice{100};

constexpr const char *refreshed = "the store has been refreshed since";

// The end of a wait of a number of seconds; negative: there is none.
class Deadline {
 public:
    explicit Deadline(double seconds) {
        constexpr double longest = 1e9;
        if (seconds >= 0)
            end_ = steady_clock::now() +
                   std::chrono::duration_cast<milliseconds>(
                       std::chrono::duration<double>(std::min(seconds, longest)));
    }
    bool is_over() const { return end_ && steady_clock::now() >= *end_; }
    // How long to wait until the signals are looked at.
    milliseconds next() const {
        if (!end_) return slice;
        const auto left = std::chrono::ceil<milliseconds>(*end_ - steady_clock::now());
        return std::clamp(left, milliseconds{0}, slice);
    }

 private:
    std::optional<steady_clock::time_point> end_;
};

// Counts a thread as long as it exists. The interpreter's lock is held then.
class Count {
 public:
    explicit Count(int &threads) : threads_(threads) { ++threads_; }
    Count(const Count &) = delete;
    Count &operator=(const Count &) = delete;
    ~Count() { --threads_; }

 private:
    int &threads_;
};

void look_for_signals() {
    if (PyErr_CheckSignals() != 0) throw Raised();
}

bool is_timeout(std::uint32_t status) { return status == ETIMEDOUT || status == EBUSY; }

[[noreturn]] void not_possible(std::uint32_t number, const std::string &message) {
    throw Failure(Problem::not_possible, number, message);
}

void need(std::uint32_t status) {
    if (status != 0) throw tarn::error(status, kel_error_text());
}

}  // namespace

std::shared_ptr<Store> Store::finish(std::unique_ptr<Store> made, tarn::store store,
                                     bool of_store) {
    made->store_.emplace(std::move(store));
    const auto which = of_store ? tarn::descriptors::of_store : tarn::descriptors::of_library;
    made->reader_.emplace(tarn::session(*made->store_, which));
    return std::shared_ptr<Store>(std::move(made));
}

std::shared_ptr<Store> Store::open(const std::string &path, Opening how, std::uint64_t capacity) {
    std::unique_ptr<Store> made(new Store(path, how != Opening::read));
    const kel_store_options options{capacity, nullptr};
    std::optional<tarn::result<tarn::store>> opened;
    {
        const WithoutLock others;
        if (how == Opening::create) opened = tarn::store::try_create(path, options);
        else if (how == Opening::write_or_create)
            opened = tarn::store::try_open_or_create(path, options);
        else opened = tarn::store::try_open(path);
    }
    return finish(std::move(made), std::move(*opened).value(), how != Opening::read);
}

std::shared_ptr<Store> Store::make_private(std::uint64_t capacity) {
    std::unique_ptr<Store> made(new Store("", true));
    return finish(std::move(made), tarn::store::create_private({capacity, nullptr}), false);
}

std::shared_ptr<Store> Store::at(const std::string &path, std::uint64_t sequence) {
    std::unique_ptr<Store> made(new Store(path, false));
    std::optional<tarn::result<tarn::replica>> opened;
    {
        const WithoutLock others;
        opened = tarn::replica::try_open(path, sequence);
    }
    made->replica_.emplace(std::move(*opened).value());
    tarn::store store = made->replica_->store();
    return finish(std::move(made), std::move(store), false);
}

Store::~Store() {
    end_validity("the store is closed");
    for (auto &[thread, snapshot] : snapshots_) snapshot.validity->end("the store is closed");
}

tarn::store &Store::get() {
    need_open();
    return *store_;
}

void Store::need_open() const {
    if (is_closed()) not_possible(EBADF, "the store is closed");
}

void Store::need_transaction(const char *what) const {
    need_open();
    if (!in_transaction())
        not_possible(EPERM, std::string(what) +
                                " needs a transaction of this thread: `with store.transaction():`");
}

// Whether another thread is in a call that a closed store would end badly.
void Store::need_idle() const {
    if (busy_ == 0 && snapshots_.empty() && !owner_) return;
    not_possible(EBUSY,
                 "the store can't be closed: a transaction, a snapshot or a call of another "
                 "thread is open in it");
}

void Store::close() {
    if (is_closed()) return;
    need_idle();
    end_validity("the store is closed");
    reader_.reset();
    {
        const WithoutLock others;
        store_.reset();
        replica_.reset();
    }
}

kel_handle *Store::handle() const { return (in_transaction() ? writer_ : reader_)->c_handle(); }

bool Store::is_calm() const {
    if (changing_ == 0 && (!owner_ || in_transaction())) return true;
    return in_transaction() || snapshots_.count(std::this_thread::get_id()) != 0;
}

template <typename Call>
auto Store::without_lock(Call call) {
    const Count counted(busy_);
    const WithoutLock others;
    return call();
}

// A call that may change the copy.
template <typename Call>
auto Store::changing(Call call) {
    const Count counted(changing_);
    return without_lock(call);
}

void Store::enter() {
    need(without_lock([&] { return kel_store_begin_read(store_->c_store(), 0); }));
    forget_if_changed();
}

std::uint64_t Store::mark() const {
    const kel_store_description now = store_->describe();
    return now.log_end + now.committed + now.rolled_back;
}

// Another thread may have changed the copy and not have said so yet.
void Store::forget_if_changed() {
    if (validity_->mark && *validity_->mark != mark()) end_validity(refreshed);
}

const std::shared_ptr<Validity> &Store::validity() {
    if (!in_transaction()) {
        const auto found = snapshots_.find(std::this_thread::get_id());
        if (found != snapshots_.end()) return found->second.validity;
    }
    if (!validity_->mark) validity_->mark = mark();
    return validity_;
}

void Store::end_validity(const char *why) {
    if (!validity_->mark) return;
    validity_->end(why);
    validity_ = std::make_shared<Validity>();
}

bool Store::holds(const void *address) {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    if (place - first_ < size_) return true;
    const kel_store_description now = store_->describe();
    first_ = reinterpret_cast<std::uintptr_t>(now.base);
    size_ = now.size;
    return place - first_ < size_;
}

bool Store::take_turn() {
    const std::lock_guard<std::mutex> lock(turns_);
    return !std::exchange(is_taken_, true);
}

// Threads take turns in writing: the runtime keeps other processes away only.
void Store::become_writer() {
    need_open();
    if (!is_writable_) not_possible(EACCES, "the store is open to read only");
    if (in_transaction()) not_possible(EBUSY, "this thread has a transaction open");
    if (snapshots_.count(std::this_thread::get_id()) != 0)
        not_possible(EDEADLK,
                     "this thread has a snapshot open, which the transaction would change");
    const Deadline deadline(patience_);
    while (!take_turn()) {
        if (deadline.is_over())
            throw tarn::error(ETIMEDOUT, "another thread of this process has a transaction open");
        look_for_signals();
        without_lock([&] {
            std::unique_lock<std::mutex> lock(turns_);
            return turn_ends_.wait_for(lock, deadline.next(), [&] { return !is_taken_; });
        });
    }
}

void Store::end_turn() {
    {
        const std::lock_guard<std::mutex> lock(turns_);
        is_taken_ = false;
    }
    turn_ends_.notify_one();
}

// A call that waits for another process as long as the store's patience lasts.
template <typename Call>
auto Store::with_patience(Call call) {
    const Deadline deadline(patience_);
    while (true) {
        kel_store_set_lock_timeout(store_->c_store(), deadline.next().count());
        const std::uint32_t status = changing(call);
        if (!is_timeout(status) || deadline.is_over()) return status;
        look_for_signals();
    }
}

void Store::lock() {
    need(with_patience([&] { return kel_store_lock(store_->c_store()); }));
}

void Store::apply(const Making &making) {
    kel_handle *handle = writer_->c_handle();
    if (making.tracked) kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    for (const auto &[type, variant] : making.variants)
        need(kel_handle_set_variant(handle, type, variant));
}

std::uint32_t Store::try_begin() {
    auto begun = tarn::transaction::try_begin(*writer_);
    if (!begun) return begun.error().number();
    transaction_.emplace(std::move(*begun));
    return 0;
}

void Store::begin(const std::string &label, const Making &making) {
    Turn turn(*this);
    forget();
    try {
        writer_.emplace(tarn::session(*store_));
        apply(making);
        need(with_patience([&] { return try_begin(); }));
        if (!label.empty()) tarn::label(*writer_, *transaction_, label);
    } catch (...) {
        transaction_.reset();
        writer_.reset();
        forget();
        throw;
    }
    forget();
    owner_ = std::this_thread::get_id();
    turn.keep();
}

void Store::commit() { finish_transaction(true); }

void Store::roll_back() { finish_transaction(false); }

void Store::finish_transaction(bool committing) {
    need_transaction(committing ? "committing" : "rolling back");
    end_validity(committing ? "its transaction has ended" : "its transaction was rolled back");
    const tarn::result<void> done = changing(
        [&] { return committing ? transaction_->try_commit() : transaction_->try_rollback(); });
    forget();
    transaction_.reset();
    writer_.reset();
    owner_.reset();
    end_turn();
    if (!done) throw tarn::error(done.error());
}

void Store::begin_snapshot() {
    need_open();
    const auto thread = std::this_thread::get_id();
    const bool refreshes = snapshots_.count(thread) == 0 && !in_transaction();
    // Another thread's transaction keeps its records: nothing is refreshed before it has ended.
    if (refreshes && !owner_) end_validity(refreshed);
    const auto begin = [&] { return kel_store_begin_read(store_->c_store(), 1); };
    need(refreshes ? changing(begin) : without_lock(begin));
    if (refreshes) end_validity(refreshed);
    ++snapshots_[thread].depth;
}

void Store::end_snapshot() {
    need_open();
    const auto found = snapshots_.find(std::this_thread::get_id());
    if (found == snapshots_.end()) not_possible(EINVAL, "the snapshot was taken by another thread");
    need(kel_store_end_read(store_->c_store()));
    if (--found->second.depth > 0) return;
    found->second.validity->end("its snapshot has ended");
    snapshots_.erase(found);
}

void Store::refresh() {
    need_open();
    if (in_transaction()) return;
    if (snapshots_.count(std::this_thread::get_id()) != 0)
        not_possible(EDEADLK, "this thread has a snapshot open, which refreshing would change");
    begin_snapshot();
    end_snapshot();
}

bool Store::wait(double seconds) {
    need_open();
    const Deadline deadline(seconds);
    while (true) {
        const milliseconds limit = deadline.next();
        const auto changed_now = without_lock([&] { return store_->try_wait(limit.count()); });
        if (!changed_now) throw tarn::error(changed_now.error());
        if (*changed_now) return true;
        look_for_signals();
        if (deadline.is_over()) return false;
    }
}

void Store::sync() {
    need_open();
    need(without_lock([&] { return kel_store_sync(store_->c_store()); }));
}

void Store::back_up(const std::string &path) {
    need_open();
    need(without_lock([&] { return kel_store_backup(store_->c_store(), path.c_str()); }));
}

// A call that becomes the writer by itself.
template <typename Call>
void Store::in_turn(Call call) {
    const Turn turn(*this);
    forget();
    need(with_patience(call));
}

void Store::compact() {
    in_turn([&] { return kel_store_compact(store_->c_store()); });
}

void Store::set_journal(const kel_journal_settings &settings) {
    in_turn([&] { return kel_store_set_journal(store_->c_store(), &settings); });
}

const tarn::replica &Store::replica() const {
    need_open();
    if (!is_replica()) not_possible(EINVAL, "only a store at a transaction has changes");
    return *replica_;
}

tarn::replica::step Store::advance(kel_table *table, const kel_record *place) {
    replica();
    end_validity("the replica has advanced since");
    auto done = changing([&] {
        return place == nullptr ? replica_->try_advance()
                                : replica_->try_advance_record(table, place);
    });
    end_validity("the replica has advanced since");
    return std::move(done).value();
}

}  // namespace tarnbase::python
