// SPDX-License-Identifier: Apache-2.0
/// @file
/// A replica: a store at one transaction, which moves on to the next ones.
#ifndef TARNBASE_TARN_REPLICA_HPP
#define TARNBASE_TARN_REPLICA_HPP

#include <optional>
#include <utility>
#include <vector>

#include "tarnbase/replica.h"
#include "tarnbase/tarn/record.hpp"
#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/store.hpp"
#include "tarnbase/tarn/table.hpp"
#include "tarnbase/tarn/table_reader.hpp"

namespace tarn {

/// A record of a table that a transaction has changed.
/// Lifetime: until the replica advances.
template <typename Table>
struct record_change {
    std::optional<basic_record<Table>> before;  ///< what it was; none if it was inserted
    std::optional<basic_record<Table>> after;   ///< what it is; none if it was deleted
};

/// A private copy of a store with files, which changes when `advance` applies the next transaction
/// and then has the records that this has changed. It needs permission to read alone, and nobody
/// waits for it. Move-only; for one thread. A process can't have the store open as well.
/// Lifetime: it must outlive its stores and their sessions.
class replica {
 public:
    /// Where a replica begins, besides after a transaction.
    static constexpr std::uint64_t newest = KEL_REPLICA_NEWEST;
    static constexpr std::uint64_t oldest = KEL_REPLICA_OLDEST;

    /// What an attempt to advance has done.
    enum class step {
        applied,  ///< the next transaction
        current,  ///< nothing: no other one was committed
        gap,      ///< the log doesn't contain the next ones any more, which were skipped
    };

    replica(replica &&other) noexcept
        : replica_(std::exchange(other.replica_, nullptr)),
          last_(other.last_),
          keys_(std::move(other.keys_)) {}
    replica &operator=(replica &&other) noexcept {
        std::swap(replica_, other.replica_);
        std::swap(last_, other.last_);
        std::swap(keys_, other.keys_);
        return *this;
    }
    ~replica() { kel_replica_close(replica_); }

    /// Opens a replica as the store was after the transaction of that number.
    /// Errors: EOVERFLOW the files don't reach back to it; as kel_replica_open.
    static result<replica> try_open(const std::string &path, std::uint64_t sequence = newest) {
        kel_replica *made = nullptr;
        const std::uint32_t status =
            kel_replica_open(path.c_str(), tarnbase_table_get_vft, sequence, &made);
        if (status != 0) return detail::last_failure(status);
        return replica(made);
    }
    /// Applies the next transaction. Errors: as kel_replica_advance.
    result<step> try_advance() { return step_of(kel_replica_advance(replica_, &last_)); }
    /// Applies transactions up to the next one that `wanted` accepts, a function of a
    /// `const kel_replica_transaction &` whose number and author it may read.
    /// Requires: it throws nothing. Errors: as kel_replica_advance_wanted.
    template <typename Wanted>
    result<step> try_advance_wanted(const Wanted &wanted) {
        const auto filter = [](const kel_replica_transaction *each, void *context) -> int {
            return (*static_cast<const Wanted *>(context))(*each) ? 1 : 0;
        };
        void *context = const_cast<Wanted *>(&wanted);
        return step_of(kel_replica_advance_wanted(replica_, filter, context, &last_));
    }
    /// Applies transactions until one has changed the record with the key, tenant and source of
    /// `place`; `transaction` has this change alone.
    /// Errors: ENOENT the table was freed; as kel_replica_advance_record.
    result<step> try_advance_record(kel_table *table, const kel_record *place) {
        return step_of(kel_replica_advance_record(replica_, table, place, &last_));
    }
    /// The same for the record of a table with a key, of the thread's tenant.
    template <typename Table>
    result<step> try_advance_record(const basic_table_reader<Table> &of,
                                    const typename Table::key_type &key,
                                    source from = source::standard) {
        const result<void> is_ready = make_keys();
        if (!is_ready) return is_ready.error();
        const basic_table<Table> keys(keys_->on_it.c_handle(), nullptr);
        const result<basic_new_record<Table>> place = keys.try_make(key, from);
        if (!place) return place.error();
        return try_advance_record(of.c_table(), place->c_record());
    }
    /// Returns: the last transaction of a store that was committed at a time, in nanoseconds since
    /// 1970, or before. Errors: EOVERFLOW, ENODATA: as kel_replica_sequence_at.
    static result<std::uint64_t> try_sequence_at(const std::string &path, std::uint64_t time) {
        std::uint64_t sequence = 0;
        const std::uint32_t status = kel_replica_sequence_at(path.c_str(), time, &sequence);
        if (status != 0) return detail::last_failure(status);
        return sequence;
    }
#if TARN_EXCEPTIONS
    /// As try_open; throws.
    static replica open(const std::string &path, std::uint64_t sequence = newest) {
        return try_open(path, sequence).value();
    }
    /// As try_advance; throws.
    step advance() { return try_advance().value(); }
    /// As try_advance_wanted; throws.
    template <typename Wanted>
    step advance_wanted(const Wanted &wanted) {
        return try_advance_wanted(wanted).value();
    }
    /// As try_advance_record; throws.
    step advance_record(kel_table *table, const kel_record *place) {
        return try_advance_record(table, place).value();
    }
    template <typename Table>
    step advance_record(const basic_table_reader<Table> &of, const typename Table::key_type &key,
                        source from = source::standard) {
        return try_advance_record(of, key, from).value();
    }
    /// As try_sequence_at; throws.
    static std::uint64_t sequence_at(const std::string &path, std::uint64_t time) {
        return try_sequence_at(path, time).value();
    }
#endif

