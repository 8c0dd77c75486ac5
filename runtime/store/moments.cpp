// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/moments.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/log/notes.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

namespace {

// How much earlier than now the kernel's time of a file may be: a tick of its clock.
constexpr std::uint64_t most_tick = 10'000'000;

// What the log says between a checkpoint and a time.
struct Passage {
    std::uint64_t last;  // the last frame committed until then; of the checkpoint, if there is none
    bool has_some = false;      // a frame that was committed until then
    bool has_unsigned = false;  // frames before the first one that says when it was committed
};

// Reads the frames after a checkpoint up to the first one that was committed after `time`. A frame
// that doesn't say when is as old as the next one that does. ENOENT: the log was removed.
std::uint32_t read_passage(const StoreFolder &store, const CheckpointHead &head, std::uint64_t time,
                           Passage &passage) {
    passage = {head.sequence};
    const ControlPage &page = store.control.page();
    const std::uint64_t published = page.published.load(std::memory_order_acquire);
    if (head.position >= published) return 0;
    LogReader log;
    std::uint32_t error = log.open(store.folder.descriptor(), page.id, head.segment, head.position,
                                   head.sequence + 1);
    bool has_signed = false;
    std::span<const char> frame;
    while (error == 0 && (error = log.next(published, frame)) == 0) {
        const std::optional<Author> author = read_author(frame);
        if (author && author->time > time) return 0;
        has_signed |= author.has_value();
        passage.has_unsigned |= !has_signed && frame.size() > sizeof(FrameHead);
        if (!author) continue;
        passage.has_some = true;
        passage.last = log.next_sequence() - 1;
    }
    if (error == ENODATA) return 0;
    if (error == EBADMSG)
        return fail(error, "%s: the log is damaged: %s", store.path.c_str(), log.what());
    return error;
}

// Looks for the newest checkpoint that is from before the time. ENOENT: one was removed meanwhile.
std::uint32_t find_sequence(const StoreFolder &store, std::uint64_t time, std::uint64_t &sequence) {
    const int folder = store.folder.descriptor();
    std::vector<CheckpointEntry> entries = list_checkpoints(folder);
    for (; !entries.empty(); entries.pop_back()) {
        Checkpoint checkpoint;
        std::uint32_t error =
            checkpoint.open(folder, store.control.page().id, entries.back().position);
        if (error == EBADMSG) {
            return fail(error, "%s: %s", store.path.c_str(), checkpoint.what().c_str());
        }
        Passage passage{};
        if (error == 0) error = read_passage(store, checkpoint.head(), time, passage);
        if (error != 0) return error;
        sequence = passage.last;
        if (passage.has_some) return 0;
        const bool is_oldest = entries.size() == 1;
        if (entries.back().time + (is_oldest ? 0 : most_tick) > time) continue;
        if (!passage.has_unsigned) return 0;
        return fail(ENODATA, "%s: the log doesn't say when its transactions were committed",
                    store.path.c_str());
    }
    return fail(EOVERFLOW, "%s: nothing is kept from that time", store.path.c_str());
}

}  // namespace

std::uint32_t sequence_at(const char *path, std::uint64_t time, std::uint64_t &sequence) {
    StoreFolder store;
    store.path = path;
    store.folder = File(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!store.folder.is_open()) {
        const int error = errno;
        return fail(static_cast<std::uint32_t>(error), "%s: %s", path, std::strerror(error));
    }
    if (const std::uint32_t error = store.control.open(store.folder.descriptor(), path)) {
        return error;
    }
    std::uint32_t error = ENOENT;
    for (int i = 0; error == ENOENT && i < Follower::most_attempts; ++i) {
        error = find_sequence(store, time, sequence);
    }
    if (error == 0 || error == EBADMSG || error == ENODATA || error == EOVERFLOW) return error;
    return fail(error, "%s: cannot read the log: %s", path, std::strerror(static_cast<int>(error)));
}

}  // namespace tarnbase::runtime
