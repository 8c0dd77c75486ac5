// SPDX-License-Identifier: Apache-2.0
// Sharing a store with other processes.
#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/control/journal_settings.h"
#include "runtime/store/journal.h"
#include "runtime/store/store.h"
#include "runtime/store/store_files.h"
#include "tarnbase/journal.h"

using tarnbase::runtime::back_up;
using tarnbase::runtime::describe_files;
using tarnbase::runtime::fail;
using tarnbase::runtime::Holder;
using tarnbase::runtime::printable_command;
using tarnbase::runtime::Sharing;

namespace {

template <typename Action>
std::uint32_t with_memory(const char *what, Action action) {
    try {
        return action();
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", what);
    }
}

// Calls `action` with the shared part of a store, which a private store doesn't have.
template <typename Action>
std::uint32_t shared(const char *what, const kel_store *store, Action action) {
    if (store->sharing == nullptr) return fail(EINVAL, "%s: the store is private", what);
    return with_memory(what, [&] { return action(*store->sharing); });
}

}  // namespace

std::uint32_t kel_store_refresh(kel_store *store) {
    return with_memory("kel_store_refresh", [&] { return store->refresh(); });
}

std::uint32_t kel_store_begin_read(kel_store *store, std::uint32_t refresh) {
    return with_memory("kel_store_begin_read", [&] { return store->begin_read(refresh != 0); });
}

std::uint32_t kel_store_end_read(kel_store *store) {
    if (store->scopes.end_read()) return 0;
    return fail(EINVAL, "kel_store_end_read: this thread has no reading scope open");
}

std::uint32_t kel_store_lock(kel_store *store) {
    return with_memory("kel_store_lock", [&] { return store->lock(); });
}

std::uint32_t kel_store_unlock(kel_store *store) {
    return with_memory("kel_store_unlock", [&] { return store->unlock(); });
}

void kel_store_set_lock_timeout(kel_store *store, std::int64_t milliseconds) {
    if (store->sharing != nullptr) store->sharing->lock_timeout = milliseconds;
}

std::uint32_t kel_store_wait(kel_store *store, std::int64_t milliseconds) {
    return shared("kel_store_wait", store, [&](Sharing &part) -> std::uint32_t {
        if (part.wait(milliseconds)) return 0;
        return fail(ETIMEDOUT, "%s: nothing was committed", store->path.c_str());
    });
}

std::uint32_t kel_store_checkpoint(kel_store *store) {
    return shared("kel_store_checkpoint", store,
                  [](Sharing &part) { return part.make_checkpoint(); });
}

std::uint32_t kel_store_compact(kel_store *store) {
    return shared("kel_store_compact", store, [&](Sharing &part) {
        const std::uint32_t error = store->check_not_reading("kel_store_compact");
        return error != 0 ? error : part.compact();
    });
}

std::uint32_t kel_store_backup(kel_store *store, const char *path) {
    return shared("kel_store_backup", store, [&](Sharing &part) {
        return back_up(part.folder(), store->header->arena.size, path);
    });
}

std::uint32_t kel_store_describe_writer(const kel_store *store, kel_store_writer *writer) {
    *writer = {};
    return shared("kel_store_describe_writer", store, [&](const Sharing &part) -> std::uint32_t {
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
    return shared("kel_store_describe_files", store,
                  [&](Sharing &part) { return describe_files(part.folder(), *files); });
}

std::uint32_t kel_store_sync(kel_store *store) {
    return shared("kel_store_sync", store, [](Sharing &part) { return part.sync(); });
}

std::uint32_t kel_store_set_journal(kel_store *store, const kel_journal_settings *settings) {
    return shared("kel_store_set_journal", store, [&](Sharing &part) -> std::uint32_t {
        const std::uint32_t error = store->check_not_reading("kel_store_set_journal");
        if (error != 0) return error;
        if (tarnbase::runtime::is_valid(*settings)) return part.set_journal(*settings);
        return fail(EINVAL, "kel_store_set_journal: a setting has a value that it can't have");
    });
}

std::uint32_t kel_store_describe_journal(const kel_store *store,
                                         kel_journal_description *description) {
    *description = {};
    return shared("kel_store_describe_journal", store,
                  [&](Sharing &part) { return part.describe_journal(*description); });
}

std::uint32_t kel_store_describe_compression(const kel_store *store,
                                             kel_journal_compression *compression) {
    *compression = {};
    return shared("kel_store_describe_compression", store, [&](Sharing &part) -> std::uint32_t {
        *compression = describe_compression(part.folder());
        return 0;
    });
}
