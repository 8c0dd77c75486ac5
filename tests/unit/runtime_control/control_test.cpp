// SPDX-License-Identifier: Apache-2.0
// Creating, opening and checking the control file.
#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/log/crc32c.h"
#include "tests/unit/runtime_control/store_folder.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::crc32c;
using tarnbase::runtime::error_text;
using Bytes = std::vector<char>;

class ControlTest : public StoreFolder {
 protected:
    Bytes read() const {
        std::ifstream in(file("control"), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void write(const Bytes &bytes) const {
        std::ofstream out(file("control"), std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    // The error text of opening the store with these bytes, after its path.
    std::string open(const Bytes &bytes) const {
        write(bytes);
        return open();
    }
    std::string open() const {
        const Opened store(path());
        if (store.error == 0) return "";
        EXPECT_EQ(store.error, static_cast<std::uint32_t>(EINVAL));
        const std::string text = error_text();
        EXPECT_EQ(text.rfind(std::string(path()) + ": ", 0), 0u) << text;
        return text.substr(std::string(path()).size() + 2);
    }
    // The same with a checksum that is right.
    std::string open_checked(const std::function<void(ControlPage &)> &change) const {
        Bytes bytes = read();
        auto &page = *reinterpret_cast<ControlPage *>(bytes.data());
        change(page);
        page.crc = crc32c({bytes.data(), 48});
        return open(bytes);
    }
};

constexpr const char *damaged = "the control file of the store is damaged. Restore it from a copy";

TEST_F(ControlTest, ANewFileHasItsIdentityAndNothingElse) {
    const Opened store(path());
    ASSERT_EQ(store.error, 0u) << error_text();
    const ControlPage &page = store.control.page();
    EXPECT_TRUE(store.control.is_writable());
    EXPECT_EQ(page.id, test_id);
    EXPECT_EQ(page.base, test_base);
    EXPECT_EQ(page.capacity, test_capacity);
    const Bytes bytes = read();
    ASSERT_EQ(bytes.size(), 8192u);
    EXPECT_EQ(std::string(bytes.data(), 8), "TARNBASE");
    // And the start of the machine.
    std::string rest(bytes.data() + 52, bytes.size() - 52);
    rest.replace(offsetof(ControlPage, boot) - 52, sizeof page.boot, sizeof page.boot, '\0');
    EXPECT_EQ(rest, std::string(8192 - 52, '\0'));
}

TEST_F(ControlTest, AFileIsNotCreatedTwice) {
    const File folder(::open(path(), O_RDONLY | O_DIRECTORY));
    Control again;
    EXPECT_EQ(again.create(folder.descriptor(), test_id, test_base, test_capacity),
              static_cast<std::uint32_t>(EEXIST));
    EXPECT_EQ(Processes::create(folder.descriptor()), static_cast<std::uint32_t>(EEXIST));
}

TEST_F(ControlTest, WhatIsNoStoreIsRefused) {
    EXPECT_EQ(open(Bytes()), "not a store: its control file is empty");
    EXPECT_EQ(open(Bytes(7, 'T')), "not a store");
    EXPECT_EQ(open(Bytes(8192, 'T')), "not a store");
    std::filesystem::remove(file("control"));
    EXPECT_EQ(open(), "not a store: it has no file \"control\"");
    std::filesystem::create_directory(file("control"));
    const Opened store(path());
    EXPECT_NE(store.error, 0u);
}

TEST_F(ControlTest, AnotherVersionIsRefusedWithAdvice) {
    EXPECT_EQ(open_checked([](ControlPage &page) { page.version = 1; }),
              "a store of format version 1, made by an older release; this one reads version 5. "
              "Move the data with tarnctl export of the release that made it, and tarnctl import "
              "of this one");
    EXPECT_EQ(open_checked([](ControlPage &page) { page.version = 99; }),
              "a store of format version 99, made by a newer release; this one reads version 5. "
              "Use the newer release, or move the data with tarnctl export of the release that "
              "made it, and tarnctl import of this one");
}

TEST_F(ControlTest, AnotherByteOrderIsRefusedWithAdvice) {
    EXPECT_EQ(open_checked([](ControlPage &page) { page.magic = __builtin_bswap64(page.magic); }),
              "a store of a machine with the other byte order. Move the data with tarnctl export "
              "there and tarnctl import here");
    EXPECT_NE(open_checked([](ControlPage &page) { page.byte_order = 0x04030201; }), "");
}

TEST_F(ControlTest, EachCutIsNoticed) {
    const Bytes whole = read();
    for (std::size_t size : {std::size_t{8}, std::size_t{12}, std::size_t{51}, std::size_t{128},
                             std::size_t{4096}, std::size_t{8191}}) {
        EXPECT_EQ(open(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
                  "the store is cut short: " + std::to_string(size) +
                      " of 8192 bytes of its control file. Copy it again");
    }
}

TEST_F(ControlTest, EachFlippedBitOfTheIdentityIsNoticed) {
    const Bytes whole = read();
    for (std::size_t bit = 0; bit < 52 * 8; ++bit) {
        Bytes bytes = whole;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        const std::string text = open(bytes);
        EXPECT_NE(text, "") << "bit " << bit;
        if (bit >= 96) {
            EXPECT_EQ(text, damaged) << "bit " << bit;
        }
    }
}

TEST_F(ControlTest, ANumberWithARightChecksumIsNotBelieved) {
    const Bytes whole = read();
    const auto expect_damaged = [&](const std::function<void(ControlPage &)> &change) {
        EXPECT_EQ(open_checked(change), damaged);
        write(whole);
    };
    expect_damaged([](ControlPage &page) { page.byte_order = 0; });
    expect_damaged([](ControlPage &page) { page.base = 0; });
    expect_damaged([](ControlPage &page) { page.base += 4096; });
    expect_damaged([](ControlPage &page) { page.base = 0 - std::uint64_t{65536}; });
    expect_damaged([](ControlPage &page) { page.capacity = 0; });
    expect_damaged([](ControlPage &page) { page.capacity += 8; });
    expect_damaged([](ControlPage &page) { page.capacity = 1ULL << 50; });
    expect_damaged([](ControlPage &page) { page.published = 7; });
    expect_damaged([](ControlPage &page) { page.checkpoint = 8; });
    expect_damaged([](ControlPage &page) {
        page.checkpoint = 1;
        page.published = 8;
    });
    EXPECT_EQ(open_checked([](ControlPage &page) { page.published = page.checkpoint = 8; }), "");
}

// Runs as a user who may only read the folder.
int read_as_another_user(Peer &, const char *path) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) return 2;
    Opened store(path);
    TARN_PEER_EXPECT(store.error == 0);
    TARN_PEER_EXPECT(!store.control.is_writable());
    TARN_PEER_EXPECT(store.control.page().base == test_base);
    TARN_PEER_EXPECT(store.attach() == EACCES);
    TARN_PEER_EXPECT(::open((std::string(path) + "/processes").c_str(), O_RDONLY) < 0);
    TARN_PEER_EXPECT(!store.control.wait(0, 20));
    return 0;
}

TEST_F(ControlTest, ThePositionOfTheNewestCheckpointOnlyGrows) {
    Opened store(path());
    ASSERT_EQ(store.error, 0u) << error_text();
    EXPECT_TRUE(store.control.set_checkpoint(64));
    EXPECT_FALSE(store.control.set_checkpoint(48)) << "a process that was stopped goes on";
    EXPECT_TRUE(store.control.set_checkpoint(64)) << "two have made the same one";
    EXPECT_EQ(store.control.page().checkpoint, 64u);
    EXPECT_TRUE(store.control.set_checkpoint(72));
    EXPECT_EQ(store.control.page().checkpoint, 72u);
}

TEST_F(ControlTest, TheAddressRangeIsReadWithoutOpeningTheStore) {
    const tarnbase::runtime::File folder(::open(path(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto range = Control::range_of(folder.descriptor());
    ASSERT_TRUE(range);
    EXPECT_EQ(range->base, test_base);
    EXPECT_EQ(range->bytes, test_capacity);
    Bytes bytes = read();
    bytes[32] ^= 1;
    write(bytes);
    EXPECT_FALSE(Control::range_of(folder.descriptor()));
    std::filesystem::remove(file("control"));
    EXPECT_FALSE(Control::range_of(folder.descriptor()));
}

TEST_F(ControlTest, WhoMayOnlyReadMapsItToRead) {
    if (::getuid() != 0) GTEST_SKIP() << "only root becomes another user";
    Peer peer(read_as_another_user, path());
    EXPECT_EQ(peer.join(), 0);
}

}  // namespace
}  // namespace tarn::test
