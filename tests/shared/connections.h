/* SPDX-License-Identifier: Apache-2.0 */
// A store with a table of connections, as one process has it open.
#ifndef TESTS_SHARED_CONNECTIONS_H
#define TESTS_SHARED_CONNECTIONS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/transaction.hpp"
#include "tests/shared/child.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace shared_test {

// The records: what is in num_conns, by name.
using Content = std::map<std::string, std::uint32_t>;

inline constexpr const char *table_name = "ldap";

class Connections {
 public:
    explicit Connections(const std::string &path)
        : store(tarn::store::open(path)), session(store) {}

    static void create(const std::string &path, const Content &content = {},
                       const kel_store_options &options = {}) {
        tarn::store store = tarn::store::create(path, options);
        tarn::session session(store);
        tarn::transaction transaction(session);
        auto table = tarn::table<tarn::ldap_conn>::open_or_create(session, table_name);
        for (const auto &[name, number] : content) insert(table, name, number);
        transaction.commit();
    }

    tarn::table<tarn::ldap_conn> table() const {
        return tarn::table<tarn::ldap_conn>::open(session, table_name);
    }
    // In the session's transaction.
    void set(const std::string &name, std::uint32_t number) {
        auto connections = table();
        if (auto record = connections.find(name)) {
            record->set_num_conns(number);
        } else {
            insert(connections, name, number);
        }
    }
    // In a transaction of its own.
    void commit(const std::string &name, std::uint32_t number) {
        tarn::transaction transaction(session);
        set(name, number);
        transaction.commit();
    }
    std::uint32_t number(const std::string &name) const {
        const auto record = table().find(name);
        need(static_cast<bool>(record), "no record " + name);
        return record->num_conns();
    }
    Content content() const {
        Content found;
        for (const auto record : table()) {
            found[std::string(record.sname())] = record.num_conns();
        }
        need(found.size() == table().size(), "the table's count is wrong");
        return found;
    }

    tarn::store store;
    tarn::session session;

 private:
    static void insert(tarn::table<tarn::ldap_conn> &table, const std::string &name,
                       std::uint32_t number) {
        auto record = table.make(name);
        record.set_num_conns(number);
        table.insert(std::move(record));
    }
};

// Records "NAME0", "NAME1", ... with these numbers.
inline Content numbered(const std::string &name, std::uint32_t count) {
    Content content;
    for (std::uint32_t i = 0; i < count; ++i) content[name + std::to_string(i)] = i;
    return content;
}

// Runs tarnctl.
inline tarn::test::Outcome tarnctl(std::vector<std::string> arguments) {
    // Read where tarnctl was built with a sanitizer.
    ::setenv("LSAN_OPTIONS", "print_suppressions=0:suppressions=" LEAKS, 1);
    arguments.insert(arguments.begin(), TARNCTL);
    return tarn::test::run(std::move(arguments));
}

// A folder with a path for a store, which is sound at the end.
class SharedStore : public testing::Test {
 protected:
    void TearDown() override {
        if (!std::filesystem::exists(path)) return;
        const tarn::test::Outcome outcome = tarnctl({"store", "check", path});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.out << outcome.err;
    }

    // What a process that opens the store now finds.
    Content content() const { return Connections(path).content(); }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "shared.store";
};

}  // namespace shared_test

#endif
