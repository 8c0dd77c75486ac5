/* SPDX-License-Identifier: Apache-2.0 */
// A store with a journal, for the tests of its files.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_STORE_JOURNAL_STORE_H
#define TARNBASE_TESTS_UNIT_RUNTIME_STORE_JOURNAL_STORE_H

#include <fcntl.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/log/log.h"
#include "runtime/log/notes.h"
#include "runtime/log/segment_files.h"
#include "tarnbase/journal.h"
#include "tests/unit/runtime_store/open_store.h"

namespace tarn::test {

namespace runtime = tarnbase::runtime;
using runtime::Checkpoint;
using runtime::Control;
using runtime::LogReader;
using runtime::Notes;

// What a test keeps of a frame's notes.
struct JournalEntry {
    std::uint64_t sequence;
    std::uint64_t segment;
    std::optional<runtime::Author> author;
    std::optional<std::string> command;
    std::string label;
};

class Journal : public StoreTest {
 protected:
    // Reads the store's files as any process can.
    struct Files {
        explicit Files(const std::string &path)
            : folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
            EXPECT_EQ(control.open(folder.descriptor(), path.c_str()), 0U);
        }
        std::vector<runtime::CheckpointEntry> checkpoints() const {
            return runtime::list_checkpoints(folder.descriptor());
        }
        // Opens the log at a checkpoint.
        std::uint32_t open(LogReader &log, std::uint64_t position) const {
            Checkpoint checkpoint;
            const std::uint32_t error =
                checkpoint.open(folder.descriptor(), control.page().id, position);
            if (error != 0) return error;
            const runtime::CheckpointHead &head = checkpoint.head();
            return log.open(folder.descriptor(), head.id, head.segment, head.position,
                            head.sequence + 1);
        }
        runtime::File folder;
        Control control;
    };

    // The frames from the oldest checkpoint on.
    std::vector<JournalEntry> entries() const {
        const Files files(path);
        std::vector<JournalEntry> found;
        LogReader log;
        EXPECT_EQ(files.open(log, files.checkpoints().front().position), 0U);
        const std::uint64_t published = files.control.page().published.load();
        std::span<const char> frame;
        while (log.next(published, frame) == 0) {
            const Notes notes = runtime::read_notes(frame);
            JournalEntry entry{log.next_sequence() - 1, log.segment(), notes.author, {}, {}};
            if (notes.command) entry.command = *notes.command;
            entry.label = notes.label;
            found.push_back(std::move(entry));
        }
        EXPECT_EQ(log.position(), published) << log.what();
        return found;
    }

    // Those that were written with a journal.
    std::vector<JournalEntry> signed_entries() const {
        std::vector<JournalEntry> found = entries();
        std::erase_if(found, [](const JournalEntry &each) { return !each.author.has_value(); });
        return found;
    }

    static kel_journal_settings enabled() {
        kel_journal_settings settings{};
        settings.enabled = 1;
        return settings;
    }
    static void start(const OpenStore &store, const kel_journal_settings &settings) {
        ASSERT_EQ(kel_store_set_journal(store.store, &settings), 0U) << kel_error_text();
    }
    static kel_journal_settings compressed() {
        kel_journal_settings settings{};
        settings.enabled = KEL_JOURNAL_COMPRESSED;
        return settings;
    }
    static kel_journal_compression compression(const OpenStore &store) {
        kel_journal_compression found{};
        EXPECT_EQ(kel_store_describe_compression(store.store, &found), 0U) << kel_error_text();
        return found;
    }
    std::vector<runtime::SegmentFile> segments() const {
        return runtime::list_segments(Files(path).folder.descriptor());
    }
    static kel_journal_description describe(const OpenStore &store) {
        kel_journal_description description{};
        EXPECT_EQ(kel_store_describe_journal(store.store, &description), 0U) << kel_error_text();
        return description;
    }

    static std::uint64_t *make_number(const OpenStore &store) {
        std::uint64_t *number = nullptr;
        EXPECT_EQ(store.change([&](std::uint32_t) { number = store.make("number", 64 << 10); }),
                  0U);
        return number;
    }
    // Commits the numbers [from, to), each with a label if there is one.
    static void count(const OpenStore &store, std::uint64_t from, std::uint64_t to,
                      const char *label = nullptr) {
        std::uint64_t *number = store.find("number");
        ASSERT_NE(number, nullptr);
        for (std::uint64_t i = from; i < to; ++i) {
            ASSERT_EQ(store.change([&](std::uint32_t tx) {
                ASSERT_EQ(kel_transaction_label(store.handle, tx, label), 0U);
                store.set(tx, number, i);
            }),
                      0U)
                << kel_error_text();
        }
    }
    // Fills the log with about so many MiB, and makes a checkpoint.
    static void fill_log(const OpenStore &store, unsigned mebibytes) {
        constexpr std::uint64_t words = 32 << 10 >> 3;
        std::uint64_t *number = store.find("number");
        for (unsigned i = 0; i < mebibytes * 32; ++i) {
            ASSERT_EQ(store.change([&](std::uint32_t tx) {
                store.handle->write_log_hook(store.handle->arena, number, words * 8, tx);
                std::fill_n(number, words, i);
            }),
                      0U);
        }
        ASSERT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
    }

    // As if the machine had been started again since the store was used.
    void restart() const {
        const Files files(path);
        files.control.page().boot.fetch_add(1);
    }
    // Zeros bytes of the log at a position, as far as they are in the segment.
    void damage_log(std::uint64_t position, std::uint64_t bytes) const {
        const Files files(path);
        std::uint64_t first = 0;
        for (const runtime::SegmentFile &each : runtime::list_segments(files.folder.descriptor())) {
            if (each.first <= position) first = each.first;
        }
        runtime::Segment segment;
        ASSERT_EQ(segment.open(files.folder.descriptor(), files.control.page().id, first, true),
                  0U);
        const std::span<char> rest = segment.from(position);
        std::ranges::fill(rest.first(std::min<std::uint64_t>(bytes, rest.size())), '\0');
    }
};

}  // namespace tarn::test

#endif
