// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/lenient_load.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "runtime/base/error_text.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/control/control.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"
#include "runtime/salvage/frames_left.h"

namespace tarnbase::runtime {

namespace {

// The id of the store that a checkpoint says it belongs to.
StoreId id_in(int folder, std::uint64_t position) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const File file(::openat(folder, checkpoint_name(position).c_str(), flags));
    CheckpointHead head{};
    if (file.is_open()) {
        read_fully(file.descriptor(), {reinterpret_cast<char *>(&head), sizeof head}, 0);
    }
    return head.id;
}

// The checksum that the difference of two texts of the same length makes, after a byte of it.
std::uint32_t difference_after(std::uint32_t difference, char byte) {
    return ~crc32c({&byte, 1}, ~difference);
}

// Finds the one bit that makes the checksum wrong, and puts it right. False: more is wrong.
bool mend_bit(std::span<char> page, std::uint32_t difference) {
    std::array<std::uint32_t, 8> bits;
    for (unsigned bit = 0; bit < bits.size(); ++bit) {
        bits[bit] = difference_after(0, static_cast<char>(1U << bit));
    }
    for (std::size_t at = page.size(); at-- > 0;) {
        for (unsigned bit = 0; bit < bits.size(); ++bit) {
            if (bits[bit] == difference) {
                page[at] = static_cast<char>(page[at] ^ 1 << bit);
                return true;
            }
            bits[bit] = difference_after(bits[bit], 0);
        }
    }
    return false;
}

}  // namespace

std::uint32_t LenientLoad::run() {
    folder_ = File(::open(path_, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder_.is_open()) {
        return fail(error_number(), "%s: %s", path_,
                    errno == ENOTDIR ? "not a store: it isn't a folder" : std::strerror(errno));
    }
    read_control();
    std::optional<Candidate> chosen = choose();
    if (!chosen) return fail(EBADMSG, "%s: no checkpoint of it can be read", path_);
    const CheckpointHead head = chosen->checkpoint.head();
    if (const std::uint32_t error = map(head)) return error;
    read_pages(chosen->checkpoint);
    if (!image_.adopt(reinterpret_cast<void *>(head.base), head.image_bytes)) {
        return fail(ENOMEM, "%s: the process can't map as much", path_);
    }
    apply_log(head);
    return 0;
}

void LenientLoad::read_control() {
    Control control;
    if (control.open(folder_.descriptor(), path_) != 0) {
        lost_(nullptr, 0, error_text());
        return;
    }
    id_ = control.page().id;
    published_ = control.page().published.load();
}

// The newest first.
std::vector<std::uint64_t> LenientLoad::checkpoints() const {
    std::vector<std::uint64_t> positions;
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(path_, ignored)) {
        const auto file = parse_checkpoint_name(entry.path().filename().string());
        if (file && !file->is_working) positions.push_back(file->position);
    }
    std::sort(positions.rbegin(), positions.rend());
    return positions;
}

std::optional<LenientLoad::Candidate> LenientLoad::open(std::uint64_t position) const {
    Candidate candidate;
    Checkpoint &checkpoint = candidate.checkpoint;
    const StoreId id = id_ ? *id_ : id_in(folder_.descriptor(), position);
    if (checkpoint.open(folder_.descriptor(), id, position) != 0) {
        lost_(nullptr, 0, "the checkpoint can't be used: " + checkpoint.what());
        return std::nullopt;
    }
    candidate.is_whole = checkpoint.check_image() == 0;
    return candidate;
}

// How far the log can be read after a checkpoint.
std::uint64_t LenientLoad::reach(const CheckpointHead &head) const {
    FramesLeft frames(folder_.descriptor(), head);
    std::span<const char> frame;
    while (frames.next(frame)) {
    }
    return frames.position();
}

