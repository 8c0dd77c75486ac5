// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/control.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <span>
#include <vector>

#include "runtime/arena/page.h"
#include "runtime/base/boot.h"
#include "runtime/base/byte_order.h"
#include "runtime/base/error_text.h"
#include "runtime/base/file.h"
#include "runtime/base/file_io.h"
#include "runtime/control/futex.h"
#include "runtime/control/lock_protocol.h"
#include "runtime/log/crc32c.h"

namespace tarnbase::runtime {

namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t control_magic = 0x45534142'4e524154;  // "TARNBASE"
// A frame's operations have offsets of 40 bits.
constexpr std::uint64_t most_capacity = 1ULL << 40;
constexpr std::uint64_t position_unit = 8;

// A writer that is killed before it wakes the others, and that nobody follows, can't keep them
// longer than a sleep. Each is twice as long as the one before.
constexpr std::chrono::nanoseconds first_sleep = 100ms;
constexpr std::chrono::nanoseconds longest_sleep = 10s;
constexpr std::chrono::nanoseconds longest_uncounted_sleep = 10ms;

// The part that never changes.
struct Identity {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t byte_order;
    StoreId id;
    std::uint64_t base;
    std::uint64_t capacity;
    std::uint32_t crc;
    std::uint32_t reserved[19];
};
static_assert(sizeof(Identity) == offsetof(ControlPage, published));

std::uint32_t checksum(const Identity &identity) {
    return crc32c({reinterpret_cast<const char *>(&identity), offsetof(Identity, crc)});
}

bool is_valid(const Identity &identity) {
    return identity.byte_order == native_byte_order && identity.crc == checksum(identity) &&
           identity.base != 0 && identity.base % page_size == 0 && identity.capacity != 0 &&
           identity.capacity % page_size == 0 && identity.capacity <= most_capacity &&
           identity.base <= UINT64_MAX - identity.capacity;
}

std::uint32_t fail_damaged(const char *path) {
    return fail(EINVAL, "%s: the control file of the store is damaged. Restore it from a copy",
                path);
}

std::uint32_t fail_version(const char *path, std::uint32_t version) {
    const bool newer = version > control_format_version;
    return fail(EINVAL,
                "%s: a store of format version %u, made by %s release; this one reads version %u. "
                "%s tarnctl export of the release that made it, and tarnctl import of this one",
                path, version, newer ? "a newer" : "an older", control_format_version,
                newer ? "Use the newer release, or move the data with" : "Move the data with");
}

// Reads nothing after the version before that is checked: another version may differ there.
std::uint32_t check_identity(const char *path, const Identity &identity, std::size_t got,
                             std::uint64_t file_size) {
    if (got == 0) return fail(EINVAL, "%s: not a store: its control file is empty", path);
    if (got >= sizeof identity.magic && identity.magic == __builtin_bswap64(control_magic)) {
        return fail(EINVAL,
                    "%s: a store of a machine with the other byte order. Move the data with "
                    "tarnctl export there and tarnctl import here",
                    path);
    }
    if (got < sizeof identity.magic || identity.magic != control_magic) {
        return fail(EINVAL, "%s: not a store", path);
    }
    if (got >= offsetof(Identity, byte_order) && identity.version != control_format_version) {
        return fail_version(path, identity.version);
    }
    if (file_size < sizeof(ControlPage)) {
        return fail(EINVAL,
                    "%s: the store is cut short: %llu of %llu bytes of its control file. "
                    "Copy it again",
                    path, static_cast<unsigned long long>(file_size),
                    static_cast<unsigned long long>(sizeof(ControlPage)));
    }
    return got == sizeof identity && is_valid(identity) ? 0 : fail_damaged(path);
}

std::uint32_t check_file(const char *path, int descriptor) {
    struct stat status;
    if (::fstat(descriptor, &status) != 0) return fail_errno(path);
    if (!S_ISREG(status.st_mode)) return fail(EINVAL, "%s: not a store", path);
    Identity identity{};
    const ssize_t got = ::pread(descriptor, &identity, sizeof identity, 0);
    if (got < 0) return fail_errno(path);
    return check_identity(path, identity, static_cast<std::size_t>(got),
                          static_cast<std::uint64_t>(status.st_size));
}

bool are_valid_positions(const ControlPage &page) {
    // A checkpoint is published before it is made, so it is read first.
    const std::uint64_t checkpoint = page.checkpoint.load();
    const std::uint64_t published = page.published.load();
    return checkpoint <= published && checkpoint % position_unit == 0 &&
           published % position_unit == 0;
}

// Opens the file to write if the process may.
File open_control(int folder, bool &writable) {
    writable = true;
    File file(::openat(folder, control_name, O_RDWR | O_CLOEXEC));
    // EPERM: the file is immutable.
    if (file.is_open() || (errno != EACCES && errno != EROFS && errno != EPERM)) return file;
    writable = false;
    return File(::openat(folder, control_name, O_RDONLY | O_CLOEXEC));
}

// What publish_position and wait_for_position do (lock_protocol.h).
class PublishSteps {
 public:
    PublishSteps(ControlPage &page, bool writable, std::int64_t milliseconds)
        : published(page.published),
          waiters(page.waiters),
          writable_(writable),
          deadline_(milliseconds) {}

