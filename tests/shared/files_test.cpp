// SPDX-License-Identifier: Apache-2.0
// Files of a store that others remove or cut while a process has it open.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

namespace fs = std::filesystem;

using Files = SharedStore;

TEST_F(Files, OfAFolderThatWasRemovedStayReadable) {
    Connections::create(path, {{"a", 1}});
    Connections connections(path);
    connections.commit("b", 2);
    fs::remove_all(path);
    connections.store.refresh();
    EXPECT_EQ(connections.content(), (Content{{"a", 1}, {"b", 2}}));
    EXPECT_FALSE(tarn::store::try_open(path));
    // The log can't be extended there.
    Content committed = connections.content();
    std::uint32_t error = 0;
    for (std::uint32_t i = 0; error == 0 && i < 10000; ++i) {
        auto transaction = tarn::transaction::try_begin(connections.session);
        ASSERT_TRUE(transaction) << transaction.error().what();
        connections.set("record" + std::to_string(i), i);
        const auto done = transaction->try_commit();
        if (done) committed["record" + std::to_string(i)] = i;
        else error = done.error().number();
    }
    EXPECT_EQ(error, std::uint32_t{ENOENT});
    EXPECT_EQ(connections.content(), committed);
}

TEST_F(Files, OfAFolderThatWasReplacedAreThoseOfTheOldStore) {
    Connections::create(path, {{"a", 1}});
    Connections old(path);
    old.commit("a", 2);
    fs::remove_all(path);
    Child other([&](Child &) { Connections::create(path, {{"b", 2}}); });
    EXPECT_EQ(other.join(), 0);
    old.commit("a", 3);
    EXPECT_EQ(old.content(), (Content{{"a", 3}}));
    Child reader([&](Child &) {
        need(content() == Content{{"b", 2}}, "the new store has changed");
    });
    EXPECT_EQ(reader.join(), 0);
}

// What a process does whose files are cut: it ends with SIGBUS, or gets an error, or what it
// reads is right. The next one that opens the store doesn't end with a signal.
class CutFiles : public SharedStore {
 protected:
    void cut(const std::string &name, std::uint64_t length) {
        SCOPED_TRACE(name + " cut to " + std::to_string(length));
        Connections::create(path, {{"a", 1}});
        {
            Connections connections(path);
            ASSERT_EQ(kel_store_checkpoint(connections.store.c_store()), 0U) << kel_error_text();
            connections.commit("a", 2);
        }
        Child user([&](Child &test) { use(test); });
        user.await();
        for (const auto &entry : fs::directory_iterator(path)) {
            if (!entry.path().filename().string().starts_with(name)) continue;
            ASSERT_EQ(::truncate(entry.path().c_str(), static_cast<off_t>(length)), 0);
        }
        user.tell();
        const int result = user.join();
        EXPECT_TRUE(result == 0 || result == -SIGBUS) << result;
        expect_error_or_content();
        fs::remove_all(path);
    }

 private:
    void use(Child &test) const {
        ::signal(SIGBUS, SIG_DFL);  // not a sanitizer's
        Connections connections(path);
        const Content before = connections.content();
        test.tell();
        test.await();
        need(connections.content() == before, "the content has changed");
        const auto refreshed = connections.store.try_refresh();
        need(connections.content() == before, "the content is wrong after a refresh");
        auto transaction = tarn::transaction::try_begin(connections.session);
        if (!transaction) return;
        connections.set("a", 3);
        const bool done = static_cast<bool>(transaction->try_commit());
        const std::uint32_t expected = done ? 3 : 2;
        need(refreshed && connections.number("a") == expected, "the commit is wrong");
    }
    void expect_error_or_content() const {
        Child next([&](Child &) {
            const auto opened = tarn::store::try_open(path);
            if (!opened) {
                const std::uint32_t error = opened.error().number();
                need(error == EINVAL || error == EBADMSG, opened.error().what());
                return;
            }
            const tarn::session session(*opened);
            const auto table = tarn::table<tarn::ldap_conn>::open(session, table_name);
            const std::uint32_t number = table.find("a")->num_conns();
            need(number == 2 || number == 3, "the content is wrong");
        });
        EXPECT_EQ(next.join(), 0);
    }
};

TEST_F(CutFiles, GiveNoWrongContent) {
    for (const char *name : {"control", "log-", "checkpoint-"}) {
        for (const std::uint64_t length : {0UL, 100UL, 4096UL, 65536UL}) {
            if (length > 4096 && std::string(name) == "control") continue;
            ASSERT_NO_FATAL_FAILURE(cut(name, length));
        }
    }
}

}  // namespace
}  // namespace shared_test