std::optional<LenientLoad::Candidate> LenientLoad::choose() const {
    std::optional<Candidate> newest;
    for (const std::uint64_t position : checkpoints()) {
        std::optional<Candidate> candidate = open(position);
        if (!candidate) continue;
        const CheckpointHead &head = candidate->checkpoint.head();
        const bool is_enough =
            candidate->is_whole && (!newest || reach(head) >= newest->checkpoint.head().position);
        if (is_enough) return candidate;
        if (!newest) newest = std::move(candidate);
    }
    return newest;
}

std::uint32_t LenientLoad::map(const CheckpointHead &head) {
    void *base = reinterpret_cast<void *>(head.base);
    std::uint32_t error = image_.region.map_front(base, head.capacity, page_size);
    if (error == 0 && !image_.region.reach(head.image_bytes)) error = ENOMEM;
    if (error == 0) return 0;
    return fail(error, "%s: cannot map %llu bytes at %p: %s", path_,
                static_cast<unsigned long long>(head.capacity), base,
                error == EADDRINUSE ? "the addresses are taken in this process"
                                    : std::strerror(static_cast<int>(error)));
}

void LenientLoad::read_page(Checkpoint &checkpoint, std::uint64_t page, std::uint32_t checksum) {
    static_assert(image_page_bytes == page_size);
    const std::uint64_t at = page * image_page_bytes;
    std::vector<char> bytes(image_page_bytes);
    const std::uint32_t error =
        read_fully(checkpoint.descriptor(), bytes, checkpoint.head().image_offset + at);
    std::uint32_t found = crc32c(bytes);
    if (error == 0 && found != checksum && mend_bit(bytes, found ^ checksum)) found = checksum;
    // A page of zeros needs no memory.
    if (found != zero_page_checksum()) {
        std::memcpy(image_.region.base() + at, bytes.data(), bytes.size());
    }
    if (error == 0 && found == checksum) return;
    suspects_.add(at, image_page_bytes);
    lost_(nullptr, 0,
          checkpoint_name(checkpoint.head().position) + ": damaged: page " + std::to_string(page) +
              (error == 0 ? " doesn't match its checksum" : " can't be read"));
}

void LenientLoad::read_pages(Checkpoint &checkpoint) {
    std::vector<std::uint32_t> checksums(checkpoint.head().image_bytes / image_page_bytes);
    // They were right when the checkpoint was opened.
    read_fully(checkpoint.descriptor(),
               {reinterpret_cast<char *>(checksums.data()), checksums.size() * sizeof checksums[0]},
               table_offset);
    for (std::uint64_t page = 0; page < checksums.size(); ++page) {
        read_page(checkpoint, page, checksums[page]);
    }
}

// Applies what can be applied. Returns the number of operations that can't.
std::uint64_t LenientLoad::apply(std::span<const char> frame) {
    std::uint64_t refused = 0;
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        if (operation.offset < image_.region.capacity() && image_.apply(operation) == nullptr) {
            continue;
        }
        ++refused;
        if (operation.offset >= image_.region.capacity()) continue;
        const std::uint64_t length =
            std::max<std::uint64_t>({operation.bytes.size(), operation.block_size, 1});
        suspects_.add(operation.offset,
                      std::min(length, image_.region.capacity() - operation.offset));
    }
    return refused + (operations.damaged() ? 1 : 0);
}

void LenientLoad::apply_log(const CheckpointHead &head) {
    FramesLeft frames(folder_.descriptor(), head);
    const std::uint64_t end = published_.value_or(~0ULL);
    std::uint64_t refused = 0;
    std::span<const char> frame;
    std::uint64_t position = frames.position();
    while (position < end && frames.next(frame) && frames.position() <= end) {
        if (!image_.map_for(frame)) break;
        refused += apply(frame);
        position = frames.position();
    }
    if (refused != 0) {
        lost_(nullptr, 0,
              "the log: " + std::to_string(refused) +
                  " of its operations can't be applied: what they changed is lost");
    }
    if (published_ ? position >= end : frames.may_be_the_end()) return;
    lost_(nullptr, 0,
          "the log: it is damaged at position " + std::to_string(position) + ": " + frames.what() +
              ". What was committed after that is lost");
}

}  // namespace tarnbase::runtime
