// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/restart.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <span>

#include "runtime/base/boot.h"
#include "runtime/base/error_text.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/log/compression.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

// The end of the frames that follow one another.
struct LogEnd {
    std::uint64_t position;
    std::uint64_t segment;
    bool has_segment;  // the file of that name is a segment
};

class Restart {
 public:
    explicit Restart(StoreFolder &store) : store_(store) {}

    std::uint32_t run() {
        if (const std::uint32_t error = find_checkpoint()) return error;
        const LogEnd end = find_end();
        if (end.position < broken_) return fail_broken();
        if (const std::uint32_t error = cut(end)) return fail_cut(error);
        set_control(end);
        return 0;
    }

 private:
    int folder() const { return store_.folder.descriptor(); }
    const StoreId &id() const { return store_.control.page().id; }

    bool is_whole(std::uint64_t position) {
        if (checkpoint_.open(folder(), id(), position) != 0) return false;
        const ControlPage &page = store_.control.page();
        const CheckpointHead &head = checkpoint_.head();
        return head.base == page.base && head.capacity == page.capacity &&
               checkpoint_.check_image() == 0;
    }

    std::uint32_t find_checkpoint() {
        const std::vector<CheckpointEntry> all = list_checkpoints(folder());
        for (auto each = all.rbegin(); each != all.rend(); ++each) {
            if (is_whole(each->position)) return 0;
            broken_ = std::max(broken_, each->position);
            what_ = checkpoint_.what();
        }
        return fail_broken();
    }

    // What was before such a checkpoint can't be recovered without it.
    std::uint32_t fail_broken() const {
        return fail(EBADMSG, "%s: no checkpoint of the store is whole after a restart: %s",
                    store_.path.c_str(), what_.empty() ? "there is none" : what_.c_str());
    }

    LogEnd find_end() {
        constexpr std::uint64_t any = std::numeric_limits<std::uint64_t>::max();
        const CheckpointHead &head = checkpoint_.head();
        LogReader log;
        if (log.open(folder(), id(), head.segment, head.position, head.sequence + 1) != 0) {
            return {head.position, head.segment, false};
        }
        std::span<const char> frame;
        while (log.next(any, frame) == 0) {
        }
        return {log.position(), log.segment(), true};
    }

    // Removes what is after the end: a frame of the old log there could continue the new one.
    std::uint32_t cut(const LogEnd &end) {
        if (end.has_segment) {
            if (const auto error = restore_segment(folder(), id(), end.segment)) return error;
        }
        remove_later_segments(folder(), end.segment);
        for (const CheckpointEntry &each : list_checkpoints(folder())) {
            if (each.position > checkpoint_.head().position) {
                remove_checkpoint(folder(), each.position);
            }
        }
        remove_working_checkpoints(folder());
        const std::uint32_t error = end.has_segment ? clear(end) : replace(end);
        return error == 0 ? sync_segments(folder(), end.segment, end.position + 1) : error;
    }

    std::uint32_t clear(const LogEnd &end) {
        Segment segment;
        std::uint32_t error = segment.open(folder(), id(), end.segment, true);
        if (error != 0) return error;
        const std::span<char> rest = segment.from(end.position);
        error = segment.prepare(end.position, rest.size());
        if (error != 0) return error;
        std::ranges::fill(rest, '\0');
        return 0;
    }

    // The segment was never written to the disk, so nothing after the checkpoint was. The log
    // continues at its place in a new one.
    std::uint32_t replace(const LogEnd &end) {
        Segment segment;
        return segment.create(
            folder(), id(), end.segment,
            segment_head_bytes + end.position - end.segment + first_segment_bytes);
    }

    std::uint32_t fail_cut(std::uint32_t error) const {
        return fail(error, "%s: the log can't be recovered after a restart: %s",
                    store_.path.c_str(), std::strerror(static_cast<int>(error)));
    }

    void set_control(const LogEnd &end) {
        ControlPage &page = store_.control.page();
        page.checked_image.store(checkpoint_.identity());
        page.waiters.store(0);
        page.checkpoint.store(checkpoint_.head().position);
        page.published.store(end.position);
        page.log_segment.store(end.segment);
        page.durable.store(end.position);
    }

    StoreFolder &store_;
    Checkpoint checkpoint_;
    std::uint64_t broken_ = 0;  // position of the newest checkpoint that isn't whole
    std::string what_;          // what is wrong with one
};

}  // namespace

std::uint32_t recover_after_restart(StoreFolder &store, WriterLock &lock) {
    const std::optional<std::uint64_t> boot = boot_number();
    std::atomic<std::uint64_t> &word = store.control.page().boot;
    if (!boot || word.load() == *boot) return 0;
    // Made by a release that didn't note it: nothing is known of a restart.
    std::uint64_t unknown = 0;
    if (word.compare_exchange_strong(unknown, *boot)) return 0;
    if (const std::uint32_t error = lock.acquire(-1)) {
        return fail(error, "%s: %s", store.path.c_str(), std::strerror(static_cast<int>(error)));
    }
    std::uint32_t error = 0;
    if (word.load() != *boot) error = Restart(store).run();
    // The last step: one that is killed before it leaves the work to the next.
    if (error == 0) word.store(*boot);
    lock.release();
    return error;
}

}  // namespace tarnbase::runtime
