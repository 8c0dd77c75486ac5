/* SPDX-License-Identifier: Apache-2.0 */
// An image that follows a store: it begins with the newest checkpoint and applies the frames
// that are published after it.
#ifndef TARNBASE_RUNTIME_STORE_FOLLOWER_H
#define TARNBASE_RUNTIME_STORE_FOLLOWER_H

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "runtime/control/control.h"
#include "runtime/log/log.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

// A store's folder, its control file, and its path for error texts.
struct StoreFolder {
    std::string path;
    File folder;
    Control control;
};

// Sees each frame of a replica.
class FrameObserver {
 public:
    virtual void before(std::span<const char> frame) = 0;  // checked, but not applied yet
    virtual void after() = 0;

 protected:
    FrameObserver() = default;
    FrameObserver(const FrameObserver &) = default;
    FrameObserver &operator=(const FrameObserver &) = default;
    ~FrameObserver() = default;
};

// Sequence numbers that no frame has: that of the newest one, and of the oldest checkpoint.
inline constexpr std::uint64_t newest_sequence = ~0ULL;
inline constexpr std::uint64_t oldest_sequence = ~0ULL - 1;

class Follower {
 public:
    // A newer checkpoint may replace one that is being read, but hardly this often in a row.
    static constexpr int most_attempts = 100;

    Follower(StoreFolder &store, Image &image) : store_(store), image_(image) {}

    // Loads the newest checkpoint and catches up. The image's region is mapped, with the
    // store's capacity. Returns 0, or sets the error text: EBADMSG a file is damaged; and errno
    // numbers of its files.
    std::uint32_t load();
    // Maps the region of a second image anywhere, and loads that, to copy it: the checkpoint is
    // checked even if one process has done so, since a page that was damaged after that would get
    // a right checksum in the copy. `size` is the store's, as far as it is known. Steps are counted
    // in `progress`, unless it is null.
    std::uint32_t load_second(std::uint64_t size, std::atomic<std::uint64_t> *progress);
    // Loads what the store was after the frame of that number, or of the oldest one that is left.
    // Errors as of `load`; EOVERFLOW the log doesn't reach back to it; EINVAL it isn't published.
    std::uint32_t load_at(std::uint64_t sequence);
    // Applies one frame. Errors as of `load`; ENODATA there is none; ENOENT it was removed from the
    // log. What `observer` throws leaves the image as it was before the frame, or after it.
    std::uint32_t step(FrameObserver &observer);
    // Applies what was published since. Errors as above: the image is as after the last good
    // frame.
    std::uint32_t catch_up();
    // Returns memory of the process to the system: if much of the image is its own, and there is a
    // newer checkpoint, that is mapped. No byte of the image changes. Looks once at each
    // checkpoint. Errors as above.
    std::uint32_t share_pages();

    // Whether `share_pages` has something to look at.
    bool has_other_checkpoint() const {
        return store_.control.page().checkpoint.load(std::memory_order_relaxed) != looked_at_;
    }

    // Any thread may call these two.
    bool is_current() const { return position() == published(); }
    std::uint64_t published() const {
        return store_.control.page().published.load(std::memory_order_acquire);
    }

    // The place of the next frame in the log, which any thread may read, the segment which contains
    // that place, and the number of the last frame applied.
    std::uint64_t position() const { return position_.load(std::memory_order_relaxed); }
    std::uint64_t segment() const { return segment_; }
    std::uint64_t sequence() const { return sequence_; }
    // The image's own change was published as the next frame.
    void advance(const LogWriter &log);

 private:
    std::uint32_t open_newest(Checkpoint &checkpoint);
    std::uint32_t open_with(std::uint64_t sequence, Checkpoint &checkpoint);
    std::uint32_t fail_checkpoint(std::uint32_t error, const Checkpoint &checkpoint) const;
    std::uint32_t check_address(const Checkpoint &checkpoint) const;
    std::uint32_t check_image(Checkpoint &checkpoint);
    std::uint32_t load_checkpoint();
    std::uint32_t load_image(Checkpoint &checkpoint);
    std::uint32_t apply_to(std::uint64_t sequence);
    // Applies frames up to `end_`. ENOENT: a newer checkpoint has replaced them.
    std::uint32_t apply_published(std::uint64_t published);
    std::uint32_t open_log();
    std::uint32_t apply_next(std::uint64_t published);
    std::uint32_t fail_log(std::uint32_t error) const;
    std::uint32_t fail_damaged(const char *what) const;

    StoreFolder &store_;
    Image &image_;
    LogReader log_;
    bool log_is_open_ = false;
    FrameObserver *observer_ = nullptr;
    void set_position(std::uint64_t position) {
        position_.store(position, std::memory_order_relaxed);
    }

    std::atomic<std::uint64_t> position_ = 0;
    std::uint64_t segment_ = 0;
    std::uint64_t sequence_ = 0;
    std::uint64_t end_ = ~0ULL;    // a frame here can't be applied
    std::uint64_t looked_at_ = 0;  // the position of the checkpoint that was loaded or looked at
    bool is_copied_ = false;       // the image, to other files
    std::atomic<std::uint64_t> *progress_ = nullptr;
};

}  // namespace tarnbase::runtime

#endif
