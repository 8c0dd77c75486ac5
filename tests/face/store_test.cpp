// SPDX-License-Identifier: Apache-2.0
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "fixture.h"
#include "tarnbase/tarn/snapshot.hpp"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tests/support/temporary_directory.h"

namespace face_test {
namespace {

// A path for a store, in a directory of its own.
struct Place {
    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "face.store";
};

TEST(Store, CanBeOpenedByTheNextProcess) {
    const Place place;
    {
        const tarn::store store = tarn::store::create(place.path);
        tarn::session session(store);
        tarn::transaction transaction(session);
        add(servers(session), "ldap1", 7);
        transaction.commit();
    }
    const tarn::store store = tarn::store::open(place.path);
    EXPECT_STREQ(store.describe().path, place.path.c_str());
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, "ldap");
    EXPECT_EQ(table.find("ldap1")->num_conns(), 7U);
}

// Counts the servers in a store, in a process of its own, each time it is asked.
class Counter {
 public:
    // The process must not inherit an open store.
    explicit Counter(const std::string &path) {
        if (pipe(requests_) != 0 || pipe(counts_) != 0) throw std::runtime_error("no pipe");
        process_ = fork();
        close(process_ != 0 ? requests_[0] : requests_[1]);
        close(process_ != 0 ? counts_[1] : counts_[0]);
        if (process_ != 0) return;
        for (char request; read(requests_[0], &request, 1) == 1;) {
            const tarn::store store = tarn::store::open(path);
            const tarn::session session(store);
            const auto size = tarn::table<tarn::ldap_conn>::open(session, "ldap").size();
            const char count = static_cast<char>(size);
            if (write(counts_[1], &count, 1) != 1) break;
        }
        _exit(0);
    }
    Counter(const Counter &) = delete;
    Counter &operator=(const Counter &) = delete;
    ~Counter() {
        close(requests_[1]);
        close(counts_[0]);
        waitpid(process_, nullptr, 0);
    }

    int count() const {
        char count = -1;
        if (write(requests_[1], "?", 1) != 1 || read(counts_[0], &count, 1) != 1) return -1;
        return count;
    }

 private:
    int requests_[2];
    int counts_[2];
    pid_t process_;
};

void add_committed(tarn::session &session, const char *name) {
    tarn::transaction transaction(session);
    add(servers(session), name);
    transaction.commit();
}

// Adds a server to a store, in a process of its own, when it is asked.
class Adder {
 public:
    // The process must not inherit an open store.
    explicit Adder(const std::string &path) {
        if (pipe(requests_) != 0) throw std::runtime_error("no pipe");
        process_ = fork();
        close(process_ != 0 ? requests_[0] : requests_[1]);
        if (process_ != 0) return;
        char request = 0;
        if (read(requests_[0], &request, 1) != 1) _exit(1);
        const tarn::store store = tarn::store::open(path);
        tarn::session session(store);
        add_committed(session, "added");
        _exit(0);
    }
    Adder(const Adder &) = delete;
    Adder &operator=(const Adder &) = delete;
    ~Adder() { close(requests_[1]); }

    // Whether it has added a server.
    bool add() const {
        int status = -1;
        return write(requests_[1], "!", 1) == 1 && waitpid(process_, &status, 0) == process_ &&
               status == 0;
    }

 private:
    int requests_[2];
    pid_t process_;
};

TEST(Store, AProcessSeesOnlyWhatIsCommitted) {
    const Place place;
    const Counter counter(place.path);
    const tarn::store store = tarn::store::create(place.path);
    tarn::session session(store);
    const auto table = servers(session);
    tarn::transaction transaction(session);
    add(table, "ldap1", 7);
    EXPECT_EQ(counter.count(), 0);
    transaction.commit();
    EXPECT_EQ(counter.count(), 1);
}

TEST(Store, ChangesOfACopyDoNotReachTheStore) {
    const Place place;
    { const tarn::store made = tarn::store::create(place.path); }
    {
        const tarn::store copy = tarn::store::open_copy(place.path);
        const tarn::session session(copy);
        add(servers(session), "ldap1", 7);
    }
    const tarn::store store = tarn::store::open(place.path);
    EXPECT_EQ(store.describe().tables, 0U);
}

TEST(Store, ASnapshotIsUpToDateAndDoesNotChange) {
    const Place place;
    {
        const tarn::store store = tarn::store::create(place.path);
        tarn::session session(store);
        add_committed(session, "ldap1");
    }
    Adder adder(place.path);
    const tarn::store store = tarn::store::open(place.path);
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, "ldap");
    {
        const tarn::snapshot before(session);
        ASSERT_TRUE(adder.add());
        const tarn::snapshot nested(store);
        EXPECT_EQ(names(table), Names{"ldap1"});
    }
    EXPECT_EQ(names(table), Names{"ldap1"}) << "neither a range nor a search refreshes";
    const tarn::snapshot after(session);
    EXPECT_EQ(table.size(), 2U);
    EXPECT_TRUE(table.contains("added"));
}

