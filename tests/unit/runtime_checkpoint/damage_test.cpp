// SPDX-License-Identifier: Apache-2.0
// Whatever is changed in a checkpoint is noticed, and the text says where.
#include "runtime/log/crc32c.h"
#include "tests/unit/runtime_checkpoint/support.h"

namespace tarnbase::runtime {
namespace {

constexpr std::uint64_t position = 0x1000;
constexpr std::uint64_t pages = 20;

class Damage : public CheckpointTest {
 protected:
    void SetUp() override {
        CheckpointTest::SetUp();
        image = sparse_image(pages, 12, 3);
        ASSERT_NO_FATAL_FAILURE(write(position, image));
        file = open_to_write(position);
        ASSERT_TRUE(file.is_open());
        ASSERT_EQ(check(position), 0U) << what;
    }

    CheckpointHead read_head() {
        CheckpointHead head{};
        EXPECT_EQ(read_fully(file.descriptor(), {reinterpret_cast<char *>(&head), sizeof head}, 0),
                  0U);
        return head;
    }

    // Changes the head and its checksum, checks, and restores the head.
    template <typename Change>
    std::uint32_t check_with(Change change) {
        const CheckpointHead before = read_head();
        CheckpointHead head = before;
        change(head);
        head.crc = head_checksum(head);
        store(head);
        const std::uint32_t error = check(position);
        store(before);
        return error;
    }

    void store(const CheckpointHead &head) {
        const std::span<const char> bytes(reinterpret_cast<const char *>(&head), sizeof head);
        EXPECT_EQ(write_fully(file.descriptor(), bytes, 0), 0U);
    }

    std::uint64_t size() {
        struct stat status {};
        EXPECT_EQ(::fstat(file.descriptor(), &status), 0);
        return static_cast<std::uint64_t>(status.st_size);
    }

