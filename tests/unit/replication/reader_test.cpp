// SPDX-License-Identifier: Apache-2.0
// Following the stream.
#include <cerrno>

#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

class Reader : public ReplicationTest {};

TEST_F(Reader, ReadsFramesInTheOrderOfInsertion) {
    std::vector<Bytes> expected;
    for (const std::uint32_t key : {5U, 1U, 3U}) {
        expected.push_back(numbers.marshalled(numbers.put(key, std::string(key * 20, 'k'))));
    }
    EXPECT_EQ(read_all(handle), expected);
}

TEST_F(Reader, StartsAtTheOldestFrameAtTheNewestOrAtAPosition) {
    for (std::uint32_t key = 0; key < 5; ++key) numbers.put(key);
    EXPECT_EQ(open_reader(handle).position, 0U);
    EXPECT_EQ(open_reader(handle, KEL_REPLICATION_NEWEST).position, 5U);
    kel_replication_reader reader = open_reader(handle, 3);
    EXPECT_EQ(read_next(handle, reader).frame.position, 3U);
    EXPECT_EQ(open_reader(handle, 5).position, 5U);
}

TEST_F(Reader, CantBeOpenedAheadOfTheStream) {
    numbers.put(1);
    kel_replication_reader reader = {};
    EXPECT_EQ(kel_replication_reader_open(handle, 2, &reader), static_cast<std::uint32_t>(EINVAL));
    reader.position = 2;
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EINVAL));
}

TEST_F(Reader, FindsFramesAddedAfterItHasReadAll) {
    kel_replication_reader reader = open_reader(handle, KEL_REPLICATION_NEWEST);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EAGAIN));
    kel_record *record = numbers.put(1);
    EXPECT_EQ(read_next(handle, reader).bytes, numbers.marshalled(record));
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EAGAIN));
}

TEST_F(Reader, HasALag) {
    kel_replication_reader reader = open_reader(handle);
    for (std::uint32_t key = 0; key < 3; ++key) numbers.put(key);
    EXPECT_EQ(kel_replication_lag(handle, &reader), 3U);
    read_next(handle, reader);
    EXPECT_EQ(kel_replication_lag(handle, &reader), 2U);
    read_all(handle, reader);
    EXPECT_EQ(kel_replication_lag(handle, &reader), 0U);
}

TEST_F(Reader, ASlowOneGetsTheNumberOfMissedFramesAndContinues) {
    ASSERT_EQ(kel_replication_configure(handle, 4, 0), 0U);
    kel_replication_reader reader = open_reader(handle);
    numbers.put(0);
    read_next(handle, reader);
    for (std::uint32_t key = 1; key < 10; ++key) numbers.put(key);
    EXPECT_EQ(kel_replication_lag(handle, &reader), 9U);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EOVERFLOW));
    EXPECT_EQ(reader.missed, 5U);
    EXPECT_EQ(reader.position, 6U);
    EXPECT_EQ(read_all(handle, reader).size(), 4U);
    EXPECT_EQ(reader.missed, 5U);
}

TEST_F(Reader, AFastOneMissesNothing) {
    ASSERT_EQ(kel_replication_configure(handle, 2, 0), 0U);
    kel_replication_reader reader = open_reader(handle);
    for (std::uint32_t key = 0; key < 20; ++key) {
        kel_record *record = numbers.put(key);
        EXPECT_EQ(read_next(handle, reader).bytes, numbers.marshalled(record));
    }
    EXPECT_EQ(reader.missed, 0U);
}

TEST_F(Reader, OpenedAtADroppedPositionReportsTheMissedFrames) {
    ASSERT_EQ(kel_replication_configure(handle, 2, 0), 0U);
    for (std::uint32_t key = 0; key < 5; ++key) numbers.put(key);
    kel_replication_reader reader = open_reader(handle, 1);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EOVERFLOW));
    EXPECT_EQ(reader.missed, 2U);
    EXPECT_EQ(read_next(handle, reader).frame.position, 3U);
}

TEST_F(Reader, DoesNotAdvanceIfTheBufferIsTooSmallAndReportsTheLength) {
    const Bytes expected = numbers.marshalled(numbers.put(1, "label"));
    kel_replication_reader reader = open_reader(handle);
    Bytes bytes(expected.size());
    kel_replication_frame frame = {};
    const auto length = static_cast<std::uint32_t>(expected.size());
    EXPECT_EQ(kel_replication_next(handle, &reader, bytes.data(), length - 1, &frame),
              static_cast<std::uint32_t>(EMSGSIZE));
    EXPECT_EQ(frame.length, length);
    EXPECT_EQ(reader.position, 0U);
    EXPECT_EQ(bytes, Bytes(expected.size()));
    EXPECT_EQ(kel_replication_next(handle, &reader, bytes.data(), length, &frame), 0U);
    EXPECT_EQ(bytes, expected);
}

TEST_F(Reader, SeesFramesOnlyAfterTheirTransactionHasCommitted) {
    numbers.put(1);
    kel_replication_reader reader = open_reader(handle);
    numbers.begin();
    numbers.put(2);
    EXPECT_EQ(read_all(handle, reader).size(), 1U);
    EXPECT_EQ(kel_replication_lag(handle, &reader), 0U);
    EXPECT_EQ(open_reader(handle, KEL_REPLICATION_NEWEST).position, 1U);
    numbers.commit();
    EXPECT_EQ(kel_replication_lag(handle, &reader), 1U);
    EXPECT_EQ(read_all(handle, reader).size(), 1U);
}

TEST_F(Reader, MissesNothingThatReplacesRolledBackFrames) {
    kel_replication_reader reader = open_reader(handle);
    numbers.begin();
    numbers.put(1);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EAGAIN));
    numbers.rollback();
    kel_record *record = numbers.put(2);
    EXPECT_EQ(read_all(handle, reader), std::vector<Bytes>{numbers.marshalled(record)});
    EXPECT_EQ(reader.missed, 0U);
}

TEST_F(Reader, OfAnotherHandleReadsTheSame) {
    numbers.put(1, "one");
    numbers.put(2, "two");
    kel_handle *second = session.second_handle(Mode::plain);
    EXPECT_EQ(read_all(second), read_all(handle));
    EXPECT_EQ(read_all(second).size(), 2U);
}

}  // namespace
}  // namespace tarn::test
