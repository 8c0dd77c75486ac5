/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "runtime/log/crc32c.h"
#include "runtime/log/notes.h"
#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

struct Expected {
    OperationKind kind;
    std::uint64_t offset;
    std::uint64_t block_size;
    std::string content;
};

void add(FrameBuilder &builder, const Expected &operation) {
    switch (operation.kind) {
        case OperationKind::release:
            builder.release(operation.offset);
            break;
        case OperationKind::allocate:
            builder.allocate(operation.offset, operation.block_size, operation.content);
            break;
        case OperationKind::write:
            builder.write(operation.offset, operation.content);
            break;
        case OperationKind::references:
            builder.references(operation.offset,
                               std::span<const char>(operation.content).first<8>());
            break;
        case OperationKind::note:
            builder.note(operation.offset, operation.content);
            break;
    }
}

std::vector<Operation> read_all(std::span<const char> frame, bool &damaged) {
    std::vector<Operation> operations;
    OperationReader reader(frame);
    Operation operation;
    while (reader.next(operation)) operations.push_back(operation);
    damaged = reader.damaged();
    return operations;
}

void expect_equal(std::span<const char> frame, const std::vector<Expected> &expected) {
    bool damaged = false;
    const std::vector<Operation> operations = read_all(frame, damaged);
    ASSERT_FALSE(damaged);
    ASSERT_EQ(operations.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(operations[i].kind, expected[i].kind);
        ASSERT_EQ(operations[i].offset, expected[i].offset);
        ASSERT_EQ(operations[i].block_size, expected[i].block_size);
        ASSERT_TRUE(text_of(operations[i].bytes) == expected[i].content);
    }
}

// A copy that ends where its memory ends, so that a sanitizer notices a read beyond.
class Exact {
 public:
    explicit Exact(std::span<const char> bytes)
        : bytes_(std::make_unique<char[]>(bytes.size())), size_(bytes.size()) {
        if (size_ != 0) std::memcpy(bytes_.get(), bytes.data(), size_);
    }
    std::span<char> span() { return {bytes_.get(), size_}; }

 private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_;
};

std::string small_frame() {
    FrameBuilder builder;
    builder.release(64);
    builder.allocate(128, 64, std::string("content"));
    builder.write(4096, std::string("0123456789"));
    return text_of(builder.finish(7));
}

// A frame with right head and CRC around any words.
std::string frame_around(const std::vector<std::uint64_t> &words) {
    std::string frame(sizeof(FrameHead) + 8 * words.size(), 0);
    FrameHead head{1, static_cast<std::uint32_t>(frame.size()), 0};
    std::memcpy(frame.data(), &head, sizeof head);
    if (!words.empty()) std::memcpy(frame.data() + sizeof head, words.data(), 8 * words.size());
    head.crc = crc32c(frame);
    std::memcpy(frame.data(), &head, sizeof head);
    return frame;
}

TEST(Frame, WithoutOperations) {
    FrameBuilder builder;
    EXPECT_TRUE(builder.is_empty());
    EXPECT_EQ(builder.length(), 16U);
    const auto frame = builder.finish(1);
    EXPECT_EQ(frame.size(), 16U);
    EXPECT_EQ(check_frame(frame, 1), nullptr);
    expect_equal(frame, {});
}

TEST(Frame, HasTheDocumentedBytes) {
    FrameBuilder builder;
    builder.release(0x1122334455);
    builder.allocate(0x40, 0x80, std::string("abc"));
    builder.write(0x48, std::string("12345678"));
    const auto frame = builder.finish(5);
    ASSERT_EQ(frame.size(), 64U);
    std::uint64_t words[8];
    std::memcpy(words, frame.data(), sizeof words);
    EXPECT_EQ(words[0], 5U);
    EXPECT_EQ(words[1] & 0xffffffff, 64U);
    EXPECT_EQ(words[2], 0x8000001122334455U);
    EXPECT_EQ(words[3], 0x4000030000000040U);
    EXPECT_EQ(words[4], 0x80U);
    EXPECT_EQ(text_of(frame.subspan(40, 8)), std::string("abc\0\0\0\0\0", 8));
    EXPECT_EQ(words[6], 0x0000080000000048U);
    EXPECT_EQ(text_of(frame.subspan(56, 8)), "12345678");
}

TEST(Frame, PaddingIsZeroWhateverTheFrameBeforeContained) {
    FrameBuilder builder;
    builder.write(0, std::string(64, '\xff'));
    builder.clear();
    builder.write(0, std::string("abc"));
    EXPECT_EQ(text_of(builder.finish(1).subspan(24, 8)), std::string("abc\0\0\0\0\0", 8));
}

