/* SPDX-License-Identifier: Apache-2.0 */
// Notes: what the frames of a store with a journal say about a transaction besides its changes.
// The kind of a note is the offset of its operation (frame.h); unknown kinds are skipped.
//
//   kind                    content
//   1 author            0     8  time of day, nanoseconds since 1970
//                       8     8  CLOCK_MONOTONIC, nanoseconds
//                      16     4  pid, in the process's own pid namespace
//                      20     4  real user id
//                      24     8  session: the sequence number of the first frame of this opening
//                                of the store by the process
//   2 session           0     8  session
//                       8        the process's command line, at most 256 bytes: in the first frame
//                                of the session, and in its first one of each segment
//   3 label             0        text that the program has set for the transaction; of several
//                                transactions in one frame, with "; " between
//   4 schemas                    with the session: runtime/store/schema_note.h
// A frame has at most one note of each kind. One without an author was written without a journal,
// or changes nothing.
#ifndef TARNBASE_RUNTIME_LOG_NOTES_H
#define TARNBASE_RUNTIME_LOG_NOTES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "runtime/log/frame.h"

namespace tarnbase::runtime {

inline constexpr std::uint64_t author_note = 1;
inline constexpr std::uint64_t session_note = 2;
inline constexpr std::uint64_t label_note = 3;

inline constexpr std::size_t most_command_bytes = 256;
inline constexpr std::size_t most_label_bytes = 1024;

struct Author {
    std::uint64_t time;
    std::uint64_t monotonic;
    std::uint32_t pid;
    std::uint32_t uid;
    std::uint64_t session;
};
static_assert(sizeof(Author) == 32);

struct Notes {
    std::optional<Author> author;
    std::optional<std::string_view> command;  // of the author's session
    std::string_view label;
};

void add_author(FrameBuilder &frame, const Author &author);
void add_session(FrameBuilder &frame, std::uint64_t session, std::string_view command);
// Does nothing if the label is empty. One that is too long is cut.
void add_label(FrameBuilder &frame, std::string_view label);

// The notes of a frame that was checked. The texts are in the frame. A note that is too short is
// skipped.
Notes read_notes(std::span<const char> frame);

// The author alone, whose note is the first operation of a frame.
std::optional<Author> read_author(std::span<const char> frame);

}  // namespace tarnbase::runtime

#endif
