// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/sharing.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <thread>

#include "runtime/base/clock.h"
#include "runtime/base/error_text.h"
#include "runtime/control/futex.h"
#include "runtime/control/journal_settings.h"
#include "runtime/store/journal.h"
#include "runtime/store/record_block.h"
#include "runtime/store/restart.h"
#include "runtime/store/retention.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

// A checkpoint is due when the log after the last one has this many bytes, or a quarter of the
// blocks' bytes if that is more.
constexpr std::uint64_t least_log = 1ULL << 20;

// One is urgent when the log has this many bytes more than four times the blocks' bytes.
constexpr std::uint64_t most_log = 64ULL << 20;

// Ends a change that has begun.
class Change {
 public:
    explicit Change(ReadingScopes &scopes) : scopes_(scopes) {}
    Change(const Change &) = delete;
    Change &operator=(const Change &) = delete;
    ~Change() { scopes_.end_change(); }

 private:
    ReadingScopes &scopes_;
};

}  // namespace

Sharing::~Sharing() {
    if (lock_.is_inherited()) {
        checkpointer_.forget_thread();
        flusher_.forget_thread();
        return;
    }
    if (is_writer()) give_up_writing();
    if (durability_ != KEL_DURABILITY_PROCESS && log_is_open_) sync();
    if (!log_is_open_) return;
    // A checkpoint that is being made may be of a much earlier position.
    checkpointer_.wait();
    checkpoint_if_due();
}

std::uint32_t Sharing::open(const char *path, File folder) {
    folder_.path = path;
    folder_.folder = std::move(folder);
    return folder_.control.open(folder_.folder.descriptor(), path);
}

std::uint32_t Sharing::load() {
    if (folder_.control.is_writable()) {
        const std::uint32_t error =
            lock_.attach(folder_.folder.descriptor(), folder_.control.page().lock);
        if (error != 0) {
            return fail(error, "%s: cannot register the process: %s", folder_.path.c_str(),
                        std::strerror(static_cast<int>(error)));
        }
        if (const auto failed = recover_after_restart(folder_, lock_)) return failed;
    }
    if (const std::uint32_t error = load_settings()) return error;
    return follower_.load();
}

std::uint32_t Sharing::load_replica(std::uint64_t sequence) {
    is_replica_ = true;
    return follower_.load_at(sequence);
}

std::uint32_t Sharing::advance(FrameObserver &observer) {
    const bool is_current = follower_.is_current();
    if (is_current && !follower_.has_other_checkpoint() && !has_refused_.load()) return ENODATA;
    while (!scopes_.begin_change_or_wait()) {
    }
    const Change change(scopes_);
    undo_refused();
    if (!is_current) return follower_.step(observer);
    const std::uint32_t error = follower_.share_pages();
    return error == 0 ? ENODATA : error;
}

std::uint32_t Sharing::skip() {
    while (!scopes_.begin_change_or_wait()) {
    }
    const Change change(scopes_);
    undo_refused();
    return follower_.load();
}

// What is counted after the file is read may be the count of an older one: then it is read again.
std::uint32_t Sharing::load_settings() {
    const ControlPage &page = folder_.control.page();
    settings_count_ = page.journal_changes.load();
    const std::uint32_t error =
        load_journal_settings(folder_.folder.descriptor(), page.id, settings_);
    durability_ = settings_.durability;
    interval_ = settings_.interval;
    if (error == 0) return 0;
    return fail(error, "%s: the settings of the journal can't be read: %s", folder_.path.c_str(),
                std::strerror(static_cast<int>(error)));
}

std::uint32_t Sharing::check_may_write() const {
    if (is_replica_) {
        return fail(EACCES, "%s: a replica of the store is open to read only",
                    folder_.path.c_str());
    }
    if (!folder_.control.is_writable()) {
        return fail(EACCES, "%s: the store is open to read only", folder_.path.c_str());
    }
    return check_not_inherited();
}

std::uint32_t Sharing::check_not_inherited() const {
    if (!lock_.is_inherited()) return 0;
    return fail(EPERM, "%s: the store was opened by the parent process", folder_.path.c_str());
}

std::uint32_t Sharing::become_writer() {
    if (const std::uint32_t error = check_may_write()) return error;
    if (const std::uint32_t error = lock_.acquire(lock_timeout)) {
        return error == ETIMEDOUT ? fail_locked() : error;
    }
    std::uint32_t error = 0;
    if (!scopes_.begin_change(lock_timeout)) {
        error = fail(ETIMEDOUT, "%s: other threads of this process read the store",
                     folder_.path.c_str());
    } else if ((error = catch_up_to_write()) != 0) {
        scopes_.end_change();
    }
    if (error != 0) lock_.release();
    return error;
}