TEST(Frame, RandomOperationsAreReadAgain) {
    Random random(3);
    FrameBuilder builder;
    for (std::uint64_t sequence = 1; sequence <= 2000; ++sequence) {
        std::vector<Expected> expected;
        builder.clear();
        ASSERT_TRUE(builder.is_empty());
        for (std::uint64_t count = random() % 40; count != 0; --count) {
            Expected operation{static_cast<OperationKind>(random() % 3), random() % (1ULL << 39), 0,
                               ""};
            if (operation.kind != OperationKind::release) {
                operation.content = random_bytes(random, random() % 100);
            }
            if (operation.kind == OperationKind::allocate) {
                operation.block_size = operation.content.size() + random() % 100;
            }
            add(builder, operation);
            const bool nothing =
                operation.kind == OperationKind::write && operation.content.empty();
            if (!nothing) expected.push_back(operation);
        }
        const std::uint64_t length = builder.length();
        const auto frame = builder.finish(sequence);
        ASSERT_EQ(frame.size(), length);
        ASSERT_EQ(check_frame(frame, sequence), nullptr);
        expect_equal(frame, expected);
    }
}

TEST(Frame, NotesAreReadAndNoContent) {
    FrameBuilder builder;
    add_author(builder, {1, 2, 3, 4, 5});
    add_label(builder, "");
    add_label(builder, "sent by hand");
    EXPECT_TRUE(builder.is_empty());
    builder.write(4096, "changed!");
    add_session(builder, 5, std::string(most_command_bytes, 'c') + "cut off");
    EXPECT_FALSE(builder.is_empty());
    const auto frame = builder.finish(7);
    ASSERT_EQ(check_frame(frame, 7), nullptr);
    const Notes notes = read_notes(frame);
    ASSERT_TRUE(notes.author.has_value());
    EXPECT_EQ(notes.author->time, 1U);
    EXPECT_EQ(notes.author->monotonic, 2U);
    EXPECT_EQ(notes.author->pid, 3U);
    EXPECT_EQ(notes.author->uid, 4U);
    EXPECT_EQ(notes.author->session, 5U);
    EXPECT_EQ(notes.label, "sent by hand");
    EXPECT_EQ(notes.command, std::string(most_command_bytes, 'c'));
}

TEST(Frame, NotesOfUnknownKindsAndShortOnesAreSkipped) {
    FrameBuilder builder;
    builder.note(author_note, std::string(sizeof(Author) - 1, 'a'));
    builder.note(session_note, "short");
    builder.note(99, "unknown");
    const Notes notes = read_notes(builder.finish(1));
    EXPECT_FALSE(notes.author.has_value());
    EXPECT_FALSE(notes.command.has_value());
    EXPECT_EQ(notes.label, "");
    builder.clear();
    EXPECT_TRUE(builder.is_empty());
    builder.release(4096);
    EXPECT_FALSE(builder.is_empty());
}

TEST(Frame, LongContentsAreSplit) {
    constexpr std::size_t most = (1 << 22) - 8;
    Random random(4);
    const std::string content = random_bytes(random, 2 * most + 5);
    FrameBuilder builder;
    builder.allocate(1 << 20, content.size() + 3, content);
    builder.write(1ULL << 30, content);
    builder.write(1ULL << 31, content.substr(0, most));
    const auto frame = builder.finish(1);
    ASSERT_EQ(check_frame(frame, 1), nullptr);
    const std::uint64_t first = 1 << 20;
    const std::uint64_t second = 1ULL << 30;
    expect_equal(frame,
                 {
                     {OperationKind::allocate, first, content.size() + 3, content.substr(0, most)},
                     {OperationKind::write, first + most, 0, content.substr(most, most)},
                     {OperationKind::write, first + 2 * most, 0, content.substr(2 * most)},
                     {OperationKind::write, second, 0, content.substr(0, most)},
                     {OperationKind::write, second + most, 0, content.substr(most, most)},
                     {OperationKind::write, second + 2 * most, 0, content.substr(2 * most)},
                     {OperationKind::write, 1ULL << 31, 0, content.substr(0, most)},
                 });
}

TEST(Frame, MoreBytesMayComeAfterIt) {
    std::string frame = small_frame();
    ASSERT_EQ(check_frame(frame + "more", 7), nullptr);
}

TEST(Frame, EveryFlippedBitIsNoticed) {
    const std::string frame = small_frame();
    for (std::size_t bit = 0; bit < 8 * frame.size(); ++bit) {
        Exact damaged(frame);
        damaged.span()[bit / 8] = static_cast<char>(damaged.span()[bit / 8] ^ (1 << bit % 8));
        ASSERT_NE(check_frame(damaged.span(), 7), nullptr) << bit;
    }
}