    /// Returns: the store, for sessions. No operation changes or refreshes it; `wait` waits for the
    /// next transaction.
    tarn::store store() const { return tarn::store(kel_replica_store(replica_)); }
    /// Returns: the number of the last transaction that the replica contains.
    std::uint64_t sequence() const noexcept { return kel_replica_sequence(replica_); }
    /// Returns: what the last `advance` has applied, or skipped: its author and its changes.
    const kel_replica_transaction &transaction() const noexcept { return last_; }

    /// Returns: what the last transaction has changed in a table that was opened in `in`.
    template <typename Table>
    std::vector<record_change<Table>> changes_of(const basic_table_reader<Table> &of,
                                                 const session &in) const {
        const auto view = [&](const kel_record *record) -> std::optional<basic_record<Table>> {
            if (record == nullptr) return std::nullopt;
            return basic_record<Table>(in.c_handle(), const_cast<kel_record *>(record));
        };
        std::vector<record_change<Table>> found;
        for (std::uint64_t i = 0; i < last_.change_count; ++i) {
            const kel_replica_change &each = last_.changes[i];
            if (each.table == of.c_table()) {
                found.push_back({view(each.before), view(each.after)});
            }
        }
        return found;
    }

 private:
    explicit replica(kel_replica *made) noexcept : replica_(made) {}

    static result<step> step_of(std::uint32_t status) {
        if (status == 0) return step::applied;
        if (status == EAGAIN) return step::current;
        if (status == EOVERFLOW) return step::gap;
        return detail::last_failure(status);
    }

    // A private store, since a record of a key can't be made in the replica's.
    struct key_store {
        tarn::store made;
        session on_it;
    };
    result<void> make_keys() {
        if (keys_) return {};
        result<tarn::store> made = tarn::store::try_create_private();
        if (!made) return made.error();
        result<session> on_it = session::try_open(*made);
        if (!on_it) return on_it.error();
        keys_.emplace(key_store{std::move(*made), std::move(*on_it)});
        return {};
    }

    kel_replica *replica_;
    kel_replica_transaction last_{};
    std::optional<key_store> keys_;
};

}  // namespace tarn

#endif