std::uint32_t Sharing::catch_up_to_write() {
    undo_refused();
    if (folder_.control.page().journal_changes.load(std::memory_order_relaxed) != settings_count_) {
        if (const std::uint32_t error = load_settings()) return error;
    }
    if (!follower_.is_current()) {
        if (const std::uint32_t error = follower_.catch_up()) return error;
    }
    return log_is_open_ && log_.position() == follower_.position() ? 0 : open_log();
}

std::uint32_t Sharing::open_log() {
    const std::uint32_t error = log_.open(folder_.folder.descriptor(), folder_.control.page().id,
                                          follower_.segment(), follower_.position());
    log_is_open_ = error == 0;
    if (error == 0) return 0;
    return fail(error, "%s: cannot write the log: %s", folder_.path.c_str(),
                std::strerror(static_cast<int>(error)));
}

void Sharing::undo_refused() {
    if (!has_refused_.load()) return;
    refused_.roll_back([](void *) {});
    has_refused_.store(false);
}

bool Sharing::holder(Holder &holder) const {
    if (may_write() && !lock_.is_inherited()) return lock_.holder(holder);
    return WriterLock::shown_holder(folder_.control.page().lock, holder);
}

std::uint32_t Sharing::fail_locked() {
    Holder holder{};
    const std::string who = lock_.holder(holder) ? holder_text(holder) : "it was just released";
    return fail(ETIMEDOUT, "%s: another process is the writer: %s", folder_.path.c_str(),
                who.c_str());
}

std::uint32_t Sharing::give_up_writing() {
    std::uint32_t error = changes_.is_empty() ? 0 : publish();
    if (!has_lasting_changes) {
        error = 0;  // nothing that was announced is lost
    } else if (error != 0) {
        ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): changes are lost: %s", error_text());
        has_lasting_changes = false;
        changes_.clear();
        follower_.load();
    }
    checkpoint_if_due();
    lock_.release();
    scopes_.end_change();
    return error;
}

std::uint32_t Sharing::refresh() {
    if (is_writer() || is_replica_) return 0;
    if (const std::uint32_t error = check_not_inherited()) return error;
    // What is published later is left to the next call.
    const std::uint64_t published = follower_.published();
    while (has_refused_.load() || follower_.position() < published) {
        if (!scopes_.begin_change_or_wait()) continue;
        const Change change(scopes_);
        undo_refused();
        std::uint32_t error = follower_.is_current() ? 0 : follower_.catch_up();
        if (error == 0) error = follower_.share_pages();
        if (error != 0) return error;
    }
    return 0;
}

