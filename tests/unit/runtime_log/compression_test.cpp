// SPDX-License-Identifier: Apache-2.0
// Segments that are compressed, and what damaged ones do to who reads them.
#include "runtime/log/compression.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <zstd.h>

#include <atomic>
#include <cerrno>
#include <limits>

#include "runtime/base/working_file.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/crc32c.h"
#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

constexpr std::uint64_t all = std::numeric_limits<std::uint64_t>::max();

// Offsets in the head.
constexpr std::size_t segment_bytes_at = 40;
constexpr std::size_t bytes_at = 44;
constexpr std::size_t bytes_crc_at = 48;
constexpr std::size_t crc_at = 52;

void compress(const Folder &folder, std::uint64_t end = all) {
    std::atomic<std::uint64_t> progress = 0;
    compress_segments(folder.descriptor(), test_id, end, progress);
}

// A log of some segments, the last of which begins at `segment()`.
class Compression : public testing::Test {
 protected:
    Compression() {
        Random random(5);
        while (list_segments(folder.descriptor()).size() < 5) {
            const std::string content(random() % 5000, static_cast<char>(random()));
            EXPECT_EQ(log.append(frame_of(log.next_sequence(), content)), 0U);
        }
    }
    std::uint64_t last() const { return list_segments(folder.descriptor()).back().first; }
    std::string compressed(std::uint64_t position) const {
        return folder.file(compressed_segment_name(position));
    }

    Folder folder;
    TestLog log{folder};
};

TEST_F(Compression, LeavesTheFramesAsTheyWere) {
    const std::vector<SegmentFile> before = list_segments(folder.descriptor());
    compress(folder, last());
    const std::vector<SegmentFile> after = list_segments(folder.descriptor());
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
        const bool is_last = i + 1 == after.size();
        EXPECT_EQ(after[i].first, before[i].first);
        EXPECT_EQ(after[i].is_compressed, !is_last);
        EXPECT_EQ(after[i].is_plain, is_last);
        EXPECT_LE(after[i].disk_bytes, is_last ? before[i].disk_bytes : before[i].disk_bytes / 3);
    }
    log.verify();
    EXPECT_EQ(log.append(frame_of(log.next_sequence(), "more")), 0U);
    log.verify();
}

TEST_F(Compression, CountsItsSteps) {
    std::atomic<std::uint64_t> progress = 7;
    compress_segments(folder.descriptor(), test_id, last(), progress);
    EXPECT_EQ(progress, 7U + 4U);
    compress_segments(folder.descriptor(), test_id, last(), progress);
    EXPECT_EQ(progress, 7U + 4U);
}

TEST_F(Compression, GivesFilesThatZstdReadsAndEverybodyMayReadWhoMayReadTheStore) {
    const std::string plain = read_file(folder.segment(0));
    const mode_t mask = ::umask(0777);
    compress(folder);
    ::umask(mask);
    const std::string file = read_file(compressed(0));
    std::string expanded(plain.size() + 1, 0);
    const std::size_t size =
        ZSTD_decompress(expanded.data(), expanded.size(), file.data(), file.size());
    ASSERT_EQ(ZSTD_isError(size), 0U);
    expanded.resize(size);
    EXPECT_TRUE(expanded == plain);
    struct stat of_folder, of_file;
    ASSERT_EQ(::fstat(folder.descriptor(), &of_folder), 0);
    ASSERT_EQ(::stat(compressed(0).c_str(), &of_file), 0);
    EXPECT_EQ(of_file.st_mode & 0777, of_folder.st_mode & 0666);
}

TEST_F(Compression, IsRepeatedIfBothFormsAreThereAndThePlainOneCountsUntilThen) {
    const std::string plain = read_file(folder.segment(0));
    compress(folder, last());
    const std::string good = read_file(compressed(0));
    write_file(folder.segment(0), plain);
    write_file(compressed(0), "not yet whole");
    log.verify();
    const SegmentFile both = list_segments(folder.descriptor()).front();
    EXPECT_TRUE(both.is_plain && both.is_compressed);
    EXPECT_GT(both.disk_bytes, plain.size());

    compress(folder, last());
    EXPECT_FALSE(folder.names().contains(segment_name(0)));
    EXPECT_TRUE(read_file(compressed(0)) == good);
    log.verify();
}

TEST_F(Compression, RemovesWhatAKilledProcessLeft) {
    write_file(folder.file(working_name(compressed_segment_name(0), 0)), "half");
    write_file(folder.file(working_name(segment_name(0), 0)), "half");
    compress(folder, 0);
    EXPECT_EQ(folder.names().size(), 5U);
    EXPECT_TRUE(folder.names().contains(segment_name(0)));
}

TEST_F(Compression, LeavesADamagedSegmentAsItIs) {
    std::string damaged = read_file(folder.segment(0));
    damaged[20] ^= 1;
    write_file(folder.segment(0), damaged);
    compress(folder, last());
    EXPECT_TRUE(read_file(folder.segment(0)) == damaged);
    EXPECT_FALSE(folder.names().contains(compressed_segment_name(0)));
    EXPECT_EQ(list_segments(folder.descriptor())[1].is_plain, false);
}

