// SPDX-License-Identifier: Apache-2.0
#include "model/replica.h"

#include <fmt/core.h>

#include <cerrno>
#include <utility>

#include "base/failure.h"
#include "base/time.h"
#include "tarnbase/tarn/journal.hpp"

namespace tarnctl {
namespace {

using tarn::replica;

// What is kept of a store, and what would keep more.
std::string text_of_kept(const std::string &path) {
    const auto oldest = replica::try_open(path, replica::oldest);
    if (!oldest) return "";
    const auto journal = tarn::try_describe_journal(oldest->store());
    if (!journal) return "";
    return fmt::format("; the oldest state that is kept is of {}, after transaction {}{}",
                       local_time(journal->begin_time), oldest->sequence(),
                       journal->settings.enabled != 0
                           ? ""
                           : "; with `tarnctl journal start` a store keeps its states");
}

Failure not_kept(const std::string &path, const std::string &moment) {
    return Failure(Exit::difference, fmt::format("{}: its state at {} isn't kept{}", path, moment,
                                                 text_of_kept(path)));
}

Failure without_times(const std::string &path, const Moment &at) {
    return Failure(Exit::difference,
                   fmt::format("{}: `{}`: the store doesn't keep the times of its transactions, "
                               "which `tarnctl journal start` makes it do; give the number of one",
                               path, at.text));
}

// None if it isn't kept.
std::optional<uint64_t> sequence_at(const std::string &path, const Moment &at) {
    if (!at.is_time) return at.value;
    auto found = replica::try_sequence_at(path, at.value);
    if (found) return *found;
    if (found.error().number() == EOVERFLOW) return std::nullopt;
    if (found.error().number() == ENODATA) throw without_times(path, at);
    throw Failure(Exit::store, found.error().what());
}

uint64_t past_sequence(const std::string &path, const Moment &at) {
    if (at.is_time && at.value > current_time())
        throw Failure(Exit::usage, fmt::format("--at {}: that is in the future", at.text));
    const auto sequence = sequence_at(path, at);
    if (!sequence) throw not_kept(path, fmt::format("`{}`", at.text));
    return *sequence;
}

}  // namespace

tarn::replica open_replica(const std::string &path, uint64_t sequence) {
    auto opened = replica::try_open(path, sequence);
    if (opened) return std::move(*opened);
    if (opened.error().number() == EOVERFLOW)
        throw not_kept(path, fmt::format("transaction {}", sequence));
    throw Failure(Exit::store, opened.error().what());
}

tarn::replica open_replica(const std::string &path, const Moment &at) {
    return open_replica(path, past_sequence(path, at));
}

std::optional<tarn::replica> open_replica_if_room(const std::string &path, const Moment &at) {
    const uint64_t sequence = past_sequence(path, at);
    auto opened = replica::try_open(path, sequence);
    if (opened) return std::move(*opened);
    if (opened.error().number() == EADDRINUSE) return std::nullopt;
    return open_replica(path, sequence);
}

uint64_t first_transaction(const std::string &path, const Moment &from) {
    if (!from.is_time) return from.value == 0 ? 1 : from.value;
    Moment before = from;
    before.value -= from.value == 0 ? 0 : 1;
    return sequence_at(path, before).value_or(0) + 1;
}

uint64_t last_transaction(const std::string &path, const Moment &until) {
    return sequence_at(path, until).value_or(0);
}

tarn::replica open_replica_before(const std::string &path, const std::optional<Moment> &from) {
    const uint64_t sequence = from ? first_transaction(path, *from) - 1 : replica::oldest;
    auto opened = replica::try_open(path, sequence);
    if (!opened && opened.error().number() == EOVERFLOW) return open_replica(path, replica::oldest);
    if (opened) return std::move(*opened);
    throw Failure(Exit::store, opened.error().what());
}

}  // namespace tarnctl
