// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/files.h"

#include <cerrno>
#include <cstring>

#include "runtime/checkpoint/checkpoint.h"
#include "runtime/log/frame.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

void add_error(Findings &findings, const char *where, std::uint32_t error,
               const std::string &what) {
    findings.add(where, "%s",
                 error == EBADMSG || error == EINVAL ? what.c_str()
                                                     : std::strerror(static_cast<int>(error)));
}

// Reads the log from a checkpoint on. ENOENT: a newer one has replaced a part of it.
std::uint32_t check_log(const StoreFolder &store, const CheckpointHead &head,
                        std::uint64_t published, Findings &findings) {
    LogReader log;
    std::uint32_t error = log.open(store.folder.descriptor(), head.id, head.segment, head.position,
                                   head.sequence + 1);
    while (error == 0 && log.position() < published) {
        std::span<const char> frame;
        const std::uint64_t position = log.position();
        error = log.next(published, frame);
        if (error != 0) break;
        OperationReader operations(frame);
        Operation operation;
        while (operations.next(operation)) {
            if (operation.offset < head.capacity) continue;
            findings.add("the log", "the frame at position %llu has an offset outside of the store",
                         static_cast<Number>(position));
        }
        if (!operations.damaged()) continue;
        findings.add("the log", "the frame at position %llu has a damaged operation",
                     static_cast<Number>(position));
    }
    if (error == 0 || error == ENOENT) return error;
    add_error(findings, "the log", error,
              "it is damaged at position " + std::to_string(log.position()) + ": " + log.what());
    return 0;
}

// ENOENT as above.
std::uint32_t check_once(const StoreFolder &store, Findings &findings) {
    const ControlPage &control = store.control.page();
    const std::uint64_t position = control.checkpoint.load();
    Checkpoint checkpoint;
    std::uint32_t error = checkpoint.open(store.folder.descriptor(), control.id, position);
    if (error == 0) error = checkpoint.check_image();
    if (error == ENOENT) return error;
    if (error != 0) {
        add_error(findings, "the checkpoint", error, checkpoint.what());
        return 0;
    }
    const CheckpointHead &head = checkpoint.head();
    if (head.base != control.base || head.capacity != control.capacity) {
        findings.add("the checkpoint", "it is for another address or capacity");
        return 0;
    }
    return check_log(store, head, control.published.load(), findings);
}

}  // namespace

void check_files(const StoreFolder &store, const Follower &follower, Findings &findings) {
    const ControlPage &control = store.control.page();
    const std::uint64_t checkpoint = control.checkpoint.load();
    const std::uint64_t published = control.published.load();
    if (checkpoint > published || follower.position() > published || published % 8 != 0) {
        findings.add("the control file",
                     "it has published %llu bytes of the log, but a checkpoint "
                     "of %llu, and %llu were read",
                     static_cast<Number>(published), static_cast<Number>(checkpoint),
                     static_cast<Number>(follower.position()));
    }
    for (int i = 0; i < Follower::most_attempts; ++i) {
        if (check_once(store, findings) == 0) return;
    }
    findings.add("the store", "its checkpoint or a part of its log is missing");
}

}  // namespace tarnbase::runtime
