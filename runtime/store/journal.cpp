// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/journal_settings.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

std::uint32_t sync_file(int folder, const std::string &name) {
    const File file(::openat(folder, name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    // Files come and go.
    if (!file.is_open()) return errno == ENOENT ? 0 : error_number();
    return ::fsync(file.descriptor()) == 0 ? 0 : error_number();
}

// Nothing is ever written to `processes`, and whoever opens it again loses its locks.
std::vector<std::string> written_files(int folder) {
    std::vector<std::string> names{control_name, journal_name};
    for (const SegmentFile &each : list_segments(folder)) names.push_back(segment_name(each.first));
    for (const CheckpointEntry &each : list_checkpoints(folder)) {
        names.push_back(checkpoint_name(each.position));
    }
    // The files' names, and the store's.
    names.insert(names.end(), {".", ".."});
    return names;
}

}  // namespace

std::uint32_t sync_files(const StoreFolder &store) {
    const int folder = store.folder.descriptor();
    for (const std::string &name : written_files(folder)) {
        if (const std::uint32_t error = sync_file(folder, name)) {
            return fail(error, "%s: cannot write the store to the disk: %s", store.path.c_str(),
                        std::strerror(static_cast<int>(error)));
        }
    }
    return 0;
}

void describe_journal(const StoreFolder &store, kel_journal_description &description) {
    const int folder = store.folder.descriptor();
    const ControlPage &page = store.control.page();
    const std::uint64_t newest = page.checkpoint.load();
    description.end = page.published.load();
    description.durable = std::min(page.durable.load(), description.end);
    description.gap = page.gap.load();
    description.gap_time = page.gap_time.load();
    for (const SegmentFile &each : list_segments(folder)) description.bytes += each.disk_bytes;
    for (const CheckpointEntry &each : list_checkpoints(folder)) {
        if (each.position > newest) break;
        if (description.checkpoints++ == 0) {
            description.begin = each.position;
            description.begin_time = each.time;
        }
        if (each.position < newest) description.bytes += each.disk_bytes;
    }
}

kel_journal_compression describe_compression(const StoreFolder &store) {
    const int folder = store.folder.descriptor();
    kel_journal_compression found{};
    for (const SegmentFile &each : list_segments(folder)) {
        CompressedSegment segment;
        // Files come and go.
        if (each.is_plain || segment.open(folder, store.control.page().id, each.first) != 0) {
            continue;
        }
        ++found.segments;
        found.bytes += each.disk_bytes;
        found.plain_bytes += segment.segment_bytes();
    }
    return found;
}

}  // namespace tarnbase::runtime
