// SPDX-License-Identifier: Apache-2.0
// What a program says about sharing a store with other processes.
#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/store/store.h"

using tarnbase::runtime::fail;
using tarnbase::runtime::Sharing;

namespace {

// Calls `action` with the shared part of a store; a private store gets `result`.
template <typename Action>
std::uint32_t shared(const char *what, kel_store *store, std::uint32_t result, Action action) {
    if (store->sharing == nullptr) {
        return result == 0 ? 0 : fail(result, "%s: the store is private", what);
    }
    try {
        return action(*store->sharing);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", what);
    }
}

}  // namespace

std::uint32_t kel_store_refresh(kel_store *store) {
    return shared("kel_store_refresh", store, 0, [](Sharing &part) { return part.refresh(); });
}

std::uint32_t kel_store_lock(kel_store *store) {
    return shared("kel_store_lock", store, 0, [](Sharing &part) -> std::uint32_t {
        const std::uint32_t error = part.is_writer() ? 0 : part.become_writer();
        if (error == 0) part.locks += 1;
        return error;
    });
}

std::uint32_t kel_store_unlock(kel_store *store) {
    return shared("kel_store_unlock", store, 0, [&](Sharing &part) -> std::uint32_t {
        if (part.locks == 0) return fail(EINVAL, "kel_store_unlock: the store isn't locked");
        part.locks -= 1;
        const bool stays = part.locks != 0 || store->has_open_transaction();
        return stays || !part.is_writer() ? 0 : part.give_up_writing();
    });
}

void kel_store_set_lock_timeout(kel_store *store, std::int64_t milliseconds) {
    if (store->sharing != nullptr) store->sharing->lock_timeout = milliseconds;
}

std::uint32_t kel_store_wait(kel_store *store, std::int64_t milliseconds) {
    return shared("kel_store_wait", store, EINVAL, [&](Sharing &part) -> std::uint32_t {
        if (part.wait(milliseconds)) return 0;
        return fail(ETIMEDOUT, "%s: nothing was committed", store->path.c_str());
    });
}

std::uint32_t kel_store_checkpoint(kel_store *store) {
    return shared("kel_store_checkpoint", store, EINVAL,
                  [](Sharing &part) { return part.make_checkpoint(); });
}
