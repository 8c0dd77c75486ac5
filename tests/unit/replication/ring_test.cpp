// SPDX-License-Identifier: Apache-2.0
// The limits of the ring.
#include <cerrno>
#include <deque>
#include <random>

#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

class Ring : public ReplicationTest {
 protected:
    std::uint64_t frame_size() {
        kel_record *record = numbers.make(1000);
        const std::uint64_t size = numbers.marshalled(record).size();
        tbl_test_number_destroy_record(handle, tx, record, &err);
        return size;
    }
    std::vector<Bytes> tail(std::size_t count) {
        const std::vector<Bytes> all = read_all(handle);
        return {all.end() - static_cast<std::ptrdiff_t>(count), all.end()};
    }
};

TEST_F(Ring, HoldsAsManyFramesAsItsLimitOfBytesAllows) {
    ASSERT_EQ(kel_replication_configure(handle, 0, 3 * frame_size()), 0U);
    for (std::uint32_t key = 0; key < 5; ++key) numbers.put(key);
    EXPECT_EQ(read_all(handle).size(), 3U);
    EXPECT_EQ(open_reader(handle).position, 2U);
}

TEST_F(Ring, ALargeFrameReplacesManySmallOnes) {
    ASSERT_EQ(kel_replication_configure(handle, 0, 10 * frame_size()), 0U);
    for (std::uint32_t key = 0; key < 10; ++key) numbers.put(key);
    const std::string label(static_cast<std::size_t>(6 * frame_size()), 'x');
    const Bytes large = numbers.marshalled(numbers.put(10, label));
    const std::vector<Bytes> frames = read_all(handle);
    EXPECT_EQ(frames.size(), 4U);
    EXPECT_EQ(frames.back(), large);
}

TEST_F(Ring, LargeFramesReplaceEachOther) {
    constexpr std::size_t length = 60000;
    ASSERT_EQ(kel_replication_configure(handle, 0, 100000), 0U);
    for (std::uint32_t key = 0; key < 8; ++key) {
        kel_record *record = numbers.make(key, std::string(length, static_cast<char>('a' + key)));
        const std::uint64_t blocks = session.blocks();
        EXPECT_EQ(numbers.insert(record), 0U);
        EXPECT_EQ(session.blocks(), key == 0 ? blocks + 1 : blocks);
        EXPECT_EQ(read_all(handle), std::vector<Bytes>{numbers.marshalled(record)});
    }
}

TEST_F(Ring, AFrameLargerThanTheRingFailsWithEmsgsizeAndIsMissed) {
    ASSERT_EQ(kel_replication_configure(handle, 0, 1000), 0U);
    kel_record *before = numbers.put(1);
    kel_record *record = numbers.make(2, std::string(2000, 'x'));
    EXPECT_EQ(numbers.insert(record), static_cast<std::uint32_t>(EMSGSIZE));
    EXPECT_EQ(numbers.find(2), record);
    kel_replication_reader reader = open_reader(handle);
    EXPECT_EQ(read_next(handle, reader).bytes, numbers.marshalled(before));
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EOVERFLOW));
    EXPECT_EQ(reader.missed, 1U);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EAGAIN));
}

TEST_F(Ring, MissingFramesTakeSpaceToo) {
    ASSERT_EQ(kel_replication_configure(handle, 2, 0), 0U);
    ASSERT_EQ(kel_replication_attach(handle, nullptr), 0U);
    for (std::uint32_t key = 0; key < 5; ++key) {
        EXPECT_EQ(numbers.insert(numbers.make(key)), static_cast<std::uint32_t>(ENOENT));
    }
    EXPECT_EQ(open_reader(handle).position, 3U);
}

TEST_F(Ring, GrowingKeepsFramesAndPositions) {
    ASSERT_EQ(kel_replication_configure(handle, 3, 0), 0U);
    for (std::uint32_t key = 0; key < 5; ++key) numbers.put(key);
    const std::vector<Bytes> frames = read_all(handle);
    ASSERT_EQ(kel_replication_configure(handle, 4, 0), 0U);
    EXPECT_EQ(open_reader(handle).position, 2U);
    EXPECT_EQ(read_all(handle), frames);
    numbers.put(5);
    EXPECT_EQ(read_all(handle).size(), 4U);
}

TEST_F(Ring, ShrinkingKeepsTheNewestFramesAndFreesTheOthers) {
    for (std::uint32_t key = 0; key < 6; ++key) numbers.put(key);
    const std::vector<Bytes> newest = tail(2);
    const std::uint64_t blocks = session.blocks();
    ASSERT_EQ(kel_replication_configure(handle, 2, 0), 0U);
    EXPECT_EQ(read_all(handle), newest);
    EXPECT_EQ(session.blocks(), blocks - 4);
    ASSERT_EQ(kel_replication_configure(handle, 2, frame_size()), 0U);
    EXPECT_EQ(read_all(handle), std::vector<Bytes>{newest.back()});
}

TEST_F(Ring, IsNotResizedInATransaction) {
    numbers.begin();
    EXPECT_EQ(kel_replication_configure(handle, 2, 0), static_cast<std::uint32_t>(EBUSY));
    numbers.put(1);
    numbers.commit();
    EXPECT_EQ(kel_replication_configure(handle, 2, 0), 0U);
    EXPECT_EQ(read_all(handle).size(), 1U);
}

TEST_F(Ring, OfTooManyFramesIsAnErrorAndTheOldOneIsKept) {
    numbers.put(1);
    EXPECT_EQ(kel_replication_configure(handle, ~std::uint64_t{0}, 0),
              static_cast<std::uint32_t>(EINVAL));
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(kel_replication_configure(handle, 8, 0), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(read_all(handle).size(), 1U);
}

// What the ring should contain after any sequence of inserts, commits and rollbacks.
struct Model {
    std::deque<Bytes> frames;
    std::uint64_t first = 0;
    std::uint64_t bytes = 0;

    void append(const Bytes &frame, std::size_t most_frames, std::uint64_t most_bytes) {
        frames.push_back(frame);
        bytes += frame.size();
        while (frames.size() > most_frames || bytes > most_bytes) {
            bytes -= frames.front().size();
            frames.pop_front();
            ++first;
        }
    }
};

TEST_F(Ring, BehavesAsABoundedQueueUnderRandomTransactions) {
    constexpr std::uint32_t seed = 20240607;
    constexpr std::size_t most_frames = 7;
    constexpr std::uint64_t most_bytes = 1500;
    ASSERT_EQ(kel_replication_configure(handle, most_frames, most_bytes), 0U);
    std::mt19937 random(seed);
    Model model;
    for (std::uint32_t step = 0; step < 200; ++step) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
        const Model before = model;
        numbers.begin();
        for (auto i = static_cast<std::uint32_t>(random() % 10); i > 0; --i) {
            const std::string label(random() % 400, 'r');
            model.append(numbers.marshalled(numbers.put(step * 10 + i, label)), most_frames,
                         most_bytes);
        }
        if (random() % 3 == 0) {
            numbers.rollback();
            model = before;
        } else {
            numbers.commit();
        }
        ASSERT_EQ(open_reader(handle).position, model.first);
        ASSERT_EQ(read_all(handle), std::vector<Bytes>(model.frames.begin(), model.frames.end()));
    }
}

}  // namespace
}  // namespace tarn::test
