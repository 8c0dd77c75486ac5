// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/flusher.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <exception>

#include "runtime/base/error_text.h"
#include "runtime/base/file_io.h"
#include "runtime/base/signals_blocked.h"
#include "runtime/control/futex.h"
#include "runtime/log/segment_files.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

constexpr std::chrono::hours long_time{1};

}  // namespace

std::uint32_t flush_log(StoreFolder &store, std::uint64_t position) {
    const std::uint64_t durable = store.control.page().durable.load();
    if (durable >= position) return 0;
    const std::uint32_t error = sync_segments(store.folder.descriptor(), durable, position);
    if (error == 0) store.control.set_durable(position);
    return error;
}

Flusher::~Flusher() {
    if (thread_ == nullptr) return;
    state_.store(ended);
    futex_wake(state_, 1);
    thread_->join();
}

void Flusher::forget_thread() { static_cast<void>(thread_.release()); }

// Who comes while another one flushes finds its position flushed, or flushes for all who came
// since.
std::uint32_t Flusher::flush(std::uint64_t position) {
    const std::atomic<std::uint64_t> &durable = store_.control.page().durable;
    if (durable.load() >= position) return 0;
    const std::lock_guard guard(mutex_);
    if (durable.load() >= position) return 0;
    std::uint32_t error = lock_.lock_flushes() ? 0 : EIO;
    if (error == 0) {
        if (durable.load() < position) error = flush_published();
        lock_.unlock_flushes();
    }
    if (error == 0) return 0;
    return fail(error, "%s: what was committed may not be on the disk: %s", store_.path.c_str(),
                std::strerror(static_cast<int>(error)));
}

std::uint32_t Flusher::flush_published() {
    const ControlPage &page = store_.control.page();
    const std::uint64_t durable = page.durable.load();
    const std::uint64_t position = page.published.load();
    // Stored before the position, so it may be that of a later one.
    const std::uint64_t segment = page.log_segment.load();
    if (durable <= segment || segment >= position) return flush_log(store_, position);
    std::uint32_t error = flush_segment(segment);
    if (error == ENOENT) error = sync_segments(store_.folder.descriptor(), durable, position);
    if (error == 0) store_.control.set_durable(position);
    return error;
}

// Its name is on the disk.
std::uint32_t Flusher::flush_segment(std::uint64_t first) {
    if (!segment_.is_open() || first_ != first) {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        segment_ = File(::openat(store_.folder.descriptor(), segment_name(first).c_str(), flags));
        if (!segment_.is_open()) return error_number();
        first_ = first;
    }
    return ::fdatasync(segment_.descriptor()) == 0 ? 0 : error_number();
}

void Flusher::flush_within(std::uint32_t milliseconds) {
    interval_.store(milliseconds);
    std::uint64_t before = idle;
    if (!state_.compare_exchange_strong(before, due)) return;
    const std::lock_guard guard(thread_mutex_);
    if (thread_ != nullptr) {
        futex_wake(state_, 1);
        return;
    }
    const SignalsBlocked blocked;
    try {
        thread_ = std::make_unique<std::thread>([this] { run(); });
    } catch (const std::exception &) {
        state_.store(idle);  // No thread can be made now: a later commit tries again.
    }
}

void Flusher::run() {
    using Clock = std::chrono::steady_clock;
    while (state_.load() != ended) {
        if (state_.load() == idle) {
            futex_sleep(state_, idle, long_time);
            continue;
        }
        const auto end = Clock::now() + std::chrono::milliseconds(interval_.load());
        for (auto left = end - Clock::now(); state_.load() == due && left.count() > 0;
             left = end - Clock::now()) {
            futex_sleep(state_, due, left);
        }
        // A commit from now on needs another flush.
        std::uint64_t before = due;
        if (!state_.compare_exchange_strong(before, idle)) return;
        if (flush(store_.control.page().published.load()) != 0) {
            ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", error_text());
        }
    }
}

}  // namespace tarnbase::runtime
