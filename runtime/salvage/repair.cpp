// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/repair.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "runtime/base/announce.h"
#include "runtime/base/error_text.h"
#include "runtime/check/check.h"
#include "runtime/check/files.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/salvage/frames_left.h"
#include "runtime/store/store.h"
#include "runtime/tenant/counters.h"

namespace tarnbase::runtime {

namespace {

constexpr std::int64_t longest_wait = 1000;  // milliseconds, for another writer

struct CloseStore {
    void operator()(kel_store *store) const { kel_store_close(store); }
};
struct DestroyHandle {
    void operator()(kel_handle *handle) const { kel_handle_destroy(handle); }
};

// Replaces a checkpoint that can't be used by an older one.
class CheckpointRepair {
 public:
    std::uint32_t run(const char *path) {
        folder_ = File(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        // Whatever else is wrong is found when the store is opened.
        if (!folder_.is_open() || control_.open(folder_.descriptor(), path) != 0) return 0;
        std::uint64_t newest = control_.page().checkpoint.load();
        if (!control_.is_writable() || is_whole(newest)) return 0;
        const auto older = find_older(path);
        if (!older) return 0;
        WriterLock lock;
        if (lock.attach(folder_.descriptor(), control_.page().lock) != 0 ||
            !lock.try_lock_checkpoints()) {
            return fail(EBUSY, "%s: another process is making a checkpoint", path);
        }
        // Unless another process has made one meanwhile.
        control_.page().checkpoint.compare_exchange_strong(newest, *older);
        lock.unlock_checkpoints();
        return 0;
    }

 private:
    bool is_whole(std::uint64_t position) {
        return checkpoint_.open(folder_.descriptor(), control_.page().id, position) == 0 &&
               checkpoint_.check_image() == 0;
    }

    // Whether the log after the open checkpoint is whole.
    bool has_log() const {
        FramesLeft frames(folder_.descriptor(), checkpoint_.head());
        std::span<const char> frame;
        while (frames.position() < control_.page().published.load() && frames.next(frame)) {
        }
        return frames.position() == control_.page().published.load();
    }

    std::optional<std::uint64_t> find_older(const char *path) {
        std::optional<std::uint64_t> found;
        std::error_code ignored;
        for (const auto &entry : std::filesystem::directory_iterator(path, ignored)) {
            const auto file = parse_checkpoint_name(entry.path().filename().string());
            if (!file || file->is_working || (found && file->position < *found)) continue;
            if (is_whole(file->position) && has_log()) found = file->position;
        }
        return found;
    }

    File folder_;
    Control control_;
    Checkpoint checkpoint_;
};

// Mends what a check finds in the content of a store of which this process is the writer.
class ContentRepair {
 public:
    ContentRepair(kel_store &store, kel_handle *handle)
        : store_(store), log_{handle, KEL_TX_NONE} {}

    void run(kel_table_vector_lookup lookup) {
        Findings findings([](const char *) {});
        check_content(
            store_, lookup, findings, [](std::uint64_t) {}, mends_);
        mend_counts();
        // Memory that seems to be nobody's may be that of something damaged, or of another process.
        if (findings.count() == mends_.findings && store_.sharing->is_alone()) free_lost();
    }

 private:
    void mend_counts() {
        for (const Mends::Count &count : mends_.counts) log_.set(*count.place, count.value);
        for (const Mends::Uncounted &each : mends_.uncounted) {
            for (std::uint32_t i = 0; i < each.records; ++i) {
                count_record(log_.handle, log_.tx_id, each.table, each.tenant, each.source);
            }
        }
    }

    void free_lost() {
        for (const Mends::LostRecord &lost : mends_.lost_records) {
            std::uint32_t error = 0;
            lost.record->ref_count = 1;
            lost.vector.destroy_record(log_.handle, log_.tx_id, lost.record, &error);
        }
        for (const std::uint64_t offset : mends_.lost_blocks) {
            store_.release(KEL_TX_NONE, store_.region.base() + offset);
        }
    }

    kel_store &store_;
    WriteLog log_;
    Mends mends_;
};

// A page that is damaged only now would get a right checksum in a new checkpoint.
std::uint32_t check_files_before(const char *path, const kel_store &store) {
    std::string first;
    Findings findings([&](const char *text) {
        if (first.empty()) first = text;
    });
    check_files(store.sharing->folder(), store.sharing->follower(), findings);
    if (findings.count() == 0) return 0;
    return fail(EBADMSG, "%s: the store is damaged: %s", path, first.c_str());
}

}  // namespace

std::uint32_t repair_store(const char *path, kel_table_vector_lookup lookup) {
    if (const std::uint32_t error = CheckpointRepair().run(path)) return error;
    kel_store *opened = nullptr;
    if (const std::uint32_t error = kel_store_open(path, &opened)) return error;
    const std::unique_ptr<kel_store, CloseStore> store(opened);
    if (const std::uint32_t error = check_files_before(path, *store)) return error;
    kel_handle *made = nullptr;
    if (const std::uint32_t error = kel_handle_create(store.get(), 1, &made)) return error;
    const std::unique_ptr<kel_handle, DestroyHandle> handle(made);
    kel_store_set_lock_timeout(store.get(), longest_wait);
    if (const std::uint32_t error = kel_store_lock(store.get())) return error;
    if (lookup != nullptr) ContentRepair(*store, handle.get()).run(lookup);
    if (const std::uint32_t error = kel_store_unlock(store.get())) return error;
    return kel_store_compact(store.get());
}

}  // namespace tarnbase::runtime
