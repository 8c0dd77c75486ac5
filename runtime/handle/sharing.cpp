// SPDX-License-Identifier: Apache-2.0
// Sharing a store with other processes.
#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/store/store.h"
#include "runtime/store/store_files.h"

using tarnbase::runtime::back_up;
using tarnbase::runtime::describe_files;
using tarnbase::runtime::fail;
using tarnbase::runtime::Holder;
using tarnbase::runtime::printable_command;
using tarnbase::runtime::Sharing;

namespace {

// Calls `action` with the shared part of a store; a private store gets `result`.
template <typename Action>
std::uint32_t shared(const char *what, const kel_store *store, std::uint32_t result,
                     Action action) {
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

std::uint32_t kel_store_compact(kel_store *store) {
    return shared("kel_store_compact", store, EINVAL, [](Sharing &part) { return part.compact(); });
}

std::uint32_t kel_store_backup(kel_store *store, const char *path) {
    return shared("kel_store_backup", store, EINVAL, [&](Sharing &part) {
        return back_up(part.folder(), store->header->arena.size, path);
    });
}

std::uint32_t kel_store_describe_writer(const kel_store *store, kel_store_writer *writer) {
    *writer = {};
    return shared("kel_store_describe_writer", store, EINVAL,
                  [&](const Sharing &part) -> std::uint32_t {
                      Holder holder{};
                      if (!part.holder(holder)) {
                          return fail(ENOENT, "%s: no process is the writer", store->path.c_str());
                      }
                      writer->pid = holder.pid;
                      writer->since = holder.since;
                      printable_command(holder).copy(writer->command, sizeof writer->command - 1);
                      return 0;
                  });
}

std::uint32_t kel_store_describe_files(const kel_store *store, kel_store_files *files) {
    *files = {};
    return shared("kel_store_describe_files", store, EINVAL,
                  [&](Sharing &part) { return describe_files(part.folder(), *files); });
}
