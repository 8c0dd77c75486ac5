// SPDX-License-Identifier: Apache-2.0
// Reads a log: frames one after another. The operations of a frame that is right are the same
// after they were written to a new frame.
#include <algorithm>
#include <vector>

#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"
#include "tests/fuzz/store_pieces.h"

namespace tarnbase::fuzz {

namespace {

using runtime::FrameHead;
using runtime::Operation;
using runtime::OperationKind;
using runtime::OperationReader;

using Frame = std::span<const char>;

// The frame of the sequence number at the start of `rest`, with the right number and CRC.
void repair(std::span<char> rest, u64 sequence) {
    FrameHead head;
    if (rest.size() < sizeof head) return;
    std::memcpy(&head, rest.data(), sizeof head);
    head.sequence = sequence;
    head.crc = 0;
    std::memcpy(rest.data(), &head, sizeof head);
    if (head.length < sizeof head || head.length > rest.size()) return;
    head.crc = runtime::crc32c(rest.first(head.length));
    std::memcpy(rest.data(), &head, sizeof head);
}

bool is_in(Frame bytes, Frame frame) {
    return bytes.empty() || (bytes.data() >= frame.data() &&
                             bytes.data() + bytes.size() <= frame.data() + frame.size());
}

std::vector<Operation> operations_of(Frame frame, bool &damaged) {
    std::vector<Operation> operations;
    OperationReader reader(frame);
    for (Operation operation; reader.next(operation);) {
        require(operation.kind <= OperationKind::note, "an operation has a known kind");
        require(is_in(operation.bytes, frame), "a content is in its frame");
        const u64 extent = std::max<u64>(operation.block_size, operation.bytes.size());
        require(operation.offset <= runtime::most_offset &&
                    extent <= runtime::most_offset - operation.offset,
                "an operation ends before the last offset");
        operations.push_back(operation);
    }
    damaged = reader.damaged();
    return operations;
}

void add(runtime::FrameBuilder &builder, const Operation &operation) {
    switch (operation.kind) {
        case OperationKind::write:
            return builder.write(operation.offset, operation.bytes);
        case OperationKind::allocate:
            return builder.allocate(operation.offset, operation.block_size, operation.bytes);
        case OperationKind::release:
            return builder.release(operation.offset);
        case OperationKind::references:
            return builder.references(operation.offset, operation.bytes.first<8>());
        case OperationKind::note:
            return builder.note(operation.offset, operation.bytes);
    }
}

bool is_same(const Operation &one, const Operation &other) {
    return one.kind == other.kind && one.offset == other.offset &&
           one.block_size == other.block_size && std::ranges::equal(one.bytes, other.bytes);
}

// Operations that change nothing aren't written.
bool is_nothing(const Operation &operation) {
    return operation.kind == OperationKind::write && operation.bytes.empty();
}

void write_again(std::vector<Operation> operations, u64 sequence) {
    std::erase_if(operations, is_nothing);
    runtime::FrameBuilder builder;
    builder.clear();
    for (const Operation &operation : operations) add(builder, operation);
    const Frame frame = builder.finish(sequence);
    require(runtime::check_frame(frame, sequence) == nullptr, "a new frame is right");
    bool damaged = true;
    const std::vector<Operation> again = operations_of(frame, damaged);
    require(!damaged && std::ranges::equal(again, operations, is_same),
            "the operations of a new frame are those that were written");
}

}  // namespace

void fuzz_log(Bytes bytes) {
    Input input(bytes);
    const bool repairs = (input.byte() & repair_head) != 0;
    Buffer log = input.rest();
    std::span<char> rest(log.text(), log.size());
    for (u64 sequence = 1; !rest.empty(); ++sequence) {
        if (repairs) repair(rest, sequence);
        if (runtime::check_frame(rest, sequence) != nullptr) return;
        FrameHead head;
        std::memcpy(&head, rest.data(), sizeof head);
        require(head.length >= sizeof head && head.length <= rest.size(),
                "a frame that is right is whole");
        bool damaged = false;
        const auto operations = operations_of(rest.first(head.length), damaged);
        if (!damaged) write_again(operations, sequence);
        rest = rest.subspan(head.length);
    }
}

}  // namespace tarnbase::fuzz
