// SPDX-License-Identifier: Apache-2.0
#include "exporter/past_answer.h"

#include <fmt/core.h>

#include <deque>
#include <limits>
#include <optional>
#include <utility>

#include "base/failure.h"
#include "base/moment.h"
#include "base/time.h"
#include "exporter/failure.h"
#include "exporter/records.h"
#include "listing/key_words.h"
#include "model/replica.h"
#include "tarnbase/journal.h"
#include "watch/author.h"
#include "watch/record_history.h"

namespace exporter {
namespace {

using tarnctl::Change;
using tarnctl::Json;
using tarnctl::Moment;
using tarnctl::Store;

constexpr uint64_t usual_changes = 200;
constexpr uint64_t most_changes = 10000;

// The transactions whose states are kept.
struct Kept {
    uint64_t oldest;
    uint64_t newest;
};

Kept kept_of(const PastRequest &asked) {
    const auto transaction_of = [&](uint64_t which) {
        return tarnctl::open_replica(asked.folder, which).sequence();
    };
    const uint64_t oldest = transaction_of(tarn::replica::oldest);
    return {oldest, transaction_of(tarn::replica::newest)};
}

ApiError no_state_yet(const PastRequest &asked, const std::string &text, const Kept &kept) {
    return {404, fmt::format("{}: its state at {} isn't there yet; there are the states after the "
                             "transactions {} to {}",
                             asked.store, text, kept.oldest, kept.newest)};
}

std::optional<Moment> moment_of(const PastRequest &asked, const std::string &name) {
    const auto text = asked.request.parameter(name);
    if (!text) return std::nullopt;
    const uint64_t present = tarnctl::current_time();
    const auto moment = tarnctl::parse_moment(*text, present);
    if (!moment)
        throw ApiError(400, fmt::format("{}: expected the number of a transaction, a time such as "
                                        "2026-11-22T10:30Z or 10:30, or how long ago, such as -2h",
                                        name));
    if (moment->is_time && moment->value > present)
        throw no_state_yet(asked, *text, kept_of(asked));
    return moment;
}

// Opens a replica. A transaction that the store doesn't have yet is the client's error.
template <class Open>
auto opened(const PastRequest &asked, const std::optional<Moment> &moment, Open open) {
    try {
        return open();
    } catch (const tarnctl::Failure &failure) {
        if (failure.code() != tarnctl::Exit::store || !moment || moment->is_time) throw;
        const Kept kept = kept_of(asked);
        if (moment->value <= kept.newest) throw;
        throw no_state_yet(asked, moment->text, kept);
    }
}

// A store at a moment, and the transaction that has led to it, as far as that is known.
struct State {
    tarn::replica replica;
    Json head;
};

Json head_of(const std::string &store, const kel_replica_transaction &transaction) {
    Json head{{"store", store}};
    if (transaction.time != 0) head.set("time", tarnctl::utc_time(transaction.time));
    tarnctl::add_author(head, transaction);
    return head;
}

// Goes to the state before the moment first, since only a step says whose transaction it was.
std::optional<State> state_after_step(const PastRequest &asked, const Moment &at) {
    const uint64_t sequence = tarnctl::last_transaction(asked.folder, at);
    if (sequence == 0) return std::nullopt;
    auto opened = tarn::replica::try_open(asked.folder, sequence - 1);
    if (!opened) return std::nullopt;
    const auto step = opened->try_advance();
    if (!step || *step != tarn::replica::step::applied || opened->sequence() != sequence)
        return std::nullopt;
    Json head = head_of(asked.store, opened->transaction());
    return State{std::move(*opened), std::move(head)};
}

State state_at(const PastRequest &asked, const Moment &at) {
    if (std::optional<State> state = state_after_step(asked, at)) return std::move(*state);
    tarn::replica replica =
        opened(asked, at, [&] { return tarnctl::open_replica(asked.folder, at); });
    Json head{{"store", asked.store}, {"transaction", replica.sequence()}};
    return {std::move(replica), std::move(head)};
}

// As the API's answers of the present, for the moment `at`.
Response state_response(const PastRequest &asked) {
    const auto at = moment_of(asked, "at");
    if (!at) throw ApiError(400, "at: expected a moment");
    State state = state_at(asked, *at);
    const Store store = Store::of_replica(state.replica, asked.folder);
    const std::vector<std::string> &path = asked.path;
    if (path.size() == 1) {
        Json list = Json::array();
        add_tables(store, asked.store, state.replica.sequence(), list);
        state.head.set("tables", list);
    } else if (path.size() == 2) {
        state.head.set("tables", records_of(store, asked.request, path[1]));
    } else {
        state.head.update(records_of_key(store, path[1], {path.begin() + 2, path.end()}));
    }
    return json_response(state.head);
}

kel_journal_description journal_of(kel_store *store) {
    kel_journal_description journal{};
    if (kel_store_describe_journal(store, &journal) != 0) throw ApiError(503, kel_error_text());
    return journal;
}

const char *journal_advice =
    "the store keeps no journal: what it was is known from its newest checkpoint on, without times "
    "and authors; `tarnctl journal start` keeps them";

tarnctl::RecordName record_of(const PastRequest &asked) {
    const tarnctl::TableReference table = reference_of(asked.path[1]);
    const std::vector<std::string> words(asked.path.begin() + 2, asked.path.end() - 1);
    return {
        table, tarnctl::key_texts(*table.table, words),
        static_cast<uint16_t>(number_of(asked.request, "tenant", 0, UINT16_MAX)),
        static_cast<uint8_t>(number_of(asked.request, "source", KEL_SOURCE_DEFAULT, UINT8_MAX))};
}

Json json_of(const Change &change, const kel_replica_transaction &transaction) {
    Json json = Json::object();
    if (transaction.time != 0) json.set("time", tarnctl::utc_time(transaction.time));
    json.update(tarnctl::json_of(change));
    tarnctl::add_author(json, transaction);
    return json;
}

// The last changes of a record, the newest one first.
Json changes_of(tarnctl::RecordHistory &history, const Request &request, bool &has_more) {
    const uint64_t limit = number_of(request, "limit", usual_changes, most_changes);
    std::deque<Json> last;
    const auto add = [&](Json json) {
        last.push_front(std::move(json));
        if (last.size() <= limit) return;
        last.pop_back();
        has_more = true;
    };
    if (const std::optional<Change> first = history.present()) add(tarnctl::json_of(*first));
    while (const std::optional<Change> change = history.next())
        add(json_of(*change, history.transaction()));
    Json changes = Json::array();
    for (const Json &each : last) changes.add(each);
    return changes;
}

Response history_response(const PastRequest &asked) {
    const tarnctl::RecordName record = record_of(asked);
    const auto since = moment_of(asked, "since");
    tarnctl::RecordHistory history(
        opened(asked, since, [&] { return tarnctl::open_replica_before(asked.folder, since); }),
        asked.folder, record);
    bool has_more = false;
    Json changes = changes_of(history, asked.request, has_more);
    const bool is_kept = journal_of(history.store().store()).settings.enabled != 0;
    Json json{{"store", asked.store}, {"journal", is_kept}};
    if (!is_kept) json.set("advice", journal_advice);
    json.set("changes", changes);
    json.set("more", has_more);
    return json_response(json);
}

// From which moment on the states of the store are kept.
Response moments_response(const PastRequest &asked) {
    const tarn::replica replica = tarnctl::open_replica(asked.folder, tarn::replica::oldest);
    const kel_journal_description journal = journal_of(replica.store().c_store());
    const bool is_kept = journal.settings.enabled != 0;
    Json oldest{{"transaction", replica.sequence()}};
    if (is_kept) oldest.set("time", tarnctl::utc_time(journal.begin_time));
    Json json{{"store", asked.store}, {"journal", is_kept}};
    if (!is_kept) json.set("advice", journal_advice);
    json.set("oldest", oldest);
    return json_response(json);
}

}  // namespace

bool is_history(const std::vector<std::string> &path) {
    if (path.size() < 4 || path[0] != "tables" || path.back() != "history") return false;
    return path.size() == tarnctl::key_columns(*reference_of(path[1]).table).size() + 3;
}

Response past_response(const PastRequest &asked) {
    if (asked.path[0] == "moments") return moments_response(asked);
    return is_history(asked.path) ? history_response(asked) : state_response(asked);
}

}  // namespace exporter
