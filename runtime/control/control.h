/* SPDX-License-Identifier: Apache-2.0 */
// The control file of a store: what its processes share besides the log.
//
//   offset  size  member
//        0     8  magic "TARNBASE"
//        8     4  format version
//       12     4  0x01020304: byte order
//       16    16  id of the store
//       32     8  base address
//       40     8  capacity, bytes of address range
//       48     4  CRC32C of the 48 bytes before
//       52        zero up to 128
//      128     8  published position of the log: all frames before it are committed
//      136     8  position of the newest checkpoint
//      144     4  not 0: how often processes went to sleep until the published position changes
//      148     4  zero
//      152     8  identity of the last checkpoint image that was checked (checkpoint.h)
//      160     8  when the last changes were published, nanoseconds since 1970
//      168     8  how often the settings of the journal were changed (journal_settings.h)
//      176     8  durable position: all frames before it are on the disk
//      184     8  position at which the segment begins that contains the last published frame
//      192     8  the start of the machine on which these words are valid (boot.h); 0: unknown
//      200     8  position before which a full disk has cost the journal; 0: none
//      208     8  when, nanoseconds since 1970
//      216        zero up to 256
//      256     8  counts the steps of all who make a checkpoint: who doesn't count is stopped
//      264        zero up to 4096
//     4096        the writer's lock (lock_page.h), up to 8192
//
// The first 128 bytes never change. Positions only grow, and are multiples of 8.
#ifndef TARNBASE_RUNTIME_CONTROL_CONTROL_H
#define TARNBASE_RUNTIME_CONTROL_CONTROL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "runtime/control/lock_page.h"
#include "runtime/log/log.h"

namespace tarnbase::runtime {

inline constexpr const char *control_name = "control";
inline constexpr std::uint32_t control_format_version = 5;

struct ControlPage {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t byte_order;
    StoreId id;
    std::uint64_t base;
    std::uint64_t capacity;
    std::uint32_t crc;
    std::uint32_t reserved[19];
    std::atomic<std::uint64_t> published;
    std::atomic<std::uint64_t> checkpoint;
    std::atomic<std::uint32_t> waiters;
    std::uint32_t reserved_word;
    std::atomic<std::uint64_t> checked_image;
    std::atomic<std::uint64_t> change_time;
    std::atomic<std::uint64_t> journal_changes;
    std::atomic<std::uint64_t> durable;
    std::atomic<std::uint64_t> log_segment;
    std::atomic<std::uint64_t> boot;
    std::atomic<std::uint64_t> gap;
    std::atomic<std::uint64_t> gap_time;
    std::uint64_t more_reserved[5];
    // On a cache line of its own: the maker of a checkpoint changes it often.
    std::atomic<std::uint64_t> checkpoint_progress;
    std::uint64_t last_reserved[479];
    LockPage lock;
};
static_assert(sizeof(ControlPage) == 8192);
static_assert(offsetof(ControlPage, crc) == 48);
static_assert(offsetof(ControlPage, published) == 128);
static_assert(offsetof(ControlPage, journal_changes) == 168);
static_assert(offsetof(ControlPage, checkpoint_progress) == 256);
static_assert(offsetof(ControlPage, lock) == 4096);

// Where every process maps a store.
struct AddressRange {
    std::uint64_t base;
    std::uint64_t bytes;
};

// The mapped control file of a store.
class Control {
 public:
    Control() = default;
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;
    ~Control();

    // Creates the file in a new store's folder. Returns 0 or an errno number.
    std::uint32_t create(int folder, const StoreId &id, std::uint64_t base, std::uint64_t capacity);
    // Maps the file, to write if the process may, else to read. `path` is the store's, for
    // the error text. EINVAL: it is no store, damaged, or of another version or byte order.
    std::uint32_t open(int folder, const char *path);

    // The address range of the store in a folder. None: it is no store that this release can open.
    static std::optional<AddressRange> range_of(int folder);

    bool is_writable() const { return writable_; }
    ControlPage &page() const { return *page_; }

    // Makes the checkpoint of a position the newest. False: there is a newer one.
    bool set_checkpoint(std::uint64_t position);
    // Notes that the log is on the disk up to `position`.
    void set_durable(std::uint64_t position);
    // Publishes the log up to `position`, and wakes the processes that wait. No system call if
    // none does. The caller has the writer's lock.
    void publish(std::uint64_t position);
    // The frame that is published next is in the segment that begins there.
    void set_log_segment(std::uint64_t segment);
    // Waits until more than `position` is published. False: the time is over, or a signal was
    // handled. Negative: no limit.
    //
    // A process that may write is counted, and sleeps until it is woken. If the writer is killed
    // between publishing and waking, the next publication wakes it; without one it looks by itself
    // after at most as long as it has waited before, or 10 s. One that may not write can't
    // be counted, and looks every 10 ms. A count in a file that everyone may write isn't an
    // alternative: whoever cuts that file ends each process that has it mapped.
    bool wait(std::uint64_t position, std::int64_t milliseconds) const;

 private:
    std::uint32_t map(int descriptor, bool writable);

    ControlPage *page_ = nullptr;
    bool writable_ = false;
};

}  // namespace tarnbase::runtime

#endif
