// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/player.h"

#include <stdexcept>

#include "tarnbase/module.h"

extern "C" __attribute__((weak)) std::uint32_t kel_store_checkpoint(kel_store *store);

namespace crash {

namespace {

// Few frames, so that new ones replace old ones.
constexpr std::uint64_t ring_frames = 40;

void need(std::uint32_t status, const char *doing) {
    if (status != 0) throw std::runtime_error(std::string(doing) + ": " + kel_error_text());
}

}  // namespace

void checkpoint(kel_store *store) {
    if (kel_store_checkpoint != nullptr) need(kel_store_checkpoint(store), "checkpoint");
}

Player::Player(tarn::store &store)
    : store_(store),
      sides_{Side{tarn::session(store, tarn::descriptors::of_store), {}, {}},
             Side{tarn::session(store, tarn::descriptors::of_store), {}, {}}} {}

Player::~Player() { abandon(); }

void Player::abandon() {
    for (Side &side : sides_) side.transaction.reset();
}

std::size_t Player::play(const Round &round, std::size_t from, std::uint64_t count) {
    for (; from < round.size(); ++from) {
        const bool counts = is_event(round[from].kind);
        if (counts && count == 0) return from;
        if (counts) begun();
        play(round[from]);
        if (counts) done();
        if (counts) --count;
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

void Player::play(const Operation &operation) {
    Side &side = sides_[operation.handle];
    kel_handle *const handle = side.session.c_handle();
    switch (operation.kind) {
        case Kind::attach:
            for (Side &each : sides_) {
                need(kel_replication_attach(each.session.c_handle(), tarnbase_table_get_vft),
                     "attach");
            }
            break;
        case Kind::limit:
            need(kel_replication_configure(handle, ring_frames, 0), "configure");
            break;
        case Kind::open:
            open(operation.subject);
            break;
        case Kind::mark: {
            tarn::transaction transaction(side.session);
            kel_table_set_replication(handle, transaction.id(), table(operation).c_table(), 1, 1);
            transaction.commit();
            break;
        }
        case Kind::begin:
            side.transaction.emplace(side.session);
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
        case Kind::commit:
            side.transaction->commit();
            side.transaction.reset();
            break;
        case Kind::rollback:
            side.transaction->rollback();
            side.transaction.reset();
            break;
        case Kind::checkpoint:
            // A private store has none.
            if (store_.describe().path != nullptr) checkpoint(store_.c_store());
            break;
    }
}

}  // namespace crash
