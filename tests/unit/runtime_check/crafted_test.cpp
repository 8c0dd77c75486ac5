// SPDX-License-Identifier: Apache-2.0
// Stores whose checksums are right and whose content is wrong: opening one neither reads nor writes
// outside of it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>

#include "runtime/catalog/named_entry.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/log/frame.h"
#include "runtime/store/header.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/filled_store.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

void require(std::uint32_t error) {
    if (error != 0) throw std::runtime_error(kel_error_text());
}

// The image of a store, not at its own address.
class Crafted {
 public:
    explicit Crafted(std::vector<char> &bytes, std::uint64_t base) : bytes_(bytes), base_(base) {}

    StoreHeader &header() const { return *at<StoreHeader>(base_); }
    template <typename T>
    T *at(const void *address) const {
        return at<T>(reinterpret_cast<std::uintptr_t>(address));
    }
    template <typename T>
    T *at(std::uint64_t address) const {
        return reinterpret_cast<T *>(bytes_.data() + (address - base_));
    }
    kel_table &table() const { return *at<kel_table>(header().tables.first); }
    // The head of a large block.
    Page &large() const {
        for (std::uint64_t at = page_size;; at += page_size) {
            Page &page = *reinterpret_cast<Page *>(bytes_.data() + at);
            if (page.kind == PageKind::large_block && page.pages == 1) return page;
        }
    }
    std::uint64_t offset_of(const void *place) const {
        return static_cast<std::uint64_t>(static_cast<const char *>(place) - bytes_.data());
    }

 private:
    std::vector<char> &bytes_;
    std::uint64_t base_;
};

class CraftedStore : public ::testing::Test {
 protected:
    CraftedStore() {
        kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) {}, nullptr);
        std::string name = (std::filesystem::temp_directory_path() / "craft-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error(name);
        directory_ = name;
        path_ = directory_ / "test.store";
        const kel_store_options options{64ULL << 20, nullptr};
        kel_store *store = nullptr;
        require(kel_store_create(path_.c_str(), &options, &store));
        fill_store(store, 3);
        require(kel_store_checkpoint(store));
        kel_store_description description;
        kel_store_describe(store, &description);
        base_ = reinterpret_cast<std::uint64_t>(description.base);
        bytes_.assign(static_cast<char *>(description.base),
                      static_cast<char *>(description.base) + description.size);
        kel_store_close(store);
        forget_table_roots();
        folder_ = File(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        require(control_.open(folder_.descriptor(), path_.c_str()));
        checkpoint_ = path_ / checkpoint_name(control_.page().checkpoint);
        std::ifstream(checkpoint_, std::ios::binary)
            .read(reinterpret_cast<char *>(&head_), sizeof head_);
    }
    ~CraftedStore() override { std::filesystem::remove_all(directory_); }

    Crafted image() { return Crafted(bytes_, base_); }
    void write_image() {
        std::filesystem::remove(checkpoint_);
        require(write_checkpoint(folder_.descriptor(), head_, bytes_));
    }
    // Publishes a frame.
    void append(const std::function<void(FrameBuilder &)> &build) {
        FrameBuilder frame;
        frame.clear();
        build(frame);
        LogWriter log;
        require(log.open(folder_.descriptor(), head_.id, head_.segment, head_.position));
        require(log.append(frame.finish(head_.sequence + 1)));
        control_.publish(log.position());
    }
    void expect_refusal(const char *text) {
        kel_store *store = nullptr;
        EXPECT_EQ(kel_store_open(path_.c_str(), &store), std::uint32_t{EBADMSG});
        EXPECT_NE(std::string(kel_error_text()).find(text), std::string::npos) << kel_error_text();
        EXPECT_EQ(store, nullptr);
        kel_store_close(store);
    }

    std::filesystem::path directory_, path_, checkpoint_;
    std::uint64_t base_ = 0;
    std::vector<char> bytes_;
    File folder_;
    Control control_;
    CheckpointHead head_{};
};

TEST_F(CraftedStore, ThatIsSoundOpens) {
    write_image();
    kel_store *store = nullptr;
    ASSERT_EQ(kel_store_open(path_.c_str(), &store), 0U) << kel_error_text();
    EXPECT_EQ(joined(findings_of(store)), "");
    kel_store_close(store);
}

struct Craft {
    const char *name;
    void (*make)(const Crafted &);
    const char *text;
};

template <typename T>
T *wild() {
    return reinterpret_cast<T *>(0x1234'5678'9000);
}

