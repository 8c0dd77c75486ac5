// SPDX-License-Identifier: Apache-2.0
// The limits of a process: the length of its files, and its address space.
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "tests/shared/connections.h"

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
TEST_F(Limits, of_a_files_length_are_errors_whatever_the_signal_does) {
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

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SHADOW_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SHADOW_MEMORY 1
#endif
#endif

TEST_F(Limits, of_the_address_space_keep_tarnctl_from_nothing) {
#ifdef HAS_SHADOW_MEMORY
    GTEST_SKIP() << "a sanitizer needs more addresses";
#endif
    Connections::create(path, {{"a", 1}});
    const auto limited = [&](const std::string &kilobytes, std::vector<std::string> arguments) {
        arguments.insert(
            arguments.begin(),
            {"/bin/sh", "-c", "ulimit -v " + kilobytes + "; exec \"$0\" \"$@\"", TARNCTL});
        arguments.insert(arguments.end(), {"-s", path});
        return example_test::run(arguments);
    };
    auto outcome = limited("300000", {"get", "ldap_conn", "a"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    outcome = limited("300000", {"set", "ldap_conn", "a", "num_conns=2"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(content(), (Content{{"a", 2}}));
}

}  // namespace
}  // namespace shared_test
