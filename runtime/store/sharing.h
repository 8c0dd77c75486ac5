/* SPDX-License-Identifier: Apache-2.0 */
// What an open store shares with other processes: it follows their commits, and publishes its own
// while it has the writer's lock. A private store has no such part.
#ifndef TARNBASE_RUNTIME_STORE_SHARING_H
#define TARNBASE_RUNTIME_STORE_SHARING_H

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include "runtime/control/writer_lock.h"
#include "runtime/store/changes.h"
#include "runtime/store/checkpointer.h"
#include "runtime/store/flusher.h"
#include "runtime/store/follower.h"
#include "runtime/store/reading_scopes.h"
#include "runtime/store/signature.h"
#include "runtime/store/undo_log.h"
#include "tarnbase/journal.h"

namespace tarnbase::runtime {

class Sharing {
 public:
    // The scopes guard the image, and live longer. The worker is stopped before the destructor.
    Sharing(Image &image, ReadingScopes &scopes, Worker *worker)
        : image_(image),
          scopes_(scopes),
          follower_(folder_, image),
          log_(worker),
          flusher_(folder_, lock_),
          checkpointer_(folder_, lock_) {}
    Sharing(const Sharing &) = delete;
    Sharing &operator=(const Sharing &) = delete;
    ~Sharing();

    // Opens the files of a store. The image's region is mapped after that.
    std::uint32_t open(const char *path, File folder);
    // Registers the process as one that may write, if it may, and loads the image.
    std::uint32_t load();

    StoreFolder &folder() { return folder_; }
    const Follower &follower() const { return follower_; }

    // Loads the image of a replica, which `advance` and `skip` alone change. Errors as of
    // Follower::load_at.
    std::uint32_t load_replica(std::uint64_t sequence);
    // Applies the next frame, as Follower::step.
    std::uint32_t advance(FrameObserver &observer);
    // Loads the newest image in place of the replica's.
    std::uint32_t skip();
    // Whether all segments of the log that are made ahead are ready.
    bool has_next_segments() const { return log_.has_next_segments(); }
    bool is_replica() const { return is_replica_; }
    // Whether this process may become the writer.
    bool may_write() const { return folder_.control.is_writable() && !is_replica_; }

    // Whether this process may change the image: it has the writer's lock.
    bool is_writer() const { return lock_.is_held(); }
    // Takes the lock, keeps the reading scopes away and catches up. Returns 0 or sets the error
    // text: ETIMEDOUT another process has it, or other threads read; EACCES the store is open to
    // read; EPERM it was opened by the parent process.
    std::uint32_t become_writer();
    // Publishes what isn't published yet and releases the lock. Error: the changes were undone.
    std::uint32_t give_up_writing();
    // Catches up with other processes, in a change of its own. For a writer it does nothing. Any
    // thread that has no reading scope open may call it.
    std::uint32_t refresh();

    // Publishes the changes as one frame. Error, ENOSPC among them: nothing is published.
    std::uint32_t publish();
    // The same after a rollback that has restored all that was announced. Often that is nothing.
    std::uint32_t publish_undone();
    // Adds the label of a transaction to what is published next. Returns the labels before, for
    // `set_labels` if that fails.
    std::string add_label(const std::string &label);
    void set_labels(std::string labels) { labels_ = std::move(labels); }
    // Waits until what is published is on the disk, if the settings say so for a commit.
    std::uint32_t settle();
    // The same, whatever the settings are.
    std::uint32_t sync();
    ChangeSet &changes() { return changes_; }
    // Changes that no transaction will undo are waiting to be published.
    bool has_lasting_changes = false;

    // A change by a process that isn't the writer. It is undone before the next frame.
    void refuse_write(const void *address, std::uint64_t length);
    void refuse_block(const char *what);

    // Error: the parent process has opened the store.
    std::uint32_t check_not_inherited() const;

    // Whether no other process may write the store now.
    bool is_alone() const { return lock_.is_alone(); }
    // Whether a process has the lock, and which, as far as it is known.
    bool holder(Holder &holder) const;

    std::uint32_t make_checkpoint();
    // Begins one in the background if the log is long for what is in use.
    void checkpoint_if_due();
    // Sets the journal and the durability for all processes. Error: they may be set, but what was
    // committed before may not be as durable.
    std::uint32_t set_journal(const kel_journal_settings &settings);
    std::uint32_t describe_journal(kel_journal_description &description) const;
    // Makes the files as short as they can be. Errors: those of `become_writer` and
    // `make_checkpoint`.
    std::uint32_t compact();
    bool wait(std::int64_t milliseconds) const;
    std::int64_t lock_timeout = -1;  // milliseconds; negative: no limit

 private:
    using Build = void (ChangeSet::*)(FrameBuilder &, const Image &);

    std::uint32_t build_frame(Build build);
    std::uint32_t publish_built(Build build);
    std::uint32_t fail_locked();
    std::uint32_t check_may_write() const;
    void undo_refused();
    std::uint32_t load_settings();
    std::uint32_t append_built();
    std::uint32_t make_checkpoint_of_all();
    template <typename Action>
    std::uint32_t as_writer(Action action);
    std::uint32_t open_log();
    std::uint32_t catch_up_to_write();
    void begin_segment();

    Image &image_;
    bool is_replica_ = false;
    ReadingScopes &scopes_;
    StoreFolder folder_;
    WriterLock lock_;
    Follower follower_;
    LogWriter log_;
    bool log_is_open_ = false;
    ChangeSet changes_;
    FrameBuilder frame_;
    // The journal as this process has read it, and at which count of changes.
    kel_journal_settings settings_{};
    std::uint64_t settings_count_ = 0;
    // Of these settings, for any thread.
    std::atomic<std::uint32_t> durability_ = KEL_DURABILITY_PROCESS;
    std::atomic<std::uint32_t> interval_ = 0;
    Signature signature_;
    std::string labels_;  // of the transactions that are published next
    UndoLog refused_;
    std::atomic<bool> has_refused_ = false;
    Flusher flusher_;
    Checkpointer checkpointer_;
};

}  // namespace tarnbase::runtime

#endif