TEST_F(Compression, LeavesTheLogAsItIsIfNoFileCanBeWritten) {
    rlimit before;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{100, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::set<std::string> names = folder.names();
    compress(folder, last());
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(folder.names(), names);
    log.verify();
}

TEST_F(Compression, LeavesASegmentThatIsTooLong) {
    const Folder other;
    Segment segment;
    for (const std::uint64_t bytes : {most_expanded_bytes, most_expanded_bytes + 65536}) {
        ASSERT_EQ(segment.create(other.descriptor(), test_id, bytes, bytes), 0U);
    }
    compress(other);
    EXPECT_EQ(other.names(), (std::set{compressed_segment_name(most_expanded_bytes),
                                       segment_name(most_expanded_bytes + 65536)}));
    EXPECT_EQ(segment.open(other.descriptor(), test_id, most_expanded_bytes, false), 0U);
    EXPECT_EQ(segment.size(), most_expanded_bytes);
}

TEST_F(Compression, IsUndoneToContinueInASegment) {
    const std::string plain = read_file(folder.segment(0));
    compress(folder, last());
    Segment segment;
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 0, true), std::uint32_t{ENOENT});
    ASSERT_EQ(restore_segment(folder.descriptor(), test_id, 0), 0U);
    EXPECT_TRUE(read_file(folder.segment(0)) == plain);
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 0, true), 0U);
    // A plain one is left alone, and a damaged one isn't written.
    write_file(folder.segment(0), "plain");
    EXPECT_EQ(restore_segment(folder.descriptor(), test_id, 0), 0U);
    EXPECT_EQ(read_file(folder.segment(0)), "plain");
    std::filesystem::remove(folder.segment(0));
    write_file(compressed(0), "damaged");
    EXPECT_EQ(restore_segment(folder.descriptor(), test_id, 0), std::uint32_t{EBADMSG});
    EXPECT_EQ(restore_segment(folder.descriptor(), test_id, 8), std::uint32_t{ENOENT});
    EXPECT_FALSE(folder.names().contains(segment_name(0)));
}

TEST_F(Compression, CompressedSegmentsAreRemovedAsPlainOnesAre) {
    const std::vector<SegmentFile> segments = list_segments(folder.descriptor());
    compress(folder, last());
    write_file(folder.file(working_name(compressed_segment_name(0), 3)), "half");
    write_file(folder.segment(segments[2].first), "plain");
    remove_later_segments(folder.descriptor(), segments[2].first);
    EXPECT_EQ(folder.names(), (std::set{compressed_segment_name(segments[0].first),
                                        compressed_segment_name(segments[1].first),
                                        segment_name(segments[2].first)}));
    remove_segments(folder.descriptor(), segments[1].first, segments[1].first);
    EXPECT_EQ(folder.names(), (std::set{compressed_segment_name(segments[1].first),
                                        segment_name(segments[2].first)}));
}

// One compressed segment, which can be changed.
class CompressedFile : public testing::Test {
 protected:
    CompressedFile() {
        Random random(6);
        std::string content(20000, 'x');
        content += random_bytes(random, 2000);
        TestLog log(folder);
        EXPECT_EQ(log.append(frame_of(1, content)), 0U);
        compress(folder);
        good = read_file(name());
    }
    std::string name() const { return folder.file(compressed_segment_name(0)); }
    std::uint32_t open(const std::string &content) {
        write_file(name(), content);
        return segment.open(folder.descriptor(), test_id, 0, false);
    }
    // With checksums that are right.
    std::string with(std::string head, const std::string &content) const {
        head.resize(compressed_head_bytes);
        put(head, bytes_at, static_cast<std::uint32_t>(content.size()));
        put(head, bytes_crc_at, crc32c(content));
        put(head, crc_at, crc32c(std::span(head).first(crc_at)));
        return head + content;
    }
    static void put(std::string &head, std::size_t at, std::uint32_t value) {
        std::memcpy(&head[at], &value, sizeof value);
    }
    std::string content() const { return good.substr(compressed_head_bytes); }

    const Folder folder;
    std::string good;
    Segment segment;
};

TEST_F(CompressedFile, IsRefusedWithAnyChangedByteOfItsHead) {
    ASSERT_EQ(open(good), 0U);
    ASSERT_EQ(open(with(good, content())), 0U);
    for (std::size_t at = 0; at < crc_at + 4; ++at) {
        std::string damaged = good;
        damaged[at] ^= 0x10;
        ASSERT_EQ(open(damaged), std::uint32_t{EBADMSG}) << at;
        ASSERT_TRUE(std::string(segment.what()).starts_with("a compressed log segment")) << at;
    }
}

TEST_F(CompressedFile, IsRefusedWithAChangedByteOfItsContent) {
    for (std::size_t at = compressed_head_bytes; at < good.size(); at += 7) {
        std::string damaged = good;
        damaged[at] ^= 1;
        ASSERT_EQ(open(damaged), std::uint32_t{EBADMSG}) << at;
        ASSERT_STREQ(segment.what(), "a compressed log segment has a wrong checksum");
    }
}