    bool may_write() const { return writable_; }
    bool time_is_over() { return interrupted_ || deadline_.is_over(); }
    void sleep(std::uint64_t seen) {
        const auto limit = writable_ ? next_sleep_ : longest_uncounted_sleep;
        interrupted_ = !futex_sleep(published, seen, std::min(limit, deadline_.left()));
        next_sleep_ = std::min(2 * next_sleep_, longest_sleep);
    }
    void wake() const { futex_wake(published, INT_MAX); }

    std::atomic<std::uint64_t> &published;
    std::atomic<std::uint32_t> &waiters;

 private:
    bool writable_;
    bool interrupted_ = false;
    std::chrono::nanoseconds next_sleep_ = first_sleep;
    Deadline deadline_;
};

}  // namespace

Control::~Control() {
    if (page_ != nullptr) ::munmap(page_, sizeof *page_);
}

std::uint32_t Control::map(int descriptor, bool writable) {
    void *page = ::mmap(nullptr, sizeof *page_, writable ? PROT_READ | PROT_WRITE : PROT_READ,
                        MAP_SHARED, descriptor, 0);
    if (page == MAP_FAILED) return error_number();
    page_ = static_cast<ControlPage *>(page);
    writable_ = writable;
    return 0;
}

std::uint32_t Control::create(int folder, const StoreId &id, std::uint64_t base,
                              std::uint64_t capacity) {
    const File file(::openat(folder, control_name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.is_open()) return error_number();
    Identity identity{};
    identity.magic = control_magic;
    identity.version = control_format_version;
    identity.byte_order = native_byte_order;
    identity.id = id;
    identity.base = base;
    identity.capacity = capacity;
    identity.crc = checksum(identity);
    if (is_above_file_limit(sizeof(ControlPage))) return EFBIG;
    // Written and not only cut to size: the mapped pages have disk blocks.
    std::vector<char> bytes(sizeof(ControlPage));
    std::memcpy(bytes.data(), &identity, sizeof identity);
    errno = ENOSPC;
    if (::pwrite(file.descriptor(), bytes.data(), bytes.size(), 0) !=
        static_cast<ssize_t>(bytes.size())) {
        return error_number();
    }
    if (const std::uint32_t error = map(file.descriptor(), true)) return error;
    page_->boot.store(boot_number().value_or(0));
    return 0;
}

std::uint32_t Control::open(int folder, const char *path) {
    bool writable = false;
    const File file = open_control(folder, writable);
    if (!file.is_open() && errno == ENOENT) {
        return fail(EINVAL, "%s: not a store: it has no file \"%s\"", path, control_name);
    }
    if (!file.is_open()) return fail_errno(path);
    if (const std::uint32_t error = check_file(path, file.descriptor())) return error;
    if (const std::uint32_t error = map(file.descriptor(), writable)) {
        return fail(error, "%s: %s", path, std::strerror(static_cast<int>(error)));
    }
    return are_valid_positions(*page_) ? 0 : fail_damaged(path);
}

std::optional<AddressRange> Control::range_of(int folder) {
    const File file(::openat(folder, control_name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Identity identity{};
    const std::span<char> bytes(reinterpret_cast<char *>(&identity), sizeof identity);
    if (!file.is_open() || read_fully(file.descriptor(), bytes, 0) != 0) return std::nullopt;
    if (identity.magic != control_magic || identity.version != control_format_version ||
        !is_valid(identity)) {
        return std::nullopt;
    }
    return AddressRange{identity.base, identity.capacity};
}

bool Control::set_checkpoint(std::uint64_t position) {
    std::uint64_t newest = page_->checkpoint.load();
    while (newest < position) {
        if (page_->checkpoint.compare_exchange_strong(newest, position)) return true;
    }
    return newest == position;
}

void Control::set_durable(std::uint64_t position) {
    std::uint64_t durable = page_->durable.load();
    while (durable < position && !page_->durable.compare_exchange_weak(durable, position)) {
    }
}

// The word may be that of a writer that died before it published anything in its segment.
void Control::set_log_segment(std::uint64_t segment) {
    if (page_->log_segment.load(std::memory_order_relaxed) != segment) {
        page_->log_segment.store(segment);
    }
}

void Control::publish(std::uint64_t position) {
    PublishSteps steps(*page_, writable_, 0);
    publish_position(steps, position);
}

bool Control::wait(std::uint64_t position, std::int64_t milliseconds) const {
    PublishSteps steps(*page_, writable_, milliseconds);
    return wait_for_position(steps, position);
}

}  // namespace tarnbase::runtime
