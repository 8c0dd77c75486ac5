// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/store/neighbours.h"
#include "runtime/store/new_folder.h"
#include "runtime/store/store.h"

namespace tarnbase::runtime {

namespace {

// The default address of a store is a slot in a range that neither the kernel nor the
// sanitizers use.
constexpr std::uint64_t range_begin = 0x2000'0000'0000;
constexpr std::uint64_t range_end = 0x5000'0000'0000;
constexpr std::uint64_t slot_unit = 64ULL << 30;

std::uint32_t fail_map(const char *path, std::uint32_t error, const void *base,
                       std::uint64_t capacity) {
    if (error != EADDRINUSE) {
        return fail(error, "%s: cannot map %llu bytes: %s", path,
                    static_cast<unsigned long long>(capacity),
                    std::strerror(static_cast<int>(error)));
    }
    return fail(EADDRINUSE, "%s: the address range %p to %p is taken in this process", path, base,
                static_cast<const void *>(static_cast<const char *>(base) + capacity));
}

// Maps at a random slot that is free in this process and that no neighbour of the store has, so
// that any process can open these stores together, and others rarely have the same address.
std::uint32_t map_somewhere(const char *path, std::uint64_t capacity, Region &region) {
    const std::uint64_t slot = (capacity + slot_unit - 1) / slot_unit * slot_unit;
    const std::uint64_t slots = (range_end - range_begin) / slot;
    if (slots == 0) return ENOMEM;
    const std::vector<AddressRange> taken = ranges_of_neighbours(path);
    const std::uint64_t start = std::random_device{}() % slots;
    for (std::uint64_t i = 0; i < slots; ++i) {
        const std::uint64_t address = range_begin + (start + i) % slots * slot;
        if (overlaps(taken, {address, capacity})) continue;
        const std::uint32_t error = region.map(reinterpret_cast<void *>(address), capacity);
        if (error == EINVAL) break;
        if (error != EADDRINUSE) return error;
    }
    // A tool that the process runs under doesn't allow the range.
    return region.map(nullptr, capacity);
}

std::uint32_t map_new(const char *path, std::uint64_t capacity, void *base, Region &region) {
    const std::uint32_t error =
        base != nullptr ? region.map(base, capacity) : map_somewhere(path, capacity, region);
    return error == 0 ? 0 : fail_map(path, error, base, capacity);
}

// Stores of the first format were one file.
std::uint32_t fail_file(const char *path) {
    constexpr char first_magic[] = "TARNBASE";
    char magic[sizeof first_magic - 1] = {};
    const File file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.is_open() && ::read(file.descriptor(), magic, sizeof magic) == sizeof magic &&
        std::memcmp(magic, first_magic, sizeof magic) == 0) {
        return fail(EINVAL,
                    "%s: a store of format version 1, made by an older release; this one reads "
                    "version %u. Move the data with tarnctl export of the release that made it, "
                    "and tarnctl import of this one",
                    path, control_format_version);
    }
    return fail(EINVAL, "%s: not a store: it isn't a folder", path);
}

// A process that may not map a whole store has no address space for a thread.
void limit_worker(kel_store &store) {
    if (!store.region.is_complete()) store.worker.stop();
}

// Opens a store's files and maps its region, without content.
std::uint32_t map_files(const char *path, kel_store &store) {
    File folder(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.is_open()) return errno == ENOTDIR ? fail_file(path) : fail_errno(path);
    store.sharing = std::make_unique<Sharing>(store, store.scopes, &store.worker);
    if (const std::uint32_t error = store.sharing->open(path, std::move(folder))) return error;
    const ControlPage &control = store.sharing->folder().control.page();
    void *base = reinterpret_cast<void *>(control.base);
    const std::uint32_t error = store.region.map_front(base, control.capacity, page_size);
    limit_worker(store);
    return error == 0 ? 0 : fail_map(path, error, base, control.capacity);
}

}  // namespace

std::uint32_t check_options(const char *what, const kel_store_options *options) {
    if (options == nullptr) return 0;
    const std::uint64_t capacity = options->capacity;
    const void *base = options->base;
    if (capacity != 0 && (capacity % page_size != 0 || capacity < least_capacity)) {
        return fail(
            EINVAL, "%s: a capacity of %llu bytes; it must be a multiple of %llu, from %llu", what,
            static_cast<unsigned long long>(capacity), static_cast<unsigned long long>(page_size),
            static_cast<unsigned long long>(least_capacity));
    }
    if (reinterpret_cast<std::uintptr_t>(base) % page_size != 0) {
        return fail(EINVAL, "%s: the base address %p is no multiple of %llu", what, base,
                    static_cast<unsigned long long>(page_size));
    }
    return 0;
}

std::uint32_t create_files(const char *path, std::uint64_t capacity, void *base, kel_store &store) {
    NewFolder made;
    if (const std::uint32_t error = made.begin(path, 0777)) return error;
    if (const std::uint32_t error = map_new(path, capacity, base, store.region)) return error;
    limit_worker(store);
    store.format(store.region.base());
    if (const std::uint32_t error = made.fill(store)) return error;
    store.sharing = std::make_unique<Sharing>(store, store.scopes, &store.worker);
    if (const auto error = store.sharing->open(path, std::move(made.folder))) return error;
    if (const std::uint32_t error = store.sharing->load()) return error;
    return made.finish();
}

std::uint32_t open_files(const char *path, kel_store &store) {
    const std::uint32_t error = map_files(path, store);
    return error == 0 ? store.sharing->load() : error;
}

std::uint32_t open_replica_files(const char *path, std::uint64_t sequence, kel_store &store) {
    const std::uint32_t error = map_files(path, store);
    if (error == EADDRINUSE) {
        return fail(error,
                    "%s: a process can't have a replica of a store and the store, or another "
                    "replica of it, open: they have the same addresses",
                    path);
    }
    return error == 0 ? store.sharing->load_replica(sequence) : error;
}

}  // namespace tarnbase::runtime