TEST(Store, ASnapshotExcludesATransactionOfItsThread) {
    const tarn::store store = tarn::store::create_private();
    tarn::session session(store);
    auto first = tarn::snapshot(session);
    tarn::snapshot moved = std::move(first);
    EXPECT_EQ(thrown_by([&] { tarn::transaction transaction(session); }).number(),
              static_cast<std::uint32_t>(EDEADLK));
    EXPECT_EQ(tarn::store(tarn::store::create_private()).try_refresh().has_value(), true);
    { const tarn::snapshot dropped = std::move(moved); }
    tarn::transaction transaction(session);
    const tarn::snapshot within(session);
    transaction.commit();
}

TEST(Store, WaitingEndsWithoutACommit) {
    const Place place;
    tarn::store store = tarn::store::create(place.path);
    EXPECT_FALSE(store.wait(1));
    store.refresh();
    EXPECT_EQ(tarn::store::create_private().try_wait(0).error().number(), EINVAL);
}

TEST(Store, AChangeOutsideOfATransactionIsRefusedWithTheReason) {
    const Place place;
    const tarn::store store = tarn::store::create(place.path);
    tarn::session session(store);
    auto table = [&] {
        tarn::transaction transaction(session);
        auto made = servers(session);
        add(made, "ldap1", 7);
        transaction.commit();
        return made;
    }();
    const tarn::error error = thrown_by([&] { table.make("ldap2"); });
    EXPECT_EQ(error.number(), static_cast<std::uint32_t>(EPERM));
    EXPECT_NE(std::string(error.what())
                  .find("an allocation outside of a transaction, and the process isn't the writer"),
              std::string::npos)
        << error.what();
    EXPECT_EQ(table.size(), 1U);
}

TEST(Store, ABackupIsAStoreOfItsOwn) {
    const Place place;
    const Place copy;
    {
        tarn::store store = tarn::store::create(place.path);
        tarn::session session(store);
        tarn::transaction transaction(session);
        add(servers(session), "ldap1", 7);
        transaction.commit();
        store.compact();
        store.back_up(copy.path);
        EXPECT_EQ(thrown_by([&] { store.back_up(copy.path); }).code(), std::errc::file_exists);
        EXPECT_EQ(tarn::store::create_private().try_back_up(copy.path).error().number(), EINVAL);
    }
    const tarn::store store = tarn::store::open(copy.path);
    const tarn::session session(store);
    EXPECT_EQ(tarn::table<tarn::ldap_conn>::open(session, "ldap").find("ldap1")->num_conns(), 7U);
}

TEST(Store, RecordsOfOneWithFilesHaveItsOwnDescriptors) {
    const Place place;
    const tarn::store store = tarn::store::open_or_create(place.path);
    const tarn::session session(store);
    EXPECT_NE(session.c_handle()->store_types_enabled, 0U);
    const tarn::store memory = tarn::store::create_private();
    EXPECT_EQ(tarn::session(memory).c_handle()->store_types_enabled, 0U);
}

TEST(Store, ASessionCanUseTheConstantDescriptors) {
    const Place place;
    const tarn::store store = tarn::store::create(place.path);
    const std::uint64_t blocks = store.describe().blocks;
    const tarn::session reader(store, tarn::descriptors::of_library);
    EXPECT_EQ(reader.c_handle()->store_types_enabled, 0U);
    EXPECT_EQ(store.describe().blocks, blocks);
}

TEST(Store, AMissingOneIsAnErrorWithItsName) {
    const tarn::error error = thrown_by([] { tarn::store::open("/nowhere/at.all"); });
    EXPECT_EQ(error.number(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    EXPECT_NE(std::string(error.what()).find("/nowhere/at.all"), std::string::npos);
}

TEST(Store, AnExistingOneIsNotCreatedAgain) {
    const Place place;
    { tarn::store::create(place.path); }
    EXPECT_EQ(thrown_by([&] { tarn::store::create(place.path); }).code(), std::errc::file_exists);
    EXPECT_NO_THROW(tarn::store::open_or_create(place.path));
}

TEST(Store, ListsItsTablesOfAllKinds) {
    const tarn::store store = tarn::store::create_private();
    EXPECT_TRUE(store.tables().empty());
    const tarn::session session(store);
    const auto first = servers(session);
    const auto second = tarn::table<tarn::grown>::open_or_create(session, "grown");
    EXPECT_EQ(store.tables(), (std::vector<kel_table *>{first.c_table(), second.c_table()}));
}

TEST(Store, IsMovedAndNotCopied) {
    static_assert(!std::is_copy_constructible_v<tarn::store>);
    static_assert(!std::is_copy_constructible_v<tarn::session>);
    tarn::store first = tarn::store::create_private();
    kel_store *const c_store = first.c_store();
    tarn::store second = std::move(first);
    EXPECT_EQ(second.c_store(), c_store);
    tarn::store third = tarn::store::create_private();
    third = std::move(second);
    EXPECT_EQ(third.c_store(), c_store);
    tarn::session session(third);
    tarn::session other(std::move(session));
    add(servers(other), "ldap1");
    EXPECT_EQ(servers(other).size(), 1U);
}

}  // namespace
}  // namespace face_test