std::uint32_t Sharing::build_frame(Build build) {
    if (changes_.is_incomplete()) return ENOMEM;
    try {
        frame_.clear();
        if (settings_.enabled != 0) signature_.add_author(frame_, follower_.sequence() + 1);
        (changes_.*build)(frame_, image_);
        if (frame_.is_empty()) return 0;
        if (settings_.enabled != 0) signature_.complete(frame_, log_, labels_);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    return frame_.length() > most_frame_bytes ? EFBIG : 0;
}

// On a full disk the history goes, if the settings say so.
std::uint32_t Sharing::append_built() {
    const std::span<const char> frame = frame_.finish(follower_.sequence() + 1);
    log_.set_store_size(image_.header->arena.block_bytes);
    const std::uint32_t error = log_.append(frame);
    const bool may_give_up = error == ENOSPC && settings_.full_disk == KEL_FULL_DISK_GAP;
    return may_give_up && give_up_history(folder_) ? log_.append(frame) : error;
}

std::uint32_t Sharing::publish_built(Build build) {
    std::uint32_t error = build_frame(build);
    const bool is_empty = error == 0 && frame_.is_empty();
    if (error == 0 && !is_empty) error = append_built();
    if (error != 0) {
        return fail(error, "%s: cannot write %llu bytes to the log: %s", folder_.path.c_str(),
                    static_cast<unsigned long long>(frame_.length()),
                    std::strerror(static_cast<int>(error)));
    }
    changes_.clear();
    has_lasting_changes = false;
    if (is_empty) return 0;
    signature_.published(log_);
    labels_.clear();
    follower_.advance(log_);
    folder_.control.page().change_time.store(coarse_time(), std::memory_order_relaxed);
    folder_.control.set_log_segment(log_.segment());
    folder_.control.publish(log_.position());
    // A checkpoint can't remove the segment in which it ends. A failure leaves it as it is.
    if (log_.has_long_segment()) begin_segment();
    return 0;
}

std::uint32_t Sharing::publish() { return publish_built(&ChangeSet::build); }

std::uint32_t Sharing::publish_undone() { return publish_built(&ChangeSet::build_undone); }

// Publishes an empty frame in a new segment.
void Sharing::begin_segment() try {
    frame_.clear();
    if (log_.append_to_new(frame_.finish(follower_.sequence() + 1)) != 0) return;
    follower_.advance(log_);
    folder_.control.set_log_segment(log_.segment());
    folder_.control.publish(log_.position());
} catch (const std::bad_alloc &) {
}

void Sharing::checkpoint_if_due() {
    const std::uint64_t log = follower_.position() - folder_.control.page().checkpoint.load();
    const std::uint64_t blocks = image_.header->arena.block_bytes;
    if (log <= std::max(least_log, blocks / 4)) return;
    checkpointer_.start(image_.header->arena.size, log > most_log + 4 * blocks);
}

std::uint32_t Sharing::make_checkpoint() {
    if (const std::uint32_t error = check_may_write()) return error;
    return checkpointer_.make(image_.header->arena.size);
}

// One that another process is making may be of a position before this call.
std::uint32_t Sharing::make_checkpoint_of_all() {
    checkpointer_.wait();
    Deadline deadline(lock_timeout);
    std::uint32_t error = checkpointer_.make(image_.header->arena.size);
    while (error == EBUSY && !deadline.is_over()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        error = checkpointer_.make(image_.header->arena.size);
    }
    return error;
}

// Calls `action` as the writer. Returns its result, or why this process can't be the writer.
template <typename Action>
std::uint32_t Sharing::as_writer(Action action) {
    const bool was_writer = is_writer();
    if (!was_writer) {
        if (const std::uint32_t error = become_writer()) return error;
    }
    const std::uint32_t error = action();
    const std::uint32_t unpublished = was_writer ? 0 : give_up_writing();
    return error != 0 ? error : unpublished;
}

std::uint32_t Sharing::compact() {
    const std::uint32_t error = as_writer([&]() -> std::uint32_t {
        begin_segment();
        return 0;
    });
    return error != 0 ? error : make_checkpoint_of_all();
}

std::string Sharing::add_label(const std::string &label) {
    std::string before = labels_;
    if (settings_.enabled == 0 || label.empty()) return before;
    if (!labels_.empty()) labels_ += "; ";
    labels_ += label;
    return before;
}

std::uint32_t Sharing::settle() {
    const std::uint64_t position = follower_.position();
    const std::uint32_t durability = durability_.load(std::memory_order_relaxed);
    if (durability == KEL_DURABILITY_PROCESS ||
        folder_.control.page().durable.load(std::memory_order_relaxed) >= position) {
        return 0;
    }
    if (durability == KEL_DURABILITY_COMMIT) return flusher_.flush(position);
    flusher_.flush_within(interval_.load(std::memory_order_relaxed));
    return 0;
}

std::uint32_t Sharing::sync() {
    if (const std::uint32_t error = check_may_write()) return error;
    return flusher_.flush(follower_.published());
}

// A checkpoint that begins after the count was changed is made durable, and one that began before
// is of an older position.
std::uint32_t Sharing::set_journal(const kel_journal_settings &settings) {
    ControlPage &page = folder_.control.page();
    std::uint32_t error = as_writer([&]() -> std::uint32_t {
        const std::uint32_t stored =
            store_journal_settings(folder_.folder.descriptor(), page.id, settings);
        if (stored == 0) {
            page.journal_changes.fetch_add(1);
            return load_settings();
        }
        return fail(stored, "%s: the settings of the journal can't be written: %s",
                    folder_.path.c_str(), std::strerror(static_cast<int>(stored)));
    });
    const std::uint64_t published = follower_.published();
    if (error == 0) error = make_checkpoint_of_all();
    if (error != 0 || settings.durability == KEL_DURABILITY_PROCESS) return error;
    error = sync_files(folder_);
    if (error == 0) folder_.control.set_durable(published);
    return error;
}

std::uint32_t Sharing::describe_journal(kel_journal_description &description) const {
    const auto &page = folder_.control.page();
    if (const auto error =
            load_journal_settings(folder_.folder.descriptor(), page.id, description.settings)) {
        return fail(error, "%s: the settings of the journal can't be read: %s",
                    folder_.path.c_str(), std::strerror(static_cast<int>(error)));
    }
    runtime::describe_journal(folder_, description);
    return 0;
}

bool Sharing::wait(std::int64_t milliseconds) const {
    return folder_.control.wait(follower_.position(), milliseconds);
}

void Sharing::refuse_write(const void *address, std::uint64_t length) {
    const std::uint64_t offset = image_.offset_of(address);
    const auto block = image_.allocator.find(offset);
    // References belong to the process.
    if (block && length == sizeof(std::uint32_t) && is_record(image_, *block) &&
        offset == block->offset + offsetof(kel_record, ref_count)) {
        return;
    }
    refused_.old_bytes(address, length);
    has_refused_.store(true);
    refuse_block("a change");
}

void Sharing::refuse_block(const char *what) {
    fail(EPERM, "%s: %s outside of a transaction, and the process isn't the writer",
         folder_.path.c_str(), what);
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", error_text());
}

}  // namespace tarnbase::runtime
