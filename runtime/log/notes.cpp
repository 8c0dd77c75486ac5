// SPDX-License-Identifier: Apache-2.0
#include "runtime/log/notes.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tarnbase::runtime {

namespace {

void read_note(const Operation &note, Notes &notes) {
    const std::string_view content(note.bytes.data(), note.bytes.size());
    if (note.offset == author_note && content.size() >= sizeof(Author)) {
        Author author;
        std::memcpy(&author, content.data(), sizeof author);
        notes.author = author;
    } else if (note.offset == session_note && content.size() >= sizeof(std::uint64_t)) {
        notes.command = content.substr(sizeof(std::uint64_t));
    } else if (note.offset == label_note) {
        notes.label = content;
    }
}

}  // namespace

void add_author(FrameBuilder &frame, const Author &author) {
    frame.note(author_note, {reinterpret_cast<const char *>(&author), sizeof author});
}

void add_session(FrameBuilder &frame, std::uint64_t session, std::string_view command) {
    std::array<char, sizeof session + most_command_bytes> content;
    const std::size_t length = std::min(command.size(), most_command_bytes);
    std::memcpy(content.data(), &session, sizeof session);
    std::memcpy(content.data() + sizeof session, command.data(), length);
    frame.note(session_note, std::span(content).first(sizeof session + length));
}

void add_label(FrameBuilder &frame, std::string_view label) {
    if (!label.empty()) frame.note(label_note, label.substr(0, most_note_bytes));
}

Notes read_notes(std::span<const char> frame) {
    Notes notes;
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        if (operation.kind == OperationKind::note) read_note(operation, notes);
    }
    return notes;
}

std::optional<Author> read_author(std::span<const char> frame) {
    Notes notes;
    OperationReader operations(frame);
    Operation operation;
    if (operations.next(operation) && operation.kind == OperationKind::note) {
        read_note(operation, notes);
    }
    return notes.author;
}

}  // namespace tarnbase::runtime
