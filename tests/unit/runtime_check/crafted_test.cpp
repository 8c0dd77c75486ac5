// SPDX-License-Identifier: Apache-2.0
// Stores whose checksums are right and whose content is wrong: opening one neither reads nor writes
// outside of it.
#include <filesystem>
#include <string>

#include "runtime/catalog/named_entry.h"
#include "runtime/log/segment_files.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/crafted_store.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

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

// As if the page had become damaged on the disk: nobody has stored into the file.
TEST_F(DamagedFile, IsNeverCopiedWithARightChecksum) {
    flip(checkpoint_, head_.image_offset + 300);
    Checkpoint damaged;
    require(damaged.open(folder_.descriptor(), head_.id, head_.position));
    control_.page().checked_image = damaged.identity();
    const char bytes[8] = {};
    append([&](FrameBuilder &frame) { frame.write(counters_offset + 8, bytes); });
    open();
    EXPECT_EQ(kel_store_checkpoint(store_), std::uint32_t{EBADMSG});
    EXPECT_NE(std::string(kel_error_text()).find("doesn't match its checksum"), std::string::npos);
    EXPECT_EQ(kel_store_backup(store_, (directory_ / "copy").c_str()), std::uint32_t{EBADMSG});
    EXPECT_EQ(control_.page().checkpoint, head_.position);
    EXPECT_EQ(control_.page().checked_image, 0U) << "the next process checks it too";
    kel_store_close(store_);
    expect_refusal("doesn't match its checksum");
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