    Image image;
    File file;
    const std::uint64_t image_at = image_offset_for(pages * image_page_bytes);
};

TEST_F(Damage, EveryByteBeforeTheImageIsNoticed) {
    for (std::uint64_t offset = 0; offset < image_at; ++offset) {
        for (const char bits : {'\x01', '\x80', '\xff'}) {
            flip(file, offset, bits);
            const std::uint32_t error = check(position);
            ASSERT_TRUE(error == EBADMSG || (error == EINVAL && offset >= 8 && offset < 16))
                << offset << " " << what;
            ASSERT_TRUE(contains(what, checkpoint_name(position) + ": ")) << what;
            flip(file, offset, bits);
        }
    }
    EXPECT_EQ(check(position), 0U) << what;
}

TEST_F(Damage, StrayBytesAreNamed) {
    for (const std::uint64_t offset : {96UL, 4095UL, 4096 + 4 * pages, 8191UL}) {
        flip(file, offset, 1);
        EXPECT_EQ(check(position), EBADMSG);
        EXPECT_TRUE(contains(what, "offset " + std::to_string(offset) + " isn't zero")) << what;
        flip(file, offset, 1);
    }
}

TEST_F(Damage, AFlippedBitOfTheImageNamesItsPage) {
    std::mt19937_64 random(5);
    for (std::uint64_t page = 0; page < pages; ++page) {
        const std::uint64_t first = image_at + page * image_page_bytes;
        for (const std::uint64_t offset :
             {first, first + random() % image_page_bytes, first + image_page_bytes - 1}) {
            const char bit = static_cast<char>(1U << random() % 8);
            flip(file, offset, bit);
            ASSERT_EQ(check(position), EBADMSG) << offset;
            ASSERT_TRUE(contains(what, "page " + std::to_string(page) + " of 20, bytes " +
                                           std::to_string(first) + " to "))
                << what;
            flip(file, offset, bit);
        }
    }
    EXPECT_EQ(check(position), 0U) << what;
}

TEST_F(Damage, AHoleInPlaceOfDataIsNoticed) {
    const auto data = std::ranges::find_if(image, [](char byte) { return byte != 0; });
    const auto at = static_cast<std::uint64_t>(data - image.begin());
    const std::vector<char> zeros(hole_bytes);
    const std::uint64_t block = at / hole_bytes * hole_bytes;
    if (::fallocate(file.descriptor(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                    static_cast<off_t>(image_at + block), static_cast<off_t>(hole_bytes)) != 0) {
        GTEST_SKIP() << "the file system can't punch holes";
    }
    EXPECT_EQ(check(position), EBADMSG);
    EXPECT_TRUE(contains(what, "page " + std::to_string(at / image_page_bytes) + " of")) << what;
}

TEST_F(Damage, DataOfZerosInPlaceOfAHoleIsRight) {
    const Image zeros(8 * image_page_bytes);
    write(2, zeros);
    const File other = open_to_write(2);
    ASSERT_EQ(write_fully(other.descriptor(), std::span(zeros).first(3 * hole_bytes),
                          image_offset_for(zeros.size()) + 15 * hole_bytes),
              0U);
    EXPECT_EQ(check(2), 0U) << what;
}

TEST_F(Damage, AFileOfAnyOtherLengthIsNoticed) {
    const std::uint64_t whole = size();
    const auto cut = [&](std::uint64_t length) {
        ASSERT_EQ(::ftruncate(file.descriptor(), static_cast<off_t>(length)), 0);
        ASSERT_EQ(check(position), EBADMSG) << length;
        const char *text = length < whole ? "cut short: " : "instead of ";
        ASSERT_TRUE(contains(what, text)) << what;
        ASSERT_TRUE(contains(what, std::to_string(length))) << what;
    };
    cut(whole + 1);
    cut(whole + image_page_bytes);
    cut(whole - 1);
    for (std::uint64_t length = whole - hole_bytes; length > 0; length -= hole_bytes) {
        ASSERT_NO_FATAL_FAILURE(cut(length));
    }
    for (std::uint64_t length = 96; length-- > 0;) ASSERT_NO_FATAL_FAILURE(cut(length));
}

// The lost end of the image was a hole: only the length says that it is lost.
TEST_F(Damage, AFileThatIsCutWhileItIsOpenIsNoticed) {
    for (const std::uint64_t length : {image_at + hole_bytes, image_at, table_offset, 96UL, 0UL}) {
        const Image zeros(8 * image_page_bytes);
        write(2, zeros);
        Checkpoint checkpoint;
        ASSERT_EQ(checkpoint.open(folder(), test_id, 2), 0U);
        ASSERT_EQ(::truncate(path_of(checkpoint_name(2)).c_str(), static_cast<off_t>(length)), 0);
        EXPECT_EQ(checkpoint.check_image(), EBADMSG) << length;
        EXPECT_TRUE(contains(checkpoint.what(), "cut short: " + std::to_string(length) + " of"))
            << checkpoint.what();
    }
}

TEST_F(Damage, ACheckpointOfAnotherStoreIsRefused) {
    StoreId other = test_id;
    other[15] = 0;
    Checkpoint checkpoint;
    EXPECT_EQ(checkpoint.open(folder(), other, position), EBADMSG);
    EXPECT_TRUE(contains(checkpoint.what(), "another store")) << checkpoint.what();
}

TEST_F(Damage, ACheckpointUnderAnotherNameIsRefused) {
    ASSERT_EQ(::renameat(folder(), checkpoint_name(position).c_str(), folder(),
                         checkpoint_name(7).c_str()),
              0);
    EXPECT_EQ(check(position), ENOENT);
    EXPECT_EQ(check(7), EBADMSG);
    EXPECT_TRUE(contains(what, "contains position 4096 instead of 7")) << what;
}

TEST_F(Damage, AnotherFormatIsNamed) {
    EXPECT_EQ(check_with([](auto &head) { head.version = 9; }), EINVAL);
    EXPECT_TRUE(contains(what, "format version 9; this release reads version 1")) << what;
    EXPECT_EQ(check_with([](auto &head) { head.byte_order = 0x0403'0201; }), EINVAL);
    EXPECT_TRUE(contains(what, "byte order")) << what;
    EXPECT_EQ(check_with([](auto &head) { head.magic = __builtin_bswap64(head.magic); }), EINVAL);
    EXPECT_TRUE(contains(what, "other byte order")) << what;
    EXPECT_EQ(check_with([](auto &head) { head.magic = 0; }), EBADMSG);
    EXPECT_TRUE(contains(what, "not a checkpoint")) << what;
}

// Numbers that a valid checksum doesn't make right.
TEST_F(Damage, NumbersAreChecked) {
    constexpr std::uint64_t interesting[] = {
        0,          1,           4095,       4096,         8192,        12288,
        65535,      65536,       1ULL << 32, 1ULL << 39,   1ULL << 40,  1ULL << 47,
        1ULL << 63, ~0ULL << 16, ~0ULL - 1,  ~0ULL,        (~0ULL) / 2, 16ULL << 20,
        1ULL << 44, 0xffff'0000, ~0xfffULL,  test_capacity};
    std::uint64_t CheckpointHead::*const members[] = {
        &CheckpointHead::capacity, &CheckpointHead::position, &CheckpointHead::segment,
        &CheckpointHead::image_bytes, &CheckpointHead::image_offset};
    const CheckpointHead right = read_head();
    for (const auto member : members) {
        for (const std::uint64_t number : interesting) {
            CheckpointHead head = right;
            head.*member = number;
            const std::uint32_t error = check_with([&](auto &changed) { changed = head; });
            const bool harmless = number == right.*member ||
                                  (member == &CheckpointHead::segment && number <= position) ||
                                  (member == &CheckpointHead::capacity &&
                                   number >= right.image_bytes && wrong_number(head).empty());
            EXPECT_EQ(error, harmless ? 0U : EBADMSG) << number << " " << what;
        }
    }
    EXPECT_EQ(check_with([](auto &head) { head.base = 0; }), EBADMSG);
    EXPECT_EQ(check_with([](auto &head) { head.base += 4096; }), EBADMSG);
    EXPECT_EQ(check_with([](auto &head) { head.base = ~0xffffULL; }), EBADMSG);
    EXPECT_EQ(check(position), 0U) << what;
}

TEST_F(Damage, OnlyRegularFilesAreOpened) {
    const std::string name = checkpoint_name(1);
    ASSERT_EQ(::mkfifoat(folder(), name.c_str(), 0600), 0);
    EXPECT_EQ(check(1), EBADMSG);
    ASSERT_EQ(::unlinkat(folder(), name.c_str(), 0), 0);
    ASSERT_EQ(::symlinkat("/dev/zero", folder(), name.c_str()), 0);
    EXPECT_EQ(check(1), EBADMSG);
    EXPECT_TRUE(contains(what, "not a regular file")) << what;
    ASSERT_EQ(::unlinkat(folder(), name.c_str(), 0), 0);
    ASSERT_EQ(::mkdirat(folder(), name.c_str(), 0700), 0);
    EXPECT_EQ(check(1), EBADMSG);
    EXPECT_EQ(check(3), ENOENT);
    EXPECT_TRUE(contains(what, checkpoint_name(3) + ": No such file")) << what;
}

TEST_F(Damage, AnObjectIsUsedAgain) {
    Checkpoint checkpoint;
    EXPECT_EQ(checkpoint.open(folder(), test_id, 3), ENOENT);
    EXPECT_EQ(checkpoint.open(folder(), test_id, position), 0U);
    EXPECT_EQ(checkpoint.what(), "");
    EXPECT_EQ(checkpoint.check_image(), 0U);
    EXPECT_EQ(checkpoint.open(folder(), test_id, 3), ENOENT);
    EXPECT_LT(checkpoint.descriptor(), 0);
}

}  // namespace
}  // namespace tarnbase::runtime