TEST_F(CompressedFile, IsRefusedAtAnyOtherLength) {
    for (std::size_t size = 0; size < good.size(); size += size < 100 ? 1 : 97) {
        ASSERT_EQ(open(good.substr(0, size)), std::uint32_t{EBADMSG}) << size;
    }
    EXPECT_EQ(open(good + "x"), std::uint32_t{EBADMSG});
    EXPECT_STREQ(segment.what(), "a compressed log segment has a wrong length");
}

TEST_F(CompressedFile, IsRefusedIfItSaysAnImpossibleLength) {
    for (const std::uint32_t bytes : {0U, 65535U, 65537U, 131072U, (64U << 20) + 1, 0xffff'0000U}) {
        std::string head = good;
        put(head, segment_bytes_at, bytes);
        ASSERT_EQ(open(with(head, content())), std::uint32_t{EBADMSG}) << bytes;
        // 65537 and 131072 are lengths of other segments.
        const bool is_possible = bytes == 65537 || bytes == 131072;
        EXPECT_STREQ(segment.what(), is_possible ? "a compressed log segment can't be expanded"
                                                 : "a compressed log segment has a wrong length");
    }
    // More than a segment of that length can take.
    EXPECT_EQ(open(with(good, std::string(70000, 'x'))), std::uint32_t{EBADMSG});
    EXPECT_STREQ(segment.what(), "a compressed log segment has a wrong length");
}

TEST_F(CompressedFile, IsRefusedIfItsContentIsNoFrameOfThatLength) {
    std::string shorter(1 << 10, 0);
    std::string longer(65537, 'x');
    for (const std::string &each : {shorter, longer}) {
        std::string frame(ZSTD_compressBound(each.size()), 0);
        frame.resize(ZSTD_compress(frame.data(), frame.size(), each.data(), each.size(), 1));
        ASSERT_EQ(open(with(good, frame)), std::uint32_t{EBADMSG});
        ASSERT_STREQ(segment.what(), "a compressed log segment can't be expanded");
    }
    const std::string empty_frame("\x50\x2a\x4d\x18\0\0\0\0", 8);
    for (const std::string &each :
         {std::string(), std::string("x"), content() + content(), content() + "x",
          content() + empty_frame, content().substr(0, content().size() - 1), good,
          std::string(content().size(), 'x')}) {
        EXPECT_EQ(open(with(good, each)), std::uint32_t{EBADMSG}) << each.size();
    }
    // Damage that no checksum shows.
    int unreadable = 0;
    for (std::size_t at = 4; at < 200; ++at) {
        std::string damaged = content();
        damaged[at] ^= 4;
        const std::uint32_t error = open(with(good, damaged));
        std::string expanded(65536, 0);
        if (ZSTD_isError(ZSTD_decompress(expanded.data(), expanded.size(), damaged.data(),
                                         damaged.size())) == 0) {
            continue;
        }
        ++unreadable;
        EXPECT_EQ(error, std::uint32_t{EBADMSG}) << at;
        EXPECT_STREQ(segment.what(), "a compressed log segment can't be expanded") << at;
    }
    EXPECT_GT(unreadable, 0);
}

TEST_F(CompressedFile, IsRefusedIfItHasAnotherSegment) {
    std::string plain(65536, 0);
    std::string frame(ZSTD_compressBound(plain.size()), 0);
    frame.resize(ZSTD_compress(frame.data(), frame.size(), plain.data(), plain.size(), 1));
    EXPECT_EQ(open(with(good, frame)), std::uint32_t{EBADMSG});
    EXPECT_STREQ(segment.what(), "a log segment has a wrong magic");
    EXPECT_FALSE(segment.is_open());
}

TEST_F(CompressedFile, OfAnotherStoreOrPositionIsRefused) {
    StoreId other = test_id;
    other[3] ^= 1;
    EXPECT_EQ(segment.open(folder.descriptor(), other, 0, false), std::uint32_t{EBADMSG});
    EXPECT_STREQ(segment.what(), "a compressed log segment belongs to another store");
    std::filesystem::rename(name(), folder.file(compressed_segment_name(8)));
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 8, false), std::uint32_t{EBADMSG});
    EXPECT_STREQ(segment.what(), "a compressed log segment has another position than its name");
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 0, false), std::uint32_t{ENOENT});
}

TEST_F(CompressedFile, ThatIsNoFileIsRefused) {
    std::filesystem::remove(name());
    ASSERT_EQ(::mkfifo(name().c_str(), 0666), 0);
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 0, false), std::uint32_t{EBADMSG});
    std::filesystem::remove(name());
    std::filesystem::create_symlink("nowhere", name());
    EXPECT_EQ(segment.open(folder.descriptor(), test_id, 0, false), std::uint32_t{ELOOP});
}

}  // namespace
}  // namespace tarnbase::runtime
