// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/authors.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "runtime/store/schema_note.h"

namespace tarnbase::runtime {

void Authors::start(const StoreFolder &store, const Follower &follower) {
    commands_.clear();
    Segment segment;
    const std::uint64_t end = follower.position();
    const std::uint64_t first = follower.segment();
    // Without it some commands stay unknown.
    if (segment.open(store.folder.descriptor(), store.control.page().id, first, false) == 0) {
        for (std::uint64_t position = first; position < end && segment.contains(position);) {
            std::span<const char> rest = segment.from(position);
            rest = rest.first(std::min(rest.size(), end - position));
            FrameHead head;
            if (rest.size() < sizeof head) break;
            std::memcpy(&head, rest.data(), sizeof head);
            if (check_frame(rest, head.sequence) != nullptr) break;
            read(rest.first(head.length));
            position += head.length;
        }
    }
    author_.reset();
    label_.clear();
}

void Authors::read(std::span<const char> frame) {
    const Notes notes = read_notes(frame);
    author_ = notes.author;
    label_ = notes.label;
    if (!notes.author || !notes.command) return;
    commands_[notes.author->session] = *notes.command;
    std::string other = other_schema(frame);
    if (other.empty()) return;
    FrameHead head;
    std::memcpy(&head, frame.data(), sizeof head);
    throw OtherSchema{head.sequence, std::move(other)};
}

void Authors::describe(kel_replica_transaction &transaction) const {
    if (!author_) return;
    transaction.time = author_->time;
    transaction.pid = author_->pid;
    transaction.uid = author_->uid;
    const auto command = commands_.find(author_->session);
    if (command != commands_.end()) transaction.command = command->second.c_str();
    if (!label_.empty()) transaction.label = label_.c_str();
}

}  // namespace tarnbase::runtime
