// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/follower.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/store/own_references.h"

namespace tarnbase::runtime {

namespace {

// If a process may not map the whole capacity twice, the second image has space for a store that
// has grown meanwhile.
constexpr std::uint64_t spare_bytes = 64ULL << 20;

// A process whose copy is so much older than the newest checkpoint loads that, if the log is kept
// or not.
constexpr std::uint64_t most_behind = 64ULL << 20;

// Returning less memory than this isn't worth the time.
constexpr std::uint64_t least_own_bytes = 1ULL << 20;

}  // namespace

std::uint32_t Follower::fail_damaged(const char *what) const {
    return fail(EBADMSG,
                "%s: the log of the store is damaged at position %llu: %s. The store "
                "can be read as it was before",
                store_.path.c_str(), static_cast<unsigned long long>(position()), what);
}

// Opens the newest checkpoint and checks it.
std::uint32_t Follower::open_newest(Checkpoint &checkpoint) {
    const ControlPage &control = store_.control.page();
    std::uint32_t error = ENOENT;
    for (int i = 0; error == ENOENT && i < most_attempts; ++i) {
        error = checkpoint.open(store_.folder.descriptor(), control.id, control.checkpoint.load());
    }
    if (error != 0) return fail_checkpoint(error, checkpoint);
    if (const std::uint32_t wrong = check_address(checkpoint)) return wrong;
    return check_image(checkpoint);
}

std::uint32_t Follower::fail_checkpoint(std::uint32_t error, const Checkpoint &checkpoint) const {
    return fail(
        error, "%s: the checkpoint of the store can't be used: %s", store_.path.c_str(),
        error == EBADMSG ? checkpoint.what().c_str() : std::strerror(static_cast<int>(error)));
}

std::uint32_t Follower::check_address(const Checkpoint &checkpoint) const {
    const ControlPage &control = store_.control.page();
    const CheckpointHead &head = checkpoint.head();
    if (head.base == control.base && head.capacity == control.capacity) return 0;
    return fail(EBADMSG, "%s: the checkpoint is for another address or capacity",
                store_.path.c_str());
}

// Opens the last checkpoint that has no frame after the one of that number, and checks it.
// ENOENT: it was removed meanwhile.
std::uint32_t Follower::open_with(std::uint64_t sequence, Checkpoint &checkpoint) {
    const StoreId &id = store_.control.page().id;
    std::vector<std::uint64_t> positions = checkpoint_positions(store_.folder.descriptor());
    if (sequence == oldest_sequence && !positions.empty()) {
        positions.erase(positions.begin() + 1, positions.end());
    }
    std::uint64_t first = 0;
    for (; !positions.empty(); positions.pop_back()) {
        const std::uint32_t error =
            checkpoint.open(store_.folder.descriptor(), id, positions.back());
        if (error == ENOENT) return error;
        if (error != 0) return fail_checkpoint(error, checkpoint);
        first = checkpoint.head().sequence;
        if (first > sequence) continue;
        if (const std::uint32_t wrong = check_address(checkpoint)) return wrong;
        if (checkpoint.check_image(progress_) == 0) return 0;
        return fail(EBADMSG, "%s: %s", store_.path.c_str(), checkpoint.what().c_str());
    }
    return fail(EOVERFLOW, "%s: the log of the store begins after transaction %llu",
                store_.path.c_str(), static_cast<unsigned long long>(first));
}

std::uint32_t Follower::check_image(Checkpoint &checkpoint) {
    std::atomic<std::uint64_t> &checked = store_.control.page().checked_image;
    const std::uint64_t identity = checkpoint.identity();
    const bool is_checked = checked.load(std::memory_order_relaxed) == identity;
    if (is_checked && !is_copied_) return 0;
    const std::uint32_t error = checkpoint.check_image(progress_);
    // If an image that was recorded as checked is damaged now, each process checks it again.
    if (store_.control.is_writable() && is_checked != (error == 0)) {
        checked.store(error == 0 ? identity : 0, std::memory_order_relaxed);
    }
    if (error == 0) return 0;
    return fail(error, "%s: %s", store_.path.c_str(), checkpoint.what().c_str());
}

std::uint32_t Follower::load_checkpoint() {
    Checkpoint checkpoint;
    const std::uint32_t error = open_newest(checkpoint);
    return error == 0 ? load_image(checkpoint) : error;
}

std::uint32_t Follower::load_image(Checkpoint &checkpoint) {
    const std::uint32_t error = image_.load(checkpoint);
    if (error != 0) {
        return fail(
            error, "%s: cannot load the checkpoint: %s", store_.path.c_str(),
            error == EBADMSG ? checkpoint.what().c_str() : std::strerror(static_cast<int>(error)));
    }
    const CheckpointHead &head = checkpoint.head();
    set_position(head.position);
    looked_at_ = head.position;
    segment_ = head.segment;
    sequence_ = head.sequence;
    log_is_open_ = false;
    return 0;
}

std::uint32_t Follower::load() {
    const OwnReferences references(image_);
    for (int i = 0; i < most_attempts; ++i) {
        if (const std::uint32_t error = load_checkpoint()) return error;
        const std::uint32_t error = apply_published(published());
        if (error == 0) references.restore(image_);
        if (error != ENOENT) return error;
    }
    return fail(ENOENT, "%s: a part of the log is missing", store_.path.c_str());
}

std::uint32_t Follower::load_at(std::uint64_t sequence) {
    if (sequence == newest_sequence) return load();
    for (int i = 0; i < most_attempts; ++i) {
        Checkpoint checkpoint;
        std::uint32_t error = open_with(sequence, checkpoint);
        if (error == 0) error = load_image(checkpoint);
        if (error == 0 && sequence != oldest_sequence) error = apply_to(sequence);
        if (error != ENOENT) return error;
    }
    return fail(ENOENT, "%s: a part of the log is missing", store_.path.c_str());
}

// Applies the frames up to the one of that number.
std::uint32_t Follower::apply_to(std::uint64_t sequence) {
    const std::uint64_t end = published();
    if (sequence_ == sequence) return 0;
    if (position() < end) {
        if (const std::uint32_t error = open_log()) return error;
    }
    while (sequence_ < sequence) {
        if (position() >= end) {
            return fail(EINVAL, "%s: the last transaction of the store is %llu",
                        store_.path.c_str(), static_cast<unsigned long long>(sequence_));
        }
        if (const std::uint32_t error = apply_next(end)) return error;
    }
    return 0;
}

std::uint32_t Follower::step(FrameObserver &observer) try {
    const std::uint64_t end = published();
    if (position() >= end_) return fail_damaged("an operation can't be applied");
    if (position() >= end) return ENODATA;
    if (!log_is_open_) {
        if (const std::uint32_t error = open_log()) return error;
    }
    observer_ = &observer;
    const std::uint32_t error = apply_next(end);
    observer_ = nullptr;
    return error;
} catch (...) {
    observer_ = nullptr;
    log_is_open_ = false;  // the reader may be after the frame already
    throw;
}

std::uint32_t Follower::load_second(std::uint64_t size, std::atomic<std::uint64_t> *progress) {
    is_copied_ = true;
    progress_ = progress;
    const std::uint64_t capacity = store_.control.page().capacity;
    const std::uint64_t front = std::min(size + spare_bytes, capacity);
    if (const std::uint32_t error = image_.region.map_front(nullptr, capacity, front)) {
        return fail(error, "%s: cannot map a second image: %s", store_.path.c_str(),
                    std::strerror(static_cast<int>(error)));
    }
    return load();
}

std::uint32_t Follower::open_log() {
    const std::uint32_t error = log_.open(store_.folder.descriptor(), store_.control.page().id,
                                          segment_, position(), sequence_ + 1);
    log_is_open_ = error == 0;
    return error == 0 ? 0 : fail_log(error);
}

// ENOENT isn't an error here: a newer checkpoint has replaced this part of the log.
std::uint32_t Follower::fail_log(std::uint32_t error) const {
    if (error == ENOENT) return error;
    if (error == EBADMSG) return fail_damaged(log_.what());
    return fail(error, "%s: cannot read the log: %s", store_.path.c_str(),
                std::strerror(static_cast<int>(error)));
}

std::uint32_t Follower::apply_next(std::uint64_t published) {
    std::span<const char> frame;
    const std::uint32_t error = log_.next(published, frame);
    if (error != 0) return fail_log(error);
    if (!image_.map_for(frame)) {
        log_is_open_ = false;
        return fail(ENOMEM, "%s: the process can't map more of the store", store_.path.c_str());
    }
    if (observer_ != nullptr) observer_->before(frame);
    if (const char *wrong = image_.apply(frame)) {
        // What was applied of the frame is dropped with the image.
        end_ = position();
        observer_ = nullptr;
        if (const std::uint32_t unusable = load()) return unusable;
        return fail_damaged(wrong);
    }
    set_position(log_.position());
    segment_ = log_.segment();
    sequence_ += 1;
    if (progress_ != nullptr) progress_->fetch_add(1, std::memory_order_relaxed);
    if (observer_ != nullptr) observer_->after();
    return 0;
}

std::uint32_t Follower::apply_published(std::uint64_t published) {
    if (position() >= std::min(published, end_)) return 0;
    if (!log_is_open_) {
        if (const std::uint32_t error = open_log()) return error;
    }
    while (position() < std::min(published, end_)) {
        if (const std::uint32_t error = apply_next(published)) return error;
    }
    return 0;
}

std::uint32_t Follower::catch_up() {
    const std::uint64_t checkpoint = store_.control.page().checkpoint.load();
    const bool is_far_behind = checkpoint > position() && checkpoint - position() > most_behind;
    std::uint32_t error = is_far_behind ? std::uint32_t{ENOENT} : apply_published(published());
    if (error == ENOENT) error = load();
    if (error != 0) return error;
    return position() < end_ ? 0 : fail_damaged("an operation can't be applied");
}

std::uint32_t Follower::share_pages() try {
    const std::uint64_t newest = store_.control.page().checkpoint.load();
    if (newest == looked_at_) return 0;
    looked_at_ = newest;
    const std::uint64_t least = std::max(least_own_bytes, image_.bytes().size() / 4);
    UnsharedPages own;
    if (image_.bytes().size() < least || find_unshared_pages(image_.bytes(), own) != 0) return 0;
    if (own.bytes() < least) return 0;
    Checkpoint checkpoint;
    if (open_newest(checkpoint) != 0 || checkpoint.head().position > position()) return 0;
    const std::uint32_t error = image_.remap(checkpoint, std::move(own));
    return error == 0 || error == EAGAIN ? 0 : load();
} catch (const std::bad_alloc &) {
    return 0;  // Without memory nothing was mapped.
}

void Follower::advance(const LogWriter &log) {
    set_position(log.position());
    segment_ = log.segment();
    sequence_ += 1;
    if (log_is_open_) log_.skip_to(log, sequence_ + 1);
}

}  // namespace tarnbase::runtime
