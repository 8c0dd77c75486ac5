/* SPDX-License-Identifier: Apache-2.0 */
// What the tests of the log share: a folder of its own, random frames, and a log whose frames are
// kept to compare.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_LOG_SUPPORT_H
#define TARNBASE_TESTS_UNIT_RUNTIME_LOG_SUPPORT_H

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "runtime/base/file.h"
#include "runtime/log/frame.h"
#include "runtime/log/log.h"
#include "runtime/log/segment_files.h"
#include "tests/support/temporary_directory.h"

namespace tarnbase::runtime {

using tarn::test::read_file;
using tarn::test::write_file;

inline constexpr StoreId test_id = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

class Folder {
 public:
    Folder() = default;
    explicit Folder(const Folder &other) : Folder() {
        std::filesystem::copy(other.directory_.path(), directory_.path(),
                              std::filesystem::copy_options::recursive);
    }
    Folder &operator=(const Folder &) = delete;

    int descriptor() const { return file_.descriptor(); }
    std::string file(const std::string &name) const { return directory_ / name; }
    std::string segment(std::uint64_t position) const { return file(segment_name(position)); }

    std::set<std::string> names() const {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(directory_.path())) {
            names.insert(entry.path().filename());
        }
        return names;
    }

 private:
    tarn::test::TemporaryDirectory directory_;
    File file_{::open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

inline std::string text_of(std::span<const char> bytes) { return {bytes.begin(), bytes.end()}; }

using Random = std::mt19937_64;

inline std::string random_bytes(Random &random, std::size_t size) {
    std::string bytes(size, 0);
    for (std::size_t i = 0; i < size; i += 8) {
        const std::uint64_t word = random();
        std::memcpy(bytes.data() + i, &word, std::min<std::size_t>(8, size - i));
    }
    return bytes;
}

// A frame with a content of so many bytes.
inline std::string frame_of(std::uint64_t sequence, const std::string &content) {
    FrameBuilder builder;
    builder.write(4096, content);
    return text_of(builder.finish(sequence));
}

// A log with its published position, as the processes of a store share it.
class TestLog {
 public:
    explicit TestLog(const Folder &folder) : folder_(folder) {
        Segment first;
        EXPECT_EQ(first.create(folder.descriptor(), test_id, 0), 0U);
        EXPECT_EQ(writer_.open(folder.descriptor(), test_id, 0, 0), 0U);
    }

    std::uint32_t append(const std::string &frame) {
        const std::uint32_t error = writer_.append(frame);
        if (error == 0) publish(frame);
        return error;
    }
    std::uint32_t append_to_new(const std::string &frame) {
        const std::uint32_t error = writer_.append_to_new(frame);
        if (error == 0) publish(frame);
        return error;
    }
    void publish(const std::string &frame) {
        frames_.push_back(frame);
        published_ = writer_.position();
        segment_ = writer_.segment();
    }
    std::uint32_t append_random(Random &random, std::size_t most) {
        return append(frame_of(next_sequence(), random_bytes(random, random() % most)));
    }

    // Reads the whole log from its start in a folder, and compares.
    void verify(const Folder &folder) const {
        LogReader reader;
        ASSERT_EQ(reader.open(folder.descriptor(), test_id, 0, 0, 1), 0U);
        for (const std::string &frame : frames_) {
            std::span<const char> read;
            ASSERT_EQ(reader.next(published_, read), 0U) << reader.what();
            ASSERT_TRUE(text_of(read) == frame) << reader.next_sequence();
        }
        std::span<const char> none;
        ASSERT_EQ(reader.next(published_, none), std::uint32_t{ENODATA});
        ASSERT_EQ(reader.position(), published_);
        ASSERT_EQ(reader.segment(), segment_);
        ASSERT_EQ(reader.next_sequence(), next_sequence());
    }
    void verify() const { verify(folder_); }

    const Folder &folder() const { return folder_; }
    LogWriter &writer() { return writer_; }
    const std::vector<std::string> &frames() const { return frames_; }
    std::uint64_t published() const { return published_; }
    std::uint64_t segment() const { return segment_; }
    std::uint64_t next_sequence() const { return frames_.size() + 1; }

 private:
    const Folder &folder_;
    LogWriter writer_;
    std::vector<std::string> frames_;
    std::uint64_t published_ = 0;
    std::uint64_t segment_ = 0;
};

}  // namespace tarnbase::runtime

#endif