TEST(Frame, EveryCutIsNoticed) {
    const std::string frame = small_frame();
    for (std::size_t size = 0; size < frame.size(); ++size) {
        Exact cut(std::span<const char>(frame).first(size));
        ASSERT_NE(check_frame(cut.span(), 7), nullptr) << size;
    }
}

TEST(Frame, AnotherSequenceNumberIsNoticed) {
    EXPECT_STREQ(check_frame(small_frame(), 8), "a frame has a wrong sequence number");
    EXPECT_STREQ(check_frame(small_frame(), 6), "a frame has a wrong sequence number");
}

TEST(Frame, AnImpossibleLengthIsNoticed) {
    for (const std::uint32_t length : {0U, 8U, 15U, 17U, 60U, 0x80000008U, 0xfffffff8U}) {
        std::string frame = small_frame();
        std::memcpy(frame.data() + 8, &length, sizeof length);
        EXPECT_STREQ(check_frame(frame, 7), "a frame has an impossible length") << length;
    }
}

TEST(Frame, ImpossibleOperationsAreNoticed) {
    const auto head = [](std::uint64_t kind, std::uint64_t length, std::uint64_t offset) {
        return kind << 62 | length << 40 | offset;
    };
    const std::uint64_t last = most_offset - 8;
    const std::vector<std::vector<std::uint64_t>> impossible = {
        {head(3, 0, 0)},  // references without a count
        {head(3, 16, 0), 0, 0},
        {head(2, 8, 0)},  // a note beyond the frame
        {head(0, 1, 0)},
        {head(0, 17, 0), 0, 0},
        {head(0, (1 << 22) - 1, 0), 0, 0},
        {head(1, 0, 0)},  // no block size
        {head(1, 8, 0), 8},
        {head(1, 9, 0), 8, 0, 0},  // longer than its block
        {head(0, 9, last), 0, 0},  // beyond all offsets
        {head(1, 0, last), 9},
        {head(1, 0, 8), ~std::uint64_t{0}},  // the sum overflows
        {head(1, 0, last), ~std::uint64_t{0} - last + 1},
        {head(0, 8, 0), 0, head(0, 1, 0)},  // the second one
    };
    for (std::size_t i = 0; i < impossible.size(); ++i) {
        const std::string frame = frame_around(impossible[i]);
        ASSERT_EQ(check_frame(frame, 1), nullptr);
        Exact exact(frame);
        OperationReader reader(exact.span());
        Operation operation;
        while (reader.next(operation)) {
        }
        EXPECT_TRUE(reader.damaged()) << i;
        EXPECT_FALSE(reader.next(operation)) << i;
        EXPECT_TRUE(reader.damaged()) << i;
    }
}

TEST(Frame, OperationsAtTheLimitsAreRead) {
    const std::string content(8, 'x');
    FrameBuilder builder;
    builder.allocate(most_offset - 8, 8, content);
    builder.allocate(0, most_offset, {});
    builder.write(most_offset - 8, content);
    expect_equal(builder.finish(1), {
                                        {OperationKind::allocate, most_offset - 8, 8, content},
                                        {OperationKind::allocate, 0, most_offset, ""},
                                        {OperationKind::write, most_offset - 8, 0, content},
                                    });
}

// Operations of random bytes never lie outside the frame.
TEST(Frame, RandomWordsAreReadOrNoticed) {
    Random random(5);
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::uint64_t> words(random() % 12);
        for (std::uint64_t &word : words) {
            word = random() >> random() % 40 & ~(std::uint64_t{0x3fffe0} << 40);
        }
        Exact frame(frame_around(words));
        bool damaged = false;
        for (const Operation &operation : read_all(frame.span(), damaged)) {
            ASSERT_LE(operation.offset + operation.bytes.size(), most_offset);
            ASSERT_GE(operation.bytes.data(), frame.span().data());
            ASSERT_LE(operation.bytes.data() + operation.bytes.size(), &*frame.span().end());
        }
    }
}

TEST(Frame, ASpanWithoutAHeadIsNoticed) {
    for (std::size_t size = 0; size < sizeof(FrameHead); ++size) {
        Exact bytes(std::string(size, 0));
        OperationReader reader(bytes.span());
        Operation operation;
        EXPECT_FALSE(reader.next(operation));
        EXPECT_TRUE(reader.damaged());
    }
}

}  // namespace
}  // namespace tarnbase::runtime
