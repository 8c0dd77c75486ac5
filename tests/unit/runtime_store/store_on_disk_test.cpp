// SPDX-License-Identifier: Apache-2.0
// Stores with files: creating and opening them, and the error texts if that fails.
#include "tests/unit/runtime_store/open_store.h"

#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <list>
#include <utility>

#include "runtime/control/control.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::ControlPage;

class StoreOnDisk : public StoreTest {
 protected:
    std::uint32_t create(const kel_store_options *options = &small_options) {
        return kel_store_create(path.c_str(), options, &store);
    }
    std::uint32_t open() { return kel_store_open(path.c_str(), &store); }

    void create_and_close() {
        ASSERT_EQ(create(), 0U) << kel_error_text();
        kel_store_close(std::exchange(store, nullptr));
    }

    // Expects that opening fails, with that text after the file's name.
    void expect_refused(std::uint32_t code, const std::string &text) {
        store = reinterpret_cast<kel_store *>(1);
        EXPECT_EQ(open(), code);
        EXPECT_EQ(store, nullptr);
        EXPECT_EQ(kel_error_text(), path + ": " + text);
    }

    template <typename T>
    void overwrite(std::size_t offset, T value) {
        std::fstream file(path + "/control", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(offset));
        file.write(reinterpret_cast<const char *>(&value), sizeof value);
    }

    void TearDown() override { kel_store_close(store); }

    kel_store *store = nullptr;
};

TEST_F(StoreOnDisk, ANewOneIsDescribedAsEmpty) {
    ASSERT_EQ(create(), 0U);
    kel_store_description now;
    kel_store_describe(store, &now);
    EXPECT_EQ(now.path, path);
    EXPECT_EQ(now.capacity, small_capacity);
    EXPECT_EQ(now.writable, 1U);
    EXPECT_EQ(now.log_end, 0U);
    EXPECT_EQ(now.blocks, 0U);
    EXPECT_EQ(now.block_bytes, 0U);
    EXPECT_EQ(now.transactions, 0U);
    EXPECT_EQ(now.committed, 0U);
    EXPECT_EQ(now.tables, 0U);
    EXPECT_EQ(now.types, 0U);
    EXPECT_EQ(kel_store_first_table(store), nullptr);
}

TEST_F(StoreOnDisk, IsTheOnlyThingLeftByCreate) {
    create_and_close();
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().string());
    }
    EXPECT_EQ(names, std::vector<std::string>{path});
}

TEST_F(StoreOnDisk, KeepsItsContentAddressAndCapacityWhenItIsOpenedAgain) {
    void *base = nullptr;
    std::uint64_t *block = nullptr;
    {
        const OpenStore first(path.c_str());
        ASSERT_EQ(first.error, 0U) << kel_error_text();
        base = first.describe().base;
        ASSERT_EQ(first.change([&](std::uint32_t) {
            block = first.make("number");
            *block = 4711;
        }),
                  0U);
    }
    const OpenStore again(path.c_str());
    ASSERT_EQ(again.error, 0U) << kel_error_text();
    EXPECT_EQ(again.describe().base, base);
    EXPECT_EQ(again.describe().capacity, small_capacity);
    EXPECT_EQ(again.find("number"), block);
    EXPECT_EQ(*block, 4711U);
}

TEST_F(StoreOnDisk, IsMappedAtTheGivenAddress) {
    void *base = reinterpret_cast<void *>(0x3210'0000'0000);
    const kel_store_options options{small_capacity, base};
    ASSERT_EQ(create(&options), 0U) << kel_error_text();
    kel_store_description now;
    kel_store_describe(store, &now);
    EXPECT_EQ(now.base, base);
}

TEST_F(StoreOnDisk, CreateFailsForAnExistingPath) {
    create_and_close();
    EXPECT_EQ(create(), std::uint32_t{EEXIST});
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(kel_error_text(), path + ": File exists");
}

TEST_F(StoreOnDisk, CreateFailsForCapacitiesAndAddressesThatAreNotWholePages) {
    const kel_store_options refused[] = {{small_capacity + 4096, nullptr},
                                         {65536, nullptr},
                                         {small_capacity, reinterpret_cast<void *>(4096)}};
    for (const kel_store_options &options : refused) {
        EXPECT_EQ(create(&options), std::uint32_t{EINVAL});
        EXPECT_EQ(std::string(kel_error_text()).rfind(path + ": ", 0), 0U) << kel_error_text();
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(kel_store_create_private(&options, &store), std::uint32_t{EINVAL});
    }
    EXPECT_EQ(create(&refused[1]), std::uint32_t{EINVAL});
    EXPECT_EQ(kel_error_text(),
              path + ": a capacity of 65536 bytes; it must be a multiple of 65536, from 2097152");
}

