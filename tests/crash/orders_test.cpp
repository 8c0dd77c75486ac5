// SPDX-License-Identifier: Apache-2.0
// A writer, readers and a maker of checkpoints in every order of their steps, with deaths at every
// step: nobody reads a frame that is missing or half, a file that is gone always leads to a newer
// checkpoint, and no committed frame is lost.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>

#include "runtime/base/error_text.h"
#include "runtime/store/new_folder.h"
#include "runtime/store/sharing.h"
#include "tests/crash/orders.h"
#include "tests/support/temporary_directory.h"

namespace crash {
namespace {

using namespace tarnbase::runtime;
namespace fs = std::filesystem;

constexpr std::uint64_t capacity = 2ULL << 20;
// More than half of a log's first segment, so that commits begin new ones.
constexpr std::uint64_t long_block = 40 << 10;
constexpr std::uint64_t short_block = 64;

void require(bool condition, const std::string &otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

void require_success(std::uint32_t error, const char *doing) {
    require(error == 0,
            std::string(doing) + ": error " + std::to_string(error) + ", " + error_text());
}

// What a process does. All but the last two have the store open at the start.
enum class Part {
    writes_twice,  // commits of long frames
    writes,        // one of a short frame
    reads,         // what was committed meanwhile
    reads_twice,
    makes_checkpoint,
    does_all_twice,  // commits a long frame and makes a checkpoint
    opens_and_reads,
    opens_and_compacts,  // begins a segment and makes a checkpoint
};

// How far the writers have come.
struct Progress {
    std::uint64_t begun = 0;
    std::uint64_t committed = 0;
};

// A store, open in one process. Each commit has a number and replaces the only block by one that
// is filled with it.
class OpenStore {
 public:
    explicit OpenStore(const std::string &path) {
        File folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        require_success(sharing_.open(path.c_str(), std::move(folder)), "open");
        require_success(image_.region.map_front(nullptr, capacity, page_size), "map");
        require_success(sharing_.load(), "load");
    }

    Sharing &sharing() { return sharing_; }

    // The number of the last commit in the image, which is all there.
    std::uint64_t check() const {
        const std::uint64_t number = image_.header->committed;
        const std::uint64_t blocks = image_.header->arena.blocks;
        require(blocks == (number == 0 ? 0 : 1), std::to_string(blocks) + " blocks");
        if (number == 0) return 0;
        const auto block = image_.allocator.find(image_.header->last_object_id);
        require(block.has_value(), "the block of commit " + std::to_string(number) + " is missing");
        const char *bytes = image_.region.base() + block->offset;
        require(std::all_of(bytes, bytes + block->size,
                            [&](char byte) { return byte == static_cast<char>(number); }),
                "the block of commit " + std::to_string(number) + " has other bytes");
        return number;
    }

    void commit(std::uint64_t size, Progress &progress) {
        require_success(sharing_.become_writer(), "begin");
        const std::uint64_t before = check();
        require(before == progress.committed || before == progress.begun,
                "a writer finds commit " + std::to_string(before));
        progress.committed = before;
        progress.begun = before + 1;
        change(before, size);
        require_success(sharing_.publish(), "commit");
        progress.committed = before + 1;
        require_success(sharing_.give_up_writing(), "unlock");
    }

    void refresh(const Progress &progress) {
        const std::uint64_t before = check();
        const std::uint64_t least = progress.committed;
        require_success(sharing_.refresh(), "refresh");
        const std::uint64_t now = check();
        require(
            now >= before && now >= least && now <= progress.begun,
            "a reader finds commit " + std::to_string(now) + " after " + std::to_string(before));
    }

    void make_checkpoint() {
        const std::uint32_t error = sharing_.make_checkpoint();
        if (error != EBUSY) require_success(error, "checkpoint");
    }

 private:
    void change(std::uint64_t before, std::uint64_t size) {
        ChangeSet &changes = sharing_.changes();
        const auto old = image_.allocator.find(image_.header->last_object_id);
        void *const block = image_.allocator.allocate(size);
        require(block != nullptr, "no memory");
        const auto made = image_.allocator.find(image_.offset_of(block));
        std::memset(block, static_cast<int>(before + 1), made->size);
        changes.allocated(made->offset);
        if (before > 0) {
            changes.released(old->offset);
            image_.allocator.release(image_.region.base() + old->offset);
        }
        image_.header->last_object_id = made->offset;
        changes.mark(offsetof(StoreHeader, last_object_id), sizeof(std::uint64_t));
        image_.header->committed = before + 1;
    }

    Image image_;
    ReadingScopes scopes_;
    Sharing sharing_{image_, scopes_, nullptr};
};

class Store : public Scenario {
 public:
    // The first so many commits are there when the processes begin. The first process has the
    // store open.
    Store(const std::string &empty, std::string path, std::vector<Part> parts, unsigned commits)
        : path_(std::move(path)),
          parts_(std::move(parts)),
          commits_(commits),
          stores_(parts_.size()) {
        fs::remove_all(path_);
        fs::copy(empty, path_);
    }

    ~Store() override {
        // A writer that died is closed here like one that lives. Its log is short.
        control_->checkpoint.store(0);
    }

    void prepare(std::size_t process) override {
        const Part part = parts_[process];
        // Readers that come before all others in the list have seen none of the commits.
        const bool reads = part == Part::reads || part == Part::reads_twice;
        if (!reads || process + 1 == parts_.size()) prepare_commits();
        if (part == Part::opens_and_reads || part == Part::opens_and_compacts) return;
        stores_[process] = std::make_unique<OpenStore>(path_);
        if (control_ == nullptr) control_ = &stores_[process]->sharing().folder().control.page();
    }

    void run(std::size_t process) override {
        if (stores_[process] == nullptr) stores_[process] = std::make_unique<OpenStore>(path_);
        OpenStore &store = *stores_[process];
        switch (parts_[process]) {
            case Part::writes_twice:
                store.commit(long_block, progress_);
                store.commit(long_block, progress_);
                break;
            case Part::writes:
                store.commit(short_block, progress_);
                break;
            case Part::reads_twice:
                store.refresh(progress_);
                [[fallthrough]];
            case Part::reads:
            case Part::opens_and_reads:
                store.refresh(progress_);
                break;
            case Part::makes_checkpoint:
                store.make_checkpoint();
                break;
            case Part::does_all_twice:
                for (int i = 0; i < 2; ++i) {
                    store.commit(long_block, progress_);
                    store.make_checkpoint();
                }
                break;
            case Part::opens_and_compacts:
                require_success(store.sharing().compact(), "compact");
                break;
        }
    }

    void check() override {
        {
            OpenStore store(path_);
            const std::uint64_t found = store.check();
            require(found == progress_.committed || found == progress_.begun,
                    "the last process finds commit " + std::to_string(found));
            progress_.committed = progress_.begun = found;
            store.commit(short_block, progress_);
            store.make_checkpoint();
        }
        check_files();
        OpenStore(path_).refresh(progress_);
    }

    const std::string &folder() const override { return path_; }
    std::vector<std::uint64_t> words() const override {
        return {control_->published.load(), control_->checkpoint.load(), progress_.begun,
                progress_.committed};
    }

 private:
    void prepare_commits() {
        if (commits_ == 0) return;
        OpenStore store(path_);
        for (; commits_ > 0; --commits_) store.commit(long_block, progress_);
    }

    void check_files() const {
        std::size_t checkpoints = 0;
        for (const auto &entry : fs::directory_iterator(path_)) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with("checkpoint-")) ++checkpoints;
            require(name != "log-new" && name.find(".new.") == name.npos, name + " is left");
        }
        require(checkpoints == 1, std::to_string(checkpoints) + " checkpoints are left");
    }

