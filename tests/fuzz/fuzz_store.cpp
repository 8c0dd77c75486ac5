// SPDX-License-Identifier: Apache-2.0
// Checks a store whose image was changed, in memory or through a checkpoint with right checksums.
// The check must end, and accept only what can be read. What is salvaged of one can be read, too.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "runtime/base/file.h"
#include "runtime/checkpoint/checkpoint.h"
#include "tarnbase/module.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"
#include "tests/fuzz/store_changes.h"
#include "tests/fuzz/store_reads.h"
#include "tests/support/module.h"
#include "tests/support/temporary_directory.h"
#include "tests/unit/runtime_check/filled_store.h"

namespace tarnbase::fuzz {

namespace {

constexpr u32 records = 4;

// A fixed address, so that a failing input fails again.
kel_store_options options_at(u64 base) { return {64ULL << 20, reinterpret_cast<void *>(base)}; }
constexpr u64 private_base = 0x3000'0000'0000;
constexpr u64 file_base = 0x3100'0000'0000;

std::vector<u8> image_of(const kel_store *store, u64 &base) {
    kel_store_description description;
    kel_store_describe(store, &description);
    base = reinterpret_cast<u64>(description.base);
    const u8 *bytes = static_cast<const u8 *>(description.base);
    return {bytes, bytes + description.size};
}

// AddressSanitizer's memmove, which std::copy calls, copies byte by byte.
void copy_image(const Image &image, u8 *to) {
    std::memcpy(to, image.bytes().data(), image.bytes().size());
}

// A store without a finding can be read.
void check_and_read(kel_store *store, u32 mode) {
    u32 findings = 0;
    const u32 error = kel_store_check(
        store, tarnbase_table_get_vft,
        [](const char *text, void *context) {
            require(text[0] != '\0', "a finding has a text");
            ++*static_cast<u32 *>(context);
        },
        nullptr, &findings);
    require(error == (findings == 0 ? 0 : EBADMSG), "a check returns whether it found something");
    if (error == 0) read_everything(store, mode);
}

// A store in memory, which is restored after each round.
class InMemory {
 public:
    InMemory() {
        const kel_store_options options = options_at(private_base);
        require(kel_store_create_private(&options, &store_) == 0, "a store can be made");
        forget_table_roots();
        tarn::test::fill_store(store_, records);
        u64 base = 0;
        std::vector<u8> bytes = image_of(store_, base);
        memory_ = reinterpret_cast<u8 *>(base);
        image_ = std::make_unique<Image>(std::move(bytes), base);
    }
    ~InMemory() { kel_store_close(store_); }
    InMemory(const InMemory &) = delete;
    InMemory &operator=(const InMemory &) = delete;

    void run(Bytes changes, u32 mode) {
        image_->change(memory_, changes);
        check_and_read(store_, mode);
        copy_image(*image_, memory_);
    }

 private:
    kel_store *store_ = nullptr;
    u8 *memory_ = nullptr;
    std::unique_ptr<Image> image_;
};

// A store in a folder, whose checkpoint is written anew in each round.
class InFiles {
 public:
    InFiles() {
        kel_store *store = nullptr;
        const kel_store_options options = options_at(file_base);
        require(kel_store_create(path_.c_str(), &options, &store) == 0, "a store can be made");
        forget_table_roots();
        tarn::test::fill_store(store, records);
        require(kel_store_checkpoint(store) == 0, "a checkpoint can be made");
        u64 base = 0;
        std::vector<u8> bytes = image_of(store, base);
        changed_ = bytes;
        image_ = std::make_unique<Image>(std::move(bytes), base);
        kel_store_close(store);
        folder_ = runtime::File(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        read_head();
    }
    InFiles(const InFiles &) = delete;
    InFiles &operator=(const InFiles &) = delete;

    void run(Bytes changes, u32 mode, u8 conditions) {
        copy_image(*image_, changed_.data());
        image_->change(changed_.data(), changes);
        runtime::remove_checkpoints(folder_.descriptor(), head_.position + 1);
        const bool is_wrong = (conditions & wrong_checksums) != 0;
        write(is_wrong ? image_->bytes() : changed_);
        if (is_wrong) overwrite(changed_);
        kel_store *store = nullptr;
        if ((conditions & salvaged) != 0) return salvage(mode);
        const u32 error = kel_store_open(path_.c_str(), &store);
        require(error == 0 || error == EBADMSG, "a damaged store has its own error");
        if (error != 0) return;
        for (kel_table *table = kel_store_first_table(store); table != nullptr;
             table = table->toc_next) {
            require(table->open_mode <= KEL_OPEN_AUTO_ID, "a table that opens is sound");
        }
        check_and_read(store, mode);
        kel_store_close(store);
    }

 private:
    void write(const std::vector<u8> &bytes) {
        const std::span<const char> image(reinterpret_cast<const char *>(bytes.data()),
                                          bytes.size());
        require(runtime::write_checkpoint(folder_.descriptor(), head_, image) == 0,
                "a checkpoint can be written");
    }

    // Puts an image into the checkpoint, whose checksums stay.
    void overwrite(const std::vector<u8> &bytes) {
        const std::string path = path_ + "/" + runtime::checkpoint_name(head_.position);
        const runtime::File file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
        const auto offset = static_cast<off_t>(head_.image_offset);
        require(::pwrite(file.descriptor(), bytes.data(), bytes.size(), offset) ==
                    static_cast<ssize_t>(bytes.size()),
                "a checkpoint can be overwritten");
    }

    void salvage(u32 mode) {
        kel_store *store = nullptr;
        const auto report = [](const kel_table *, u64, const char *text, void *) {
            require(text[0] != '\0', "a loss has a text");
        };
        require(
            kel_store_salvage(path_.c_str(), tarnbase_table_get_vft, report, nullptr, &store) == 0,
            "a store whose checkpoint opens can be salvaged");
        read_everything(store, mode);
        kel_store_close(store);
    }

    void read_head() {
        for (const auto &entry : std::filesystem::directory_iterator(path_)) {
            const std::string name = entry.path().filename().string();
            constexpr std::string_view prefix = "checkpoint-";
            if (!name.starts_with(prefix)) continue;
            const u64 position = std::stoull(name.substr(prefix.size()), nullptr, 16);
            runtime::CheckpointHead head{};
            const runtime::File file(::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC));
            require(::read(file.descriptor(), &head, sizeof head) == sizeof head,
                    "a checkpoint can be read");
            if (head.position == position) head_ = head;
        }
    }

    const tarn::test::TemporaryDirectory directory_;
    const std::string path_ = directory_ / "store";
    runtime::File folder_;
    runtime::CheckpointHead head_{};
    std::unique_ptr<Image> image_;
    std::vector<u8> changed_;  // made once: it is large
};

}  // namespace

void fuzz_store(Bytes bytes) {
    static const bool is_quiet = [] {
        kel_trace_set_sink([](void *, std::uint16_t, u32, const char *) {}, nullptr);
        return true;
    }();
    require(is_quiet, "traces are dropped");
    static InMemory in_memory;
    static InFiles in_files;
    Input input(bytes);
    const u8 conditions = input.byte();
    const Buffer rest = input.rest();
    const Bytes changes{rest.data(), rest.size()};
    if (changes.empty()) return;
    const u32 mode =
        (conditions & with_tracking) != 0 ? KEL_STATE_TRACKING_ON : KEL_STATE_TRACKING_OFF;
    if ((conditions & not_through_file) == 0) {
        in_files.run(changes, mode, conditions);
    } else {
        in_memory.run(changes, mode);
    }
}

}  // namespace tarnbase::fuzz
