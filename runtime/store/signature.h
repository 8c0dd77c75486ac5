/* SPDX-License-Identifier: Apache-2.0 */
// What a process notes of itself in the frames of a store with a journal (log/notes.h).
#ifndef TARNBASE_RUNTIME_STORE_SIGNATURE_H
#define TARNBASE_RUNTIME_STORE_SIGNATURE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/log/log.h"
#include "runtime/log/notes.h"

namespace tarnbase::runtime {

class Signature {
 public:
    // Notes the author in an empty frame.
    void add_author(FrameBuilder &frame, std::uint64_t sequence);
    // Completes a frame that is about to be appended: notes the label, and the session if this is
    // its first frame in a segment.
    void complete(FrameBuilder &frame, const LogWriter &log, std::string_view label);
    // The frame was published.
    void published(const LogWriter &log);

 private:
    void read_process();

    std::optional<std::string> command_;  // none: the process wasn't looked at
    std::uint32_t pid_ = 0;
    std::uint32_t uid_ = 0;
    std::uint64_t session_ = 0;             // 0: nothing was published yet
    std::uint64_t next_session_ = 0;        // of the frame that is being made
    std::optional<std::uint64_t> segment_;  // the last one that contains the session's note
    bool has_session_note_ = false;         // the frame that is being made
};

}  // namespace tarnbase::runtime

#endif
