// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>

#include "runtime/base/error_text.h"
#include "runtime/store/store.h"

namespace tarnbase::runtime {

namespace {

// The default address of a store is a slot in a range that neither the kernel nor the
// sanitizers use.
constexpr std::uint64_t range_begin = 0x2000'0000'0000;
constexpr std::uint64_t range_end = 0x5000'0000'0000;
constexpr std::uint64_t slot_unit = 64ULL << 30;

std::uint32_t fail_errno(const char *path) {
    const int error = errno;
    return fail(static_cast<std::uint32_t>(error), "%s: %s", path, std::strerror(error));
}

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

// Maps the file at a random free slot, so that stores from different processes rarely
// have the same address.
std::uint32_t map_somewhere(File &file, std::uint64_t capacity, Region &region) {
    const std::uint64_t slot = (capacity + slot_unit - 1) / slot_unit * slot_unit;
    const std::uint64_t slots = (range_end - range_begin) / slot;
    if (slots == 0) return ENOMEM;
    const std::uint64_t start = std::random_device{}() % slots;
    for (std::uint64_t i = 0; i < slots; ++i) {
        const std::uint64_t address = range_begin + (start + i) % slots * slot;
        const std::uint32_t error = region.map(file, reinterpret_cast<void *>(address), capacity);
        if (error == EINVAL) break;
        if (error != EADDRINUSE) return error;
    }
    // A tool that the process runs under doesn't allow the range.
    return region.map(file, nullptr, capacity);
}

std::uint32_t map_new(const char *path, File &file, std::uint64_t capacity, void *base,
                      Region &region) {
    const std::uint32_t error =
        base != nullptr ? region.map(file, base, capacity) : map_somewhere(file, capacity, region);
    return error == 0 ? 0 : fail_map(path, error, base, capacity);
}

// A name next to `path` for a file that isn't complete yet.
std::string working_name(const char *path) {
    return std::string(path) + ".new." + std::to_string(::getpid()) + "." +
           std::to_string(std::random_device{}());
}

// Unlinks a name in its destructor.
class WorkingName {
 public:
    explicit WorkingName(std::string name) : name_(std::move(name)) {}
    WorkingName(const WorkingName &) = delete;
    WorkingName &operator=(const WorkingName &) = delete;
    ~WorkingName() { ::unlink(name_.c_str()); }
    const char *c_str() const { return name_.c_str(); }

 private:
    std::string name_;
};

// A base address of null would map the store anywhere.
bool is_valid(const StoreHeader &header) {
    const auto base = reinterpret_cast<std::uintptr_t>(header.base);
    return header.page_bytes == page_size && base != 0 && base % page_size == 0 &&
           header.capacity % page_size == 0 && header.capacity >= least_capacity &&
           header.arena.size <= header.capacity &&
           header.arena.size >= Allocator::front_bytes(page_sets_offset, header.capacity);
}

std::uint32_t fail_version(const char *path, std::uint32_t version) {
    const bool newer = version > store_format_version;
    return fail(EINVAL,
                "%s: a store of format version %u, made by %s release; this one reads version %u. "
                "%s tarnctl export of the release that made it, and tarnctl import of this one",
                path, version, newer ? "a newer" : "an older", store_format_version,
                newer ? "Use the newer release, or move the data with" : "Move the data with");
}

// Checks what identifies a file, the most general first, and reads nothing after the
// version before that is checked.
std::uint32_t check_header(const char *path, const StoreHeader &header, std::size_t got,
                           std::uint64_t file_size) {
    if (got == 0) return fail(EINVAL, "%s: not a store file: it is empty", path);
    if (got >= sizeof header.magic && header.magic == __builtin_bswap64(store_magic)) {
        return fail(EINVAL,
                    "%s: a store of a machine with the other byte order. Move the data with "
                    "tarnctl export there and tarnctl import here",
                    path);
    }
    if (got < sizeof header.magic || header.magic != store_magic) {
        return fail(EINVAL, "%s: not a store file", path);
    }
    if (got >= offsetof(StoreHeader, page_bytes) && header.version != store_format_version) {
        return fail_version(path, header.version);
    }
    const auto fail_short = [&](std::uint64_t wanted) {
        return fail(EINVAL, "%s: the store is cut short: %llu of %llu bytes. Copy it again", path,
                    static_cast<unsigned long long>(file_size),
                    static_cast<unsigned long long>(wanted));
    };
    if (got < sizeof header) return fail_short(sizeof header);
    if (!is_valid(header)) {
        return fail(EINVAL, "%s: the header of the store is damaged. Restore the file from a copy",
                    path);
    }
    return file_size < header.arena.size ? fail_short(header.arena.size) : 0;
}

std::uint32_t read_header(const char *path, const File &file, StoreHeader &header) {
    struct stat status;
    if (::fstat(file.descriptor(), &status) != 0) return fail_errno(path);
    if (!S_ISREG(status.st_mode)) return fail(EINVAL, "%s: not a store file", path);
    const ssize_t got = ::pread(file.descriptor(), &header, sizeof header, 0);
    if (got < 0) return fail_errno(path);
    return check_header(path, header, static_cast<std::size_t>(got),
                        static_cast<std::uint64_t>(status.st_size));
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

std::uint32_t create_file(const char *path, std::uint64_t capacity, void *base, kel_store &store) {
    if (::access(path, F_OK) == 0) return fail(EEXIST, "%s: %s", path, std::strerror(EEXIST));
    // The file gets its name when it is complete: nobody opens half a store.
    const std::string name = working_name(path);
    File file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.is_open()) return fail_errno(path);
    const WorkingName working(name);
    const int descriptor = file.descriptor();
    if (::flock(descriptor, LOCK_SH) != 0) return fail_errno(path);
    if (const std::uint32_t error = map_new(path, file, capacity, base, store.region)) {
        return error;
    }
    if (const std::uint32_t error = store.format()) {
        return fail(error, "%s: %s", path, std::strerror(static_cast<int>(error)));
    }
    if (::link(working.c_str(), path) != 0) return fail_errno(path);
    return 0;
}

std::uint32_t open_file(const char *path, kel_store &store) {
    File file(::open(path, O_RDWR | O_CLOEXEC));
    if (!file.is_open()) return fail_errno(path);
    const int descriptor = file.descriptor();
    const bool alone = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    if (!alone && ::flock(descriptor, LOCK_SH) != 0) return fail_errno(path);
    StoreHeader header;
    if (const std::uint32_t error = read_header(path, file, header)) return error;
    if (const std::uint32_t error = store.region.map(file, header.base, header.capacity)) {
        return fail_map(path, error, header.base, header.capacity);
    }
    store.attach();
    if (alone) {
        store.recover();
        if (::flock(descriptor, LOCK_SH) != 0) return fail_errno(path);
    }
    return 0;
}

}  // namespace tarnbase::runtime
