// SPDX-License-Identifier: Apache-2.0
// A check of a store reads all that its journal keeps.
#include <cstring>
#include <filesystem>
#include <functional>

#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"
#include "tests/unit/runtime_store/journal_store.h"

namespace tarn::test {
namespace {

class JournalCheck : public Journal {
 protected:
    // A store with three checkpoints and the log between them.
    void make(const kel_journal_settings &settings) const {
        const OpenStore store(path.c_str());
        make_number(store);
        start(store, settings);
        for (int i = 0; i < 3; ++i) fill_log(store, 3);
    }

    // The findings about the journal.
    std::vector<std::string> findings() const {
        const OpenStore store(path.c_str());
        std::vector<std::string> lines;
        kel_store_check(
            store.store, nullptr,
            [](const char *text, void *context) {
                const std::string line(text);
                const bool is_of_journal = line.starts_with("log-") ||
                                           line.starts_with("checkpoint-") ||
                                           line.starts_with("the journal");
                if (is_of_journal)
                    static_cast<std::vector<std::string> *>(context)->push_back(line);
            },
            nullptr, &lines);
        return lines;
    }

    // Segments before the newest checkpoint's.
    std::vector<std::uint64_t> older_segments() const {
        const Files files(path);
        Checkpoint newest;
        EXPECT_EQ(newest.open(files.folder.descriptor(), files.control.page().id,
                              files.checkpoints().back().position),
                  0U);
        std::vector<std::uint64_t> found;
        for (const runtime::SegmentFile &each : segments()) {
            if (each.first < newest.head().segment) found.push_back(each.first);
        }
        return found;
    }

    // The number of the first frame of a segment.
    std::uint64_t first_transaction(std::uint64_t segment) const {
        for (const JournalEntry &each : entries()) {
            if (each.segment == segment) return each.sequence;
        }
        return 0;
    }

    std::string file(const std::string &name) const { return path + "/" + name; }
    void change(const std::string &name, const std::function<void(std::string &)> &how) const {
        std::string content = read_file(file(name));
        how(content);
        write_file(file(name), content);
    }
    static void flip(char &byte) { byte = static_cast<char>(byte ^ 1); }
};

std::string from(std::uint64_t transaction, const char *what) {
    return ": from transaction " + std::to_string(transaction) + " on: " + what;
}

TEST_F(JournalCheck, FindsNothingInASoundJournal) {
    make(enabled());
    EXPECT_EQ(findings(), std::vector<std::string>());
    {
        const OpenStore store(path.c_str());
        start(store, compressed());
    }
    EXPECT_EQ(findings(), std::vector<std::string>());
}

TEST_F(JournalCheck, NamesEachDamagedCompressedSegment) {
    make(compressed());
    const std::vector<std::uint64_t> older = older_segments();
    ASSERT_GE(older.size(), 11U);
    const struct {
        std::size_t segment;
        std::function<void(std::string &)> damage;
        const char *what;
    } cases[] = {
        {1, [](std::string &bytes) { flip(bytes.back()); },
         "a compressed log segment has a wrong checksum"},
        {3, [](std::string &bytes) { flip(bytes[20]); },
         "a compressed log segment's head has a wrong checksum"},
        {5, [](std::string &bytes) { bytes.pop_back(); },
         "a compressed log segment has a wrong length"},
        {7, [](std::string &bytes) { bytes.resize(10); }, "a compressed log segment is cut short"},
        {9, [](std::string &bytes) { bytes.clear(); }, "a compressed log segment is cut short"},
    };
    std::vector<std::string> expected;
    for (const auto &each : cases) {
        const std::string name = runtime::compressed_segment_name(older[each.segment]);
        expected.push_back(name + from(first_transaction(older[each.segment]), each.what));
    }
    for (const auto &each : cases) {
        change(runtime::compressed_segment_name(older[each.segment]), each.damage);
    }
    EXPECT_EQ(findings(), expected);
}

TEST_F(JournalCheck, NamesACompressedSegmentInThePlaceOfAnother) {
    make(compressed());
    const std::vector<std::uint64_t> older = older_segments();
    const std::string name = runtime::compressed_segment_name(older[2]);
    const std::string expected =
        name + from(first_transaction(older[2]),
                    "a compressed log segment has another position than its name");
    std::filesystem::copy_file(file(runtime::compressed_segment_name(older[1])), file(name),
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(findings(), std::vector<std::string>{expected});
}

TEST_F(JournalCheck, NamesDamagedFramesAndSegmentsThatAreMissing) {
    make(enabled());
    const std::vector<std::uint64_t> older = older_segments();
    ASSERT_GE(older.size(), 6U);
    const std::vector<std::string> expected = {
        runtime::segment_name(older[1]) +
            from(first_transaction(older[1]), "a frame has a wrong checksum"),
        runtime::segment_name(older[3]) + from(first_transaction(older[3]), "the file is missing"),
        runtime::segment_name(older[5]) +
            from(first_transaction(older[5]), "a log segment has a wrong magic"),
    };
    change(runtime::segment_name(older[1]), [](std::string &bytes) {
        flip(bytes[runtime::segment_head_bytes + sizeof(runtime::FrameHead) + 8]);
    });
    std::filesystem::remove(file(runtime::segment_name(older[3])));
    change(runtime::segment_name(older[5]), [](std::string &bytes) { flip(bytes[0]); });
    EXPECT_EQ(findings(), expected);
}

TEST_F(JournalCheck, NoticesATransactionWithTheNumberOfAnother) {
    make(enabled());
    const std::vector<std::uint64_t> older = older_segments();
    const std::uint64_t number = first_transaction(older[2]);
    change(runtime::segment_name(older[2]), [](std::string &bytes) {
        char *frame = &bytes[runtime::segment_head_bytes];
        runtime::FrameHead head;
        std::memcpy(&head, frame, sizeof head);
        ++head.sequence;
        head.crc = 0;
        std::memcpy(frame, &head, sizeof head);
        head.crc = runtime::crc32c({frame, head.length});
        std::memcpy(frame, &head, sizeof head);
    });
    const std::vector<std::string> found = findings();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(found.front().starts_with(runtime::segment_name(older[2]) + from(number, "")));
}

TEST_F(JournalCheck, ChecksTheOlderCheckpoints) {
    make(enabled());
    const std::uint64_t position = Files(path).checkpoints()[1].position;
    const std::string name = runtime::checkpoint_name(position);
    change(name, [](std::string &bytes) { flip(bytes.back()); });
    const std::vector<std::string> found = findings();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_NE(found.front().find(name), std::string::npos) << found.front();
}

}  // namespace
}  // namespace tarn::test