TEST_F(StoreOnDisk, CreateInADirectoryThatIsNotThereIsAnError) {
    path = (directory / "none" / "test.store").string();
    EXPECT_EQ(create(), std::uint32_t{ENOENT});
    EXPECT_EQ(kel_error_text(), path + ": No such file or directory");
}

TEST_F(StoreOnDisk, OpenOrCreateDoesTheOneOrTheOther) {
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(kel_store_open_or_create(path.c_str(), &small_options, &store), 0U);
        kel_store_close(std::exchange(store, nullptr));
    }
}

TEST_F(StoreOnDisk, OpenFailsForAMissingStore) {
    expect_refused(ENOENT, "No such file or directory");
}

TEST_F(StoreOnDisk, OpenFailsForWhatIsNotAStore) {
    for (const std::size_t length : {0U, 1U, 7U, 8U, 5000U}) {
        std::ofstream(path) << std::string(length, 'x');
        expect_refused(EINVAL, "not a store: it isn't a folder");
    }
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    store = reinterpret_cast<kel_store *>(1);
    EXPECT_EQ(open(), std::uint32_t{EINVAL});
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(std::string(kel_error_text()).rfind(path + ": not a store", 0), 0U)
        << kel_error_text();
}

TEST_F(StoreOnDisk, OpenFailsForTheFirstFormatAndSaysWhatToDo) {
    std::ofstream(path) << "TARNBASE" << std::string(5000, 'x');
    expect_refused(EINVAL,
                   "a store of format version 1, made by an older release; this one reads version "
                   "5. Move the data with tarnctl export of the release that made it, and tarnctl "
                   "import of this one");
}

TEST_F(StoreOnDisk, OpenFailsForANewerReleaseAndSaysWhatToDo) {
    create_and_close();
    overwrite(offsetof(ControlPage, version), std::uint32_t{99});
    expect_refused(EINVAL,
                   "a store of format version 99, made by a newer release; this one reads version "
                   "5. Use the newer release, or move the data with tarnctl export of the release "
                   "that made it, and tarnctl import of this one");
}

// The name of the store's only checkpoint.
std::filesystem::path checkpoint_of(const std::string &path) {
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        if (entry.path().filename().string().rfind("checkpoint-", 0) == 0) return entry.path();
    }
    return {};
}

TEST_F(StoreOnDisk, OpenFailsForDamagedFiles) {
    create_and_close();
    const std::filesystem::path checkpoint = checkpoint_of(path);
    const auto size = std::filesystem::file_size(checkpoint);
    std::fstream(checkpoint, std::ios::in | std::ios::out | std::ios::binary)
        .seekp(static_cast<std::streamoff>(size) - 70000)
        .write("x", 1);
    EXPECT_EQ(open(), std::uint32_t{EBADMSG}) << kel_error_text();
    std::filesystem::resize_file(checkpoint, size - 1);
    EXPECT_EQ(open(), std::uint32_t{EBADMSG}) << kel_error_text();
    std::filesystem::remove(checkpoint);
    EXPECT_EQ(open(), std::uint32_t{ENOENT}) << kel_error_text();
    EXPECT_EQ(store, nullptr);
}

TEST_F(StoreOnDisk, WhatAProcessLeftWhileItCreatedAStoreIsRemoved) {
    const std::string left = path + ".new.12345";
    std::filesystem::create_directory(left);
    std::ofstream(left + "/control") << "unfinished";
    create_and_close();
    EXPECT_FALSE(std::filesystem::exists(left));
}

TEST_F(StoreOnDisk, AnEmptyOneTakesLittleOfTheDisk) {
    const kel_store_options defaults{};
    ASSERT_EQ(create(&defaults), 0U) << kel_error_text();
    std::uint64_t taken = 0;
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        struct stat status;
        ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
        taken += static_cast<std::uint64_t>(status.st_blocks) * 512;
    }
    EXPECT_LE(taken, 256U * 1024);
}

