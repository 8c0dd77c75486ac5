// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <exception>
#include <memory>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/check/check.h"
#include "runtime/index/tree.h"
#include "runtime/salvage/repair.h"
#include "runtime/salvage/salvage.h"
#include "runtime/store/file.h"
#include "runtime/store/open_stores.h"
#include "runtime/store/store.h"

using namespace tarnbase::runtime;

namespace {

// Maps with the requested capacity, or by default as much as the process may map: a limit on
// its address space, or a tool that it runs under, may not allow the usual capacity.
template <typename Map>
std::uint32_t map_capacity(const kel_store_options *options, Map map) {
    if (options != nullptr && options->capacity != 0) return map(options->capacity);
    std::uint64_t capacity = default_capacity;
    std::uint32_t error = map(capacity);
    while ((error == ENOMEM || error == EINVAL) && capacity > least_default_capacity) {
        capacity /= 2;
        error = map(capacity);
    }
    return error;
}

// Opens a store whose header, catalog and descriptors are sound: everything follows their
// pointers.
std::uint32_t open_sound(const char *path, kel_store &store) {
    if (const std::uint32_t error = open_files(path, store)) return error;
    std::string first;
    Findings findings([&](const char *text) {
        if (first.empty()) first = text;
    });
    check_roots(store, findings);
    if (findings.count() == 0) return 0;
    return fail(EBADMSG, "%s: the store is damaged: %s", path, first.c_str());
}

void *base_of(const kel_store_options *options) {
    return options != nullptr ? options->base : nullptr;
}

// Makes a store with `fill` and returns it in `*result` on success.
template <typename Fill>
std::uint32_t make_store(const char *what, kel_store **result, Fill fill) {
    *result = nullptr;
    try {
        auto store = std::make_unique<kel_store>();
        const std::uint32_t error = fill(*store);
        if (error != 0) return error;
        if (store->sharing != nullptr) add_open_store(*store);
        *result = store.release();
        return 0;
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", what);
    } catch (const std::exception &failure) {
        return fail(EIO, "%s: %s", what, failure.what());
    }
}

}  // namespace

std::uint32_t kel_store_create(const char *path, const kel_store_options *options,
                               kel_store **store) {
    return make_store(path, store, [&](kel_store &made) {
        if (const auto error = check_options(path, options)) return error;
        made.path = path;
        return map_capacity(options, [&](std::uint64_t capacity) {
            return create_files(path, capacity, base_of(options), made);
        });
    });
}

std::uint32_t kel_store_open(const char *path, kel_store **store) {
    return make_store(path, store, [&](kel_store &made) {
        made.path = path;
        return open_sound(path, made);
    });
}

std::uint32_t kel_store_open_copy(const char *path, kel_store **store) {
    return make_store(path, store, [&](kel_store &made) {
        made.path = path;
        const std::uint32_t error = open_sound(path, made);
        made.sharing.reset();
        return error;
    });
}

std::uint32_t kel_store_salvage(const char *path, kel_table_vector_lookup lookup,
                                kel_salvage_report report, void *context, kel_store **store) {
    return make_store(path, store, [&](kel_store &made) {
        made.path = path;
        return salvage_store(
            path, made, lookup,
            [&](const kel_table *table, std::uint64_t records, const std::string &text) {
                report(table, records, text.c_str(), context);
            });
    });
}

std::uint32_t kel_store_repair(const char *path, kel_table_vector_lookup lookup) {
    try {
        return repair_store(path, lookup);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", path);
    }
}

std::uint32_t kel_store_open_or_create(const char *path, const kel_store_options *options,
                                       kel_store **store) {
    const std::uint32_t opened = kel_store_open(path, store);
    if (opened != ENOENT) return opened;
    const std::uint32_t created = kel_store_create(path, options, store);
    // Another process has created it in the meantime.
    return created == EEXIST ? kel_store_open(path, store) : created;
}

std::uint32_t kel_store_create_private(const kel_store_options *options, kel_store **store) {
    constexpr const char *what = "private store";
    return make_store(what, store, [&](kel_store &made) {
        if (const auto error = check_options(what, options)) return error;
        const std::uint32_t mapped = map_capacity(options, [&](std::uint64_t capacity) {
            const std::uint32_t error = made.region.map(base_of(options), capacity);
            if (error == 0) return error;
            return fail(error, "%s: cannot map %llu bytes at %p", what,
                        static_cast<unsigned long long>(capacity), base_of(options));
        });
        if (mapped == 0) made.format(made.region.base());
        return mapped;
    });
}

void kel_store_close(kel_store *store) {
    const bool is_replica =
        store != nullptr && store->sharing != nullptr && store->sharing->is_replica();
    if (!is_replica) delete store;
}

const char *kel_error_text() { return error_text(); }

std::uint32_t kel_error_number() { return error_code(); }

kel_table *kel_store_first_table(const kel_store *store) { return store->header->tables.first; }

void kel_store_fail_allocation(kel_store *store, std::uint64_t n) {
    store->allocations_until_failure = n;
}

void kel_store_describe(const kel_store *store, kel_store_description *description) {
    const StoreHeader &header = *store->header;
    *description = {};
    description->path = store->path.empty() ? nullptr : store->path.c_str();
    description->base = header.base;
    description->capacity = header.capacity;
    description->size = header.arena.size;
    description->blocks = header.arena.blocks;
    description->block_bytes = header.arena.block_bytes;
    description->free_bytes = store->allocator.free_bytes();
    description->committed = header.committed;
    description->rolled_back = header.rolled_back;
    description->transactions = store->open_transactions();
    for (const kel_table *table = header.tables.first; table != nullptr; table = table->toc_next) {
        description->tables += 1;
    }
    description->writable = 1;
    if (store->sharing != nullptr) {
        Sharing &part = *store->sharing;
        const ControlPage &control = part.folder().control.page();
        description->writable = part.may_write() ? 1 : 0;
        description->log_end = part.follower().position();
        description->log_bytes = description->log_end - control.checkpoint.load();
        description->commit_time = control.change_time.load(std::memory_order_relaxed);
    }
    description->types = static_cast<std::uint32_t>(tree_size(header.types));
}
