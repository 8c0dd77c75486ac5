// SPDX-License-Identifier: Apache-2.0
// The limits of a process: the length of its files, and its address space.
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <new>

#include "tarnbase/tarn/trace.hpp"
#include "tests/shared/connections.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SHADOW_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SHADOW_MEMORY 1
#endif
#endif

namespace shared_test {
namespace {

using Limits = SharedStore;

void limit_files(std::uint64_t bytes) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes == 0 ? limit.rlim_max : bytes;
    need(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "setrlimit");
}

bool is_done(std::uint32_t error) {
    need(error == 0 || error == EFBIG || error == EBUSY,
         "error " + std::to_string(error) + ": " + kel_error_text());
    return error == 0;
}

template <typename Result>
bool is_done(const Result &result) {
    return is_done(result ? 0 : result.error().number());
}

// Creates a store and commits until the limit forbids it. What was committed must be there.
void work_within(std::uint64_t limit, const std::string &path) {
    Content committed;
    limit_files(limit);
    {
        auto made = tarn::store::try_create(path, {64 << 20, nullptr});
        if (!is_done(made)) return;
        tarn::session session(*made);
        tarn::transaction transaction(session);
        tarn::table<tarn::ldap_conn>::open_or_create(session, table_name);
        if (!is_done(transaction.try_commit())) return;
    }
    Connections connections(path);
    for (std::uint32_t i = 0; i < 8; ++i) {
        Content next = committed;
        next.merge(numbered(std::to_string(i) + "-", 100));
        tarn::transaction transaction(connections.session);
        for (const auto &[name, number] : next) connections.set(name, number);
        if (is_done(transaction.try_commit())) committed = next;
        need(connections.content() == committed, "a part of a transaction is in the copy");
        if (i == 3) is_done(kel_store_checkpoint(connections.store.c_store()));
    }
    limit_files(0);
    connections.commit("last", 1);
    committed["last"] = 1;
    need(connections.content() == committed, "the content is wrong");
}

// The signal that the kernel sends would end the process if it isn't ignored.
TEST_F(Limits, OfAFilesLengthAreErrorsWhateverTheSignalDoes) {
    for (const auto disposition : {SIG_DFL, SIG_IGN}) {
        Child child([&](Child &) {
            ::signal(SIGXFSZ, disposition);
            for (std::uint64_t limit = 4096; limit < 1 << 20; limit += 12 * 4096) {
                const std::string store = directory / ("limit-" + std::to_string(limit));
                work_within(limit, store);
                std::filesystem::remove_all(store);
            }
        });
        EXPECT_EQ(child.join(), 0);
    }
}

// Lets the process map `more` bytes than it has.
void limit_addresses(std::uint64_t more) {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit{};
    ::getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + more;
    need(::setrlimit(RLIMIT_AS, &limit) == 0, "setrlimit");
}

// Commits what it has memory for. Returns how often there was none.
std::uint32_t work_in_little_memory(const std::string &path,
                                    std::atomic<std::uint32_t> &committed) {
    std::uint32_t failures = 0;
    const auto is_done = [&](std::uint32_t error) {
        need(error == 0 || error == ENOMEM || error == EBUSY, kel_error_text());
        failures += error == ENOMEM ? 1 : 0;
        return error == 0;
    };
    kel_store *store = nullptr;
    kel_handle *handle = nullptr;
    if (!is_done(kel_store_open(path.c_str(), &store))) return failures;
    if (!is_done(kel_handle_create(store, 1, &handle))) return failures;
    for (std::uint32_t i = 1; i <= 4; ++i) {
        std::uint32_t tx = 0, err = 0;
        if (!is_done(kel_transaction_begin(handle, &tx))) continue;
        kel_table *table = tbl_ldap_conn_table_open(handle, tx, table_name, 1, &err);
        for (std::uint32_t j = 0; err == 0 && j < 300; ++j) {
            const std::string name = std::to_string(i) + "-" + std::to_string(j);
            kel_vstring key;
            kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
            kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
            st_ldap_conn *object = st_ldap_conn_create(handle, tx);
            if (err != 0 || object == nullptr) {
                err = ENOMEM;
                break;
            }
            st_ldap_conn_sname_set(handle, tx, object, &key, &err);
            tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, object);
            tbl_ldap_conn_insert(handle, tx, table, record, &err);
        }
        const bool is_whole = is_done(err);
        const std::uint32_t ended =
            is_whole ? kel_transaction_commit(handle, tx) : kel_transaction_rollback(handle, tx);
        if (is_done(ended) && is_whole) committed += 300;
        is_done(kel_store_checkpoint(store));
    }
    kel_handle_destroy(handle);
    kel_store_close(store);
    return failures;
}

TEST_F(Limits, OfTheAddressSpaceAreErrorsAndLoseNothing) {
#ifdef HAS_SHADOW_MEMORY
    GTEST_SKIP() << "a sanitizer ends a process that has no memory";
#endif
    void *memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto &committed = *new (memory) std::atomic<std::uint32_t>(0);
    bool is_enough = false;
    for (std::uint64_t more = 0; !is_enough && more < 256 << 20; more += more / 16 + 16384) {
        SCOPED_TRACE(more);
        Connections::create(path);
        committed = 0;
        Child child([&](Child &test) {
            const tarn::quiet_scope quiet;
            limit_addresses(more);
            if (work_in_little_memory(path, committed) == 0) test.tell();
        });
        ASSERT_EQ(child.join(), 0);
        is_enough = committed == 4 * 300 && child.is_told();
        Child reader([&](Child &) {
            need(Connections(path).content().size() == committed, "something else was committed");
        });
        ASSERT_EQ(reader.join(), 0);
        std::filesystem::remove_all(path);
    }
    EXPECT_TRUE(is_enough);
    ::munmap(memory, 4096);
}

TEST_F(Limits, OfTheAddressSpaceKeepTarnctlFromNothing) {
#ifdef HAS_SHADOW_MEMORY
    GTEST_SKIP() << "a sanitizer needs more addresses";
#endif
    Connections::create(path, {{"a", 1}});
    const auto limited = [&](const std::string &kilobytes, std::vector<std::string> arguments) {
        arguments.insert(
            arguments.begin(),
            {"/bin/sh", "-c", "ulimit -v " + kilobytes + "; exec \"$0\" \"$@\"", TARNCTL});
        arguments.insert(arguments.end(), {"-s", path});
        return tarn::test::run(arguments);
    };
    auto outcome = limited("300000", {"get", "ldap_conn", "a"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    outcome = limited("300000", {"set", "ldap_conn", "a", "num_conns=2"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(content(), (Content{{"a", 2}}));
}

}  // namespace
}  // namespace shared_test