    std::string path_;
    std::vector<Part> parts_;
    unsigned commits_;  // that aren't made yet
    std::vector<std::unique_ptr<OpenStore>> stores_;
    ControlPage *control_ = nullptr;
    Progress progress_;
};

class OrdersTest : public ::testing::Test {
 protected:
    OrdersTest() {
        Image image;
        require_success(image.region.map(nullptr, capacity), "map");
        image.format(reinterpret_cast<void *>(0x2100'0000'0000));
        NewFolder made;
        require_success(made.begin(empty().c_str(), 0777), "begin");
        require_success(made.fill(image), "fill");
        require_success(made.finish(), "finish");
    }

    void explore(const std::vector<Part> &parts, unsigned deaths, unsigned commits = 0) {
        Orders orders(
            [&] { return std::make_unique<Store>(empty(), directory_ / "store", parts, commits); },
            parts.size(), deaths);
        EXPECT_EQ(orders.explore(), "");
        RecordProperty("states", std::to_string(orders.states()));
        RecordProperty("orders", std::to_string(orders.repetitions()));
        std::printf("%zu states, %zu orders\n", orders.states(), orders.repetitions());
    }

 private:
    std::string empty() const { return directory_ / "empty"; }

    // A store is copied for each order.
    const tarn::test::TemporaryDirectory directory_{tarn::test::fast_directory_path()};
};

TEST_F(OrdersTest, AReaderFollowsAWriter) {
    explore({Part::writes_twice, Part::reads_twice}, 1);
    explore({Part::writes_twice, Part::opens_and_reads}, 1);
}

TEST_F(OrdersTest, AWriterTakesOverFromADeadOne) {
    explore({Part::writes_twice, Part::writes_twice}, 2);
    explore({Part::writes, Part::writes, Part::writes}, 1);
}

TEST_F(OrdersTest, ACheckpointIsMadeBesideAWriter) {
    explore({Part::writes_twice, Part::makes_checkpoint}, 1);
}

TEST_F(OrdersTest, ReadersFindTheNewestCheckpoint) {
    explore({Part::makes_checkpoint, Part::opens_and_reads}, 1, 3);
    explore({Part::reads, Part::makes_checkpoint}, 1, 3);
    explore({Part::does_all_twice, Part::opens_and_reads}, 0, 1);
}

TEST_F(OrdersTest, ACheckpointIsTakenOverFromADeadProcess) {
    explore({Part::makes_checkpoint, Part::makes_checkpoint}, 1, 2);
}

// Hundreds of thousands of orders.
TEST_F(OrdersTest, ThreeProcessesOfWhichOneDies) {
    if (std::getenv("TARNBASE_ALL_ORDERS") == nullptr) {
        GTEST_SKIP() << "TARNBASE_ALL_ORDERS is not set";
    }
    explore({Part::writes_twice, Part::opens_and_compacts}, 1, 1);
    explore({Part::reads_twice, Part::does_all_twice}, 1, 1);
    explore({Part::reads, Part::makes_checkpoint, Part::makes_checkpoint}, 1, 2);
    explore({Part::reads_twice, Part::makes_checkpoint, Part::writes_twice}, 1, 1);
}

}  // namespace
}  // namespace crash
