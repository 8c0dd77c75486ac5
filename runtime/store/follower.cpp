// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/follower.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "runtime/base/error_text.h"

namespace tarnbase::runtime {

namespace {

// Where a process may not map the whole capacity twice, the second image has space for a store
// that has grown meanwhile.
constexpr std::uint64_t spare_bytes = 64ULL << 20;

}  // namespace

std::uint32_t Follower::fail_damaged(const char *what) const {
    return fail(EBADMSG,
                "%s: the log of the store is damaged at position %llu: %s. The store "
                "can be read as it was before",
                store_.path.c_str(), static_cast<unsigned long long>(position()), what);
}

std::uint32_t Follower::load_checkpoint() {
    ControlPage &control = store_.control.page();
    Checkpoint checkpoint;
    std::uint32_t error = ENOENT;
    for (int i = 0; error == ENOENT && i < most_attempts; ++i) {
        error = checkpoint.open(store_.folder.descriptor(), control.id, control.checkpoint.load());
    }
    if (error != 0) {
        return fail(
            error, "%s: the checkpoint of the store can't be used: %s", store_.path.c_str(),
            error == EBADMSG ? checkpoint.what().c_str() : std::strerror(static_cast<int>(error)));
    }
    const CheckpointHead &head = checkpoint.head();
    if (head.base != control.base || head.capacity != control.capacity) {
        return fail(EBADMSG, "%s: the checkpoint is for another address or capacity",
                    store_.path.c_str());
    }
    const std::uint64_t identity = checkpoint.identity();
    if (control.checked_image.load(std::memory_order_relaxed) != identity) {
        error = checkpoint.check_image();
        if (error != 0) {
            return fail(error, "%s: %s", store_.path.c_str(), checkpoint.what().c_str());
        }
        if (store_.control.is_writable()) {
            control.checked_image.store(identity, std::memory_order_relaxed);
        }
    }
    error = image_.load(checkpoint);
    if (error != 0) {
        return fail(
            error, "%s: cannot load the checkpoint: %s", store_.path.c_str(),
            error == EBADMSG ? checkpoint.what().c_str() : std::strerror(static_cast<int>(error)));
    }
    set_position(head.position);
    segment_ = head.segment;
    sequence_ = head.sequence;
    log_is_open_ = false;
    return 0;
}

std::uint32_t Follower::load() {
    for (int i = 0; i < most_attempts; ++i) {
        if (const std::uint32_t error = load_checkpoint()) return error;
        const std::uint32_t error = apply_published(published());
        if (error != ENOENT) return error;
    }
    return fail(ENOENT, "%s: a part of the log is missing", store_.path.c_str());
}

std::uint32_t Follower::load_second(std::uint64_t size) {
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
    if (const char *wrong = image_.apply(frame)) {
        // What was applied of the frame is dropped with the image.
        end_ = position();
        if (const std::uint32_t unusable = load()) return unusable;
        return fail_damaged(wrong);
    }
    set_position(log_.position());
    segment_ = log_.segment();
    sequence_ += 1;
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
    std::uint32_t error = apply_published(published());
    if (error == ENOENT) error = load();
    if (error != 0) return error;
    return position() < end_ ? 0 : fail_damaged("an operation can't be applied");
}

void Follower::advance(const LogWriter &log) {
    set_position(log.position());
    segment_ = log.segment();
    sequence_ += 1;
    if (log_is_open_) log_.skip_to(log, sequence_ + 1);
}

}  // namespace tarnbase::runtime