TEST_F(StoreOnDisk, OpenSaysThatTheAddressRangeIsTaken) {
    ASSERT_EQ(create(), 0U);
    kel_store *second = nullptr;
    EXPECT_EQ(kel_store_open(path.c_str(), &second), std::uint32_t{EADDRINUSE});
    EXPECT_EQ(second, nullptr);
    const std::string text = kel_error_text();
    EXPECT_EQ(text.rfind(path + ": the address range 0x", 0), 0U) << text;
    EXPECT_NE(text.find(" is taken in this process"), std::string::npos) << text;
}

TEST_F(StoreOnDisk, CreateAtAnAddressThatIsTakenLeavesNothing) {
    ASSERT_EQ(create(), 0U);
    kel_store_description first;
    kel_store_describe(store, &first);
    const kel_store_options options{small_capacity, first.base};
    kel_store *second = nullptr;
    const std::string other = path + ".other";
    EXPECT_EQ(kel_store_create(other.c_str(), &options, &second), std::uint32_t{EADDRINUSE});
    EXPECT_EQ(second, nullptr);
    EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(StoreOnDisk, TwoStoresAreOpenAtOnceAndApart) {
    const OpenStore one(path.c_str());
    const std::string other = path + ".other";
    const OpenStore two(other.c_str());
    ASSERT_EQ(one.error, 0U);
    ASSERT_EQ(two.error, 0U) << kel_error_text();
    EXPECT_EQ(kel_handle_store(two.handle), two.store);
    EXPECT_EQ(one.change([&](std::uint32_t) { *one.make("number") = 1; }), 0U);
    EXPECT_EQ(two.change([&](std::uint32_t) { *two.make("number") = 2; }), 0U);
    EXPECT_EQ(*one.find("number"), 1U);
    EXPECT_EQ(*two.find("number"), 2U);
    std::uint32_t tx = 0;
    ASSERT_EQ(kel_transaction_begin(one.handle, &tx), 0U);
    EXPECT_EQ(two.describe().transactions, 0U);
    EXPECT_EQ(kel_transaction_rollback(two.handle, tx), std::uint32_t{EINVAL});
    EXPECT_EQ(kel_transaction_rollback(one.handle, tx), 0U);
}

// By chance alone, two of so many would have the same address.
TEST_F(StoreOnDisk, StoresInOneFolderAreMadeApart) {
    constexpr std::size_t count = 100;
    for (std::size_t i = 0; i < count; ++i) {
        kel_store *made = nullptr;
        const std::string name = path + std::to_string(i);
        ASSERT_EQ(kel_store_create(name.c_str(), &small_options, &made), 0U) << kel_error_text();
        kel_store_close(made);
    }
    std::list<OpenStore> stores;
    for (std::size_t i = 0; i < count; ++i) {
        stores.emplace_back((path + std::to_string(i)).c_str());
        EXPECT_EQ(stores.back().error, 0U) << kel_error_text();
    }
}

TEST_F(StoreOnDisk, CloseRollsBackWhatWasNotCommitted) {
    std::uint64_t blocks = 0;
    {
        const OpenStore first(path.c_str());
        std::uint64_t *number = nullptr;
        ASSERT_EQ(first.change([&](std::uint32_t) { number = first.make("number"); }), 0U);
        blocks = first.describe().blocks;
        std::uint32_t tx = 0;
        ASSERT_EQ(kel_transaction_begin(first.handle, &tx), 0U);
        first.set(tx, number, 9);
        ASSERT_NE(first.handle->alloc_hook(first.handle->arena, tx, 500), nullptr);
    }
    const OpenStore again(path.c_str());
    EXPECT_EQ(*again.find("number"), 0U);
    EXPECT_EQ(again.describe().blocks, blocks);
    EXPECT_EQ(again.describe().transactions, 0U);
}

TEST_F(StoreOnDisk, AHandleNeedsAStore) {
    kel_handle *handle = reinterpret_cast<kel_handle *>(1);
    EXPECT_EQ(kel_handle_create(nullptr, 0, &handle), std::uint32_t{EINVAL});
    EXPECT_EQ(handle, nullptr);
    EXPECT_STREQ(kel_error_text(), "kel_handle_create: the store is null");
    kel_handle_destroy(nullptr);
    kel_store_close(nullptr);
}

}  // namespace
}  // namespace tarn::test
