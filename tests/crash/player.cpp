// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/player.h"

#include <cerrno>
#include <stdexcept>

#include "tarnbase/module.h"
#include "tarnbase/tarn/journal.hpp"

namespace crash {

namespace {

// Few frames, so that new ones replace old ones.
constexpr std::uint64_t ring_frames = 40;

void require(std::uint32_t status, const char *doing) {
    if (status != 0) throw tarn::error(status, std::string(doing) + ": " + kel_error_text());
}

// Changes that need the writer's role, published in one piece.
class Writing {
 public:
    explicit Writing(tarn::store &store) : store_(store.c_store()) {
        require(kel_store_lock(store_), "lock");
    }
    Writing(const Writing &) = delete;
    Writing &operator=(const Writing &) = delete;
    ~Writing() { kel_store_unlock(store_); }

 private:
    kel_store *store_;
};

}  // namespace

Player::Player(tarn::store &store)
    : store_(store),
      sides_{Side{tarn::session(store, tarn::descriptors::of_store), {}, {}},
             Side{tarn::session(store, tarn::descriptors::of_store), {}, {}}} {}

Player::~Player() { abandon(); }

void Player::abandon() {
    for (Side &side : sides_) side.transaction.reset();
}

void Player::play(const Round &round) {
    for (const Operation &operation : round) {
        const bool counts = is_event(operation.kind);
        if (counts) begun();
        play(operation);
        if (counts) done();
    }
}

std::size_t Player::play(const Round &round, std::size_t from, std::uint64_t count) {
    for (; count > 0 && from < round.size(); ++from) {
        play(round[from]);
        if (is_event(round[from].kind)) --count;
    }
    return from;
}

Table &Player::table(const Operation &operation) {
    return *sides_[operation.handle].tables[operation.subject];
}

void Player::open(Subject subject) {
    for (Side &side : sides_) {
        if (side.tables[subject] == nullptr) {
            side.tables[subject] = open_or_create(side.session, subject);
        }
    }
}

// Tables and the replication engine, in calls and transactions of their own.
void Player::set_up(const Operation &operation) {
    Side &side = sides_[operation.handle];
    kel_handle *const handle = side.session.c_handle();
    switch (operation.kind) {
        case Kind::attach: {
            const Writing writing(store_);
            for (Side &each : sides_) {
                require(kel_replication_attach(each.session.c_handle(), tarnbase_table_get_vft),
                        "attach");
            }
            break;
        }
        case Kind::limit: {
            const Writing writing(store_);
            require(kel_replication_configure(handle, ring_frames, 0), "configure");
            break;
        }
        case Kind::open:
            open(operation.subject);
            break;
        case Kind::mark: {
            tarn::transaction transaction(side.session);
            kel_table_set_replication(handle, transaction.id(), table(operation).c_table(), 1, 1);
            transaction.commit();
            break;
        }
        case Kind::make_extra:
            make_extra(side.session);
            break;
        case Kind::drop_extra: {
            tarn::transaction transaction(side.session);
            drop_extra(side.session);
            transaction.commit();
            break;
        }
        default:
            throw std::logic_error("an operation of unknown kind");
    }
}

void Player::make_checkpoint() {
    // A private store has none.
    if (store_.describe().path == nullptr) return;
    const std::uint32_t error = kel_store_checkpoint(store_.c_store());
    // A thread of the runtime may be making one.
    if (error != EBUSY) require(error, "checkpoint");
}

void Player::play(const Operation &operation) {
    Side &side = sides_[operation.handle];
    switch (operation.kind) {
        case Kind::begin:
            side.transaction.emplace(side.session);
            tarn::label(side.session, *side.transaction, "round");
            break;
        case Kind::insert:
            table(operation).insert(operation.number, operation.row);
            break;
        case Kind::update:
            table(operation).update(operation.number, operation.row);
            break;
        case Kind::erase:
            table(operation).erase(operation.number);
            break;
        case Kind::lasting_update: {
            const Writing writing(store_);
            table(operation).update(operation.number, operation.row);
            break;
        }
        case Kind::commit:
        case Kind::early_commit:
            side.transaction->commit();
            side.transaction.reset();
            break;
        case Kind::rollback:
        case Kind::late_rollback:
            side.transaction->rollback();
            side.transaction.reset();
            break;
        case Kind::checkpoint:
            make_checkpoint();
            break;
        default:
            set_up(operation);
    }
}

}  // namespace crash