const Craft crafts[] = {
    {"base", [](const Crafted &c) { c.header().base = wild<void>(); }, "header has a wrong number"},
    {"capacity", [](const Crafted &c) { c.header().capacity *= 2; }, "header has a wrong number"},
    {"size", [](const Crafted &c) { c.header().arena.size = 1ULL << 50; },
     "header has a wrong number"},
    {"size_small", [](const Crafted &c) { c.header().arena.size = 0; },
     "header has a wrong number"},
    {"size_odd", [](const Crafted &c) { c.header().arena.size += 8; }, "header has a wrong number"},
    {"tables", [](const Crafted &c) { c.header().tables.first = wild<kel_table>(); },
     "the table list"},
    {"table_cycle", [](const Crafted &c) { c.table().toc_next = c.header().tables.first; },
     "the table list"},
    {"table_descriptor",
     [](const Crafted &c) {
         c.table().descriptor = reinterpret_cast<kel_type_info *>(c.header().tables.first);
     },
     "its descriptor is"},
    {"keys", [](const Crafted &c) { c.header().keys = wild<void>(); }, "the keyed store"},
    {"key_name",
     [](const Crafted &c) { c.at<NamedEntry>(c.header().keys)->name = wild<const char>(); },
     "the keyed store"},
    {"types", [](const Crafted &c) { c.header().types = wild<void>(); }, "the type map"},
    {"type", [](const Crafted &c) { c.at<NamedEntry>(c.header().types)->value = wild<void>(); },
     "the descriptor"},
    {"variants",
     [](const Crafted &c) {
         c.at<kel_type_info>(c.at<NamedEntry>(c.header().types)->value)->variant_info =
             wild<kel_variant_info>();
     },
     "the descriptor"},
};

class CraftedImage : public CraftedStore, public ::testing::WithParamInterface<Craft> {};

TEST_P(CraftedImage, IsRefused) {
    GetParam().make(image());
    write_image();
    expect_refusal(GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Every, CraftedImage, ::testing::ValuesIn(crafts),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(CraftedStore, DoesNotGetASizeFromAFrame) {
    const std::uint64_t size = 1ULL << 39;
    append([&](FrameBuilder &frame) {
        frame.write(offsetof(StoreHeader, arena) + offsetof(ArenaState, size),
                    {reinterpret_cast<const char *>(&size), sizeof size});
    });
    expect_refusal("the log of the store is damaged");
}

TEST_F(CraftedStore, IsNotWrittenOutsideOfItsBlocksByAFrame) {
    const char bytes[8] = {'x'};
    append([&](FrameBuilder &frame) { frame.write(head_.capacity - 8, bytes); });
    expect_refusal("it writes outside of the blocks");
}

// A block that claims to be larger than the store would let a frame write after it.
TEST_F(CraftedStore, IsNotWrittenAfterABlockThatClaimsToBeLarger) {
    Page &page = image().large();
    const std::uint64_t block = image().offset_of(&page) + large_block_offset;
    page.pages = ~0U;
    write_image();
    const std::vector<char> bytes(1 << 20, 'x');
    append([&](FrameBuilder &frame) {
        frame.write(head_.capacity - 16, bytes);
        frame.write(block, bytes);
    });
    expect_refusal("damaged");
}

TEST_F(CraftedStore, IsNotFreedAfterABlockThatClaimsToBeLarger) {
    Page &page = image().large();
    const std::uint64_t block = image().offset_of(&page) + large_block_offset;
    page.pages = ~0U;
    write_image();
    append([&](FrameBuilder &frame) { frame.release(block); });
    expect_refusal("damaged");
}

// What a check finds in the files of a store that is open.
class DamagedFile : public CraftedStore {
 protected:
    void flip(const std::filesystem::path &path, std::uint64_t offset) {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekg(static_cast<std::streamoff>(offset));
        const char old = static_cast<char>(file.get());
        file.seekp(static_cast<std::streamoff>(offset));
        file.put(static_cast<char>(old ^ 1));
    }
    std::string findings() {
        std::string found = joined(findings_of(store_));
        kel_store_close(store_);
        return found;
    }
    void open() { require(kel_store_open(path_.c_str(), &store_)); }
    kel_store *store_ = nullptr;
};

TEST_F(DamagedFile, IsACheckpointsPage) {
    open();
    flip(checkpoint_, head_.image_offset + 300);  // which nothing uses in memory
    EXPECT_NE(findings().find("doesn't match its checksum"), std::string::npos);
}

TEST_F(DamagedFile, IsAFrame) {
    const char bytes[8] = {};
    append([&](FrameBuilder &frame) { frame.write(counters_offset + 8, bytes); });
    open();
    flip(path_ / segment_name(head_.segment),
         segment_head_bytes + (head_.position - head_.segment) + 20);
    EXPECT_NE(findings().find("the log: it is damaged at position"), std::string::npos);
}

TEST_F(DamagedFile, IsACheckpointThatIsMissing) {
    open();
    std::filesystem::remove(checkpoint_);
    EXPECT_NE(findings().find("its checkpoint or a part of its log is missing"), std::string::npos);
}

}  // namespace
}  // namespace tarn::test
