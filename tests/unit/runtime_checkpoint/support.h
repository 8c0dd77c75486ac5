/* SPDX-License-Identifier: Apache-2.0 */
// A folder of its own for each test, images, and changes of files.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CHECKPOINT_SUPPORT_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CHECKPOINT_SUPPORT_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "tests/support/temporary_directory.h"

namespace tarnbase::runtime {

inline constexpr StoreId test_id = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
inline constexpr std::uint64_t test_capacity = 128ULL << 20;

using Image = std::vector<char>;

inline CheckpointHead test_head(std::uint64_t position) {
    CheckpointHead head{};
    head.id = test_id;
    head.base = 0x2000'0000'0000;
    head.capacity = test_capacity;
    head.position = position;
    head.segment = position / 2;
    head.sequence = position / 16;
    return head;
}

// Random bytes in about every `gap`-th piece of 4096 bytes, some with a single byte; the
// rest is zero.
inline Image sparse_image(std::uint64_t pages, std::uint64_t gap, std::uint32_t seed) {
    std::mt19937_64 random(seed);
    Image image(pages * image_page_bytes);
    for (std::uint64_t at = 0; at < image.size(); at += hole_bytes) {
        if (random() % gap != 0) continue;
        if (random() % 4 == 0) {
            image[at + random() % hole_bytes] = 1;
            continue;
        }
        for (std::uint64_t i = at; i < at + hole_bytes; i += sizeof(std::uint64_t)) {
            const std::uint64_t word = random();
            std::memcpy(&image[i], &word, sizeof word);
        }
    }
    return image;
}

class CheckpointTest : public ::testing::Test {
 protected:
    void SetUp() override { ASSERT_TRUE(folder_.is_open()) << directory_.path(); }

    int folder() const { return folder_.descriptor(); }
    std::string path_of(const std::string &name) const { return directory_ / name; }

    void write(std::uint64_t position, const Image &image) {
        ASSERT_EQ(write_checkpoint(folder(), test_head(position), image), 0U);
    }

    // Opens and checks all of a checkpoint. Returns an errno number; the text is in `what`.
    std::uint32_t check(std::uint64_t position) {
        Checkpoint checkpoint;
        std::uint32_t error = checkpoint.open(folder(), test_id, position);
        EXPECT_TRUE(error == 0 || checkpoint.descriptor() < 0);
        if (error == 0) error = checkpoint.check_image();
        what = checkpoint.what();
        return error;
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator(directory_.path())) {
            found.push_back(entry.path().filename());
        }
        std::ranges::sort(found);
        return found;
    }

    File open_to_write(std::uint64_t position) const {
        return File(::openat(folder(), checkpoint_name(position).c_str(), O_RDWR | O_CLOEXEC));
    }

    std::string what;

 private:
    const tarn::test::TemporaryDirectory directory_;
    const File folder_{::open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

inline void flip(const File &file, std::uint64_t offset, char bits) {
    char byte;
    ASSERT_EQ(read_fully(file.descriptor(), {&byte, 1}, offset), 0U);
    byte = static_cast<char>(byte ^ bits);
    ASSERT_EQ(write_fully(file.descriptor(), {&byte, 1}, offset), 0U);
}

inline bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

}  // namespace tarnbase::runtime

#endif
