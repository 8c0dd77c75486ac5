// SPDX-License-Identifier: Apache-2.0
// The examples, and the programs of README.md and docs/, with the n-th allocation failing, n = 1,
// 2, ...: each prints an error, exits with 1, and leaves a store in which the next run succeeds.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using Servers = tarn::table<tarn::ldap_conn>;

// The records that a run leaves in the table "ldap" of a store.
struct Left {
    std::string servers;  // "name count" each
    std::uint64_t blocks = 0;
};

Left left_in(const std::string &file) {
    const tarn::store store = tarn::store::open(file);
    const tarn::session session(store);
    Left left;
    for (const auto server : Servers::open_or_create(session, "ldap")) {
        left.servers +=
            std::string(server.sname()) + ' ' + std::to_string(server.num_conns()) + '\n';
    }
    left.blocks = store.describe().blocks;
    return left;
}

class WithoutMemory : public testing::Test {
 protected:
    void TearDown() override {
        unsetenv("FAIL_ALLOCATION");
        unsetenv("FAIL_MARK");
    }
    // Runs the program with its n-th allocation failing; with 0 none does.
    Outcome run_failing(const std::vector<std::string> &command, unsigned n) {
        std::filesystem::remove(mark_);
        setenv("FAIL_ALLOCATION", std::to_string(n).c_str(), 1);
        setenv("FAIL_MARK", mark_.c_str(), 1);
        return run(command);
    }
    bool has_failed() const { return std::filesystem::exists(mark_); }

    // A program that makes records in the file `store`.
    void try_with_store(const std::vector<std::string> &command, const std::string &store) {
        ASSERT_EQ(run_failing(command, 0).exit_code, 0);
        const Left whole = left_in(store);
        ASSERT_NE(whole.servers, "");
        unsigned n = 1;
        for (;; ++n) {
            SCOPED_TRACE(command[0] + ", allocation " + std::to_string(n));
            std::filesystem::remove_all(store);
            const Outcome outcome = run_failing(command, n);
            if (!has_failed()) break;
            EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
            EXPECT_NE(outcome.err, "");
            EXPECT_EQ(left_in(store).servers, "");
            EXPECT_EQ(run_failing(command, 0).exit_code, 0);
            EXPECT_EQ(left_in(store).servers, whole.servers);
            EXPECT_EQ(left_in(store).blocks, whole.blocks);
        }
        EXPECT_GT(n, fewest_allocations) << command[0];
    }
    // A program with private stores only.
    void try_alone(const std::vector<std::string> &command) {
        const Outcome whole = run_failing(command, 0);
        ASSERT_EQ(whole.exit_code, 0) << whole.err;
        unsigned n = 1;
        for (;; ++n) {
            SCOPED_TRACE(command[0] + ", allocation " + std::to_string(n));
            const Outcome outcome = run_failing(command, n);
            if (!has_failed()) break;
            EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
            EXPECT_NE(outcome.err, "");
            EXPECT_NE(outcome.out, whole.out);
        }
        EXPECT_GT(n, fewest_allocations) << command[0];
    }

    static std::string program(const std::string &name) { return PROGRAMS "/" + name; }

    TemporaryDirectory directory_;

 private:
    // A table, a record, its object: a program that fails less often isn't tested.
    static constexpr unsigned fewest_allocations = 3;

    std::string mark_ = directory_ / "failed";
};

// Each of them puts its record into first.store, in the directory that it is started in.
TEST_F(WithoutMemory, TheProgramsOfTheDocumentsReportItAndCommitNoHalfRecord) {
    const std::filesystem::path started_in = std::filesystem::current_path();
    std::filesystem::current_path(directory_ / "");
    std::istringstream names(DOCUMENTED);
    unsigned programs = 0;
    for (std::string name; names >> name; ++programs) {
        std::filesystem::remove_all("first.store");
        try_with_store({program(name)}, "first.store");
        EXPECT_TRUE(std::regex_match(left_in("first.store").servers,
                                     std::regex("ldap[0-9]\\.example\\.net 7\n")))
            << name << ": " << left_in("first.store").servers;
    }
    std::filesystem::current_path(started_in);
    EXPECT_GE(programs, 6U);
}

TEST_F(WithoutMemory, TheExamplesWithAStoreOnDiskReportItAndCommitNoHalfRecord) {
    const std::string store = directory_ / "servers.store";
    for (const char *name : {"failing_walk_table", "failing_walk_table_cpp"}) {
        std::filesystem::remove_all(store);
        try_with_store({program(name), "fill", store}, store);
    }
}

TEST_F(WithoutMemory, TheExamplesWithPrivateStoresReportIt) {
    for (const char *name : {"failing_first_record", "failing_first_record_cpp", "failing_exchange",
                             "failing_exchange_cpp"})
        try_alone({program(name)});
}

}  // namespace
}  // namespace tarn::test
