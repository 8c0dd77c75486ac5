// SPDX-License-Identifier: Apache-2.0
//
// tarnctl log: the transactions of a store.
#include <unistd.h>

#include "tarnbase/journal.h"
#include "tests/tarnctl/past.h"
#include "tests/tarnctl/store_access.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Log : public WithPast {
 protected:
    // The numbers of the transactions that the options choose.
    std::vector<uint64_t> numbers(std::vector<std::string> options) {
        options.insert(options.begin(), {"log", "--json"});
        std::vector<uint64_t> found;
        for (const json &line : lines_of(options)) found.push_back(line["transaction"]);
        return found;
    }
    // Changes num_conns of a.example in this process, with a label.
    void change_with_label(const char *label, uint32_t number) {
        with_store(store, [&](kel_handle *handle) {
            uint32_t tx_id = 0;
            uint32_t err = 0;
            ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
            st_ldap_conn *conn = connection_of(handle, "a.example");
            st_ldap_conn_num_conns_set_value(handle, tx_id, conn, number, &err);
            ASSERT_EQ(kel_transaction_label(handle, tx_id, label), 0U);
            ASSERT_EQ(kel_transaction_commit(handle, tx_id), 0U);
        });
    }
};

TEST_F(Log, HasALineForEachTransaction) {
    const uint64_t first = change({"set", "-"},
                                  "insert ldap_conn sname=new.example num_conns=3\n"
                                  "set ldap_conn a.example num_conns=4\n"
                                  "set ldap_conn b.example num_conns=5\n"
                                  "delete ldap_conn ldap1.example.net\n"
                                  "set aaa_servers radius1 status=dead\n");
    const uint64_t second = change({"set", "ldap_conn", "a.example", "num_conns=8"});
    const std::vector<json> lines = lines_of({"log", "--json", "--since", std::to_string(first)});
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["transaction"], first);
    EXPECT_EQ(lines[0]["tables"],
              json::parse(R"({"tbl_aaa_servers:aaa":{"inserted":0,"changed":1,"deleted":0},
                              "tbl_ldap_conn:ldap":{"inserted":1,"changed":2,"deleted":1}})"));
    EXPECT_EQ(lines[0]["uid"], getuid());
    EXPECT_EQ(lines[1]["transaction"], second);
    const std::string text = out_of({"log", "--since", std::to_string(first)});
    EXPECT_TRUE(holds(text, " tbl_aaa_servers:aaa ~1, tbl_ldap_conn:ldap +1 ~2 -1  by tarnctl["))
        << text;
}

TEST_F(Log, ChoosesByTableProgramUserProcessAndLabel) {
    const uint64_t first = change({"set", "ldap_conn", "a.example", "num_conns=4"});
    change_with_label("line 17", 9);
    const uint64_t second = first + 1;
    const uint64_t third = change({"set", "aaa_servers", "radius1", "status=dead"});
    const std::string since = std::to_string(first);
    using Numbers = std::vector<uint64_t>;
    EXPECT_EQ(numbers({"--since", since}), (Numbers{first, second, third}));
    EXPECT_EQ(numbers({"--since", since, "--until", std::to_string(second)}),
              (Numbers{first, second}));
    EXPECT_EQ(numbers({"--since", since, "--table", "ldap_conn"}), (Numbers{first, second}));
    EXPECT_EQ(numbers({"--since", since, "--by", "tarnctl"}), (Numbers{first, third}));
    EXPECT_EQ(numbers({"--by", std::to_string(getpid()), "--since", since}), Numbers{second});
    EXPECT_EQ(numbers({"--label", "line 1"}), Numbers{second});
    EXPECT_EQ(numbers({"--label", "line 2"}), Numbers{});
    const std::string user = lines_of({"log", "--json", "--label", "line 17"})[0]["user"];
    EXPECT_EQ(numbers({"--by", user, "--since", since}), (Numbers{first, second, third}));
}

TEST_F(Log, ShowsATransactionWithItsFields) {
    change_with_label("line 17", 9);
    change({"set", "ldap_conn", "a.example", "num_conns=10"});
    const std::string number = std::to_string(numbers({"--label", "line 17"})[0]);
    const json shown = tarn::test::json_of(out_of({"log", "--show", number, "--json"}));
    EXPECT_EQ(shown["label"], "line 17");
    EXPECT_EQ(shown["pid"], getpid());
    EXPECT_NE(shown["command"], "");
    ASSERT_EQ(shown["changes"].size(), 1U);
    EXPECT_EQ(shown["changes"][0]["fields"], json::parse(R"({"num_conns":{"old":1,"new":9}})"));
    const std::string text = out_of({"log", "--show", number});
    EXPECT_TRUE(holds(text, "(line 17)\n~ tbl_ldap_conn:ldap a.example\n    num_conns: 1 -> 9\n"))
        << text;
}

TEST_F(Log, SaysWhatThereIsnt) {
    const Outcome later = on_store({"log", "--show", "99999"});
    EXPECT_EQ(later.exit_code, 4);
    EXPECT_TRUE(holds(later.err, "the last transaction of the store is")) << later.err;
    const std::string next = std::to_string(last_transaction() + 1);
    const Outcome none = on_store({"log", "--show", next});
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_EQ(on_store({"log", "--show", "0"}).exit_code, 2);
    EXPECT_EQ(on_store({"log", "--since", "soon"}).exit_code, 2);
    ASSERT_EQ(on_store({"journal", "stop"}).exit_code, 0);
    EXPECT_EQ(on_store({"log", "--show", "2"}).exit_code, 1);
    EXPECT_EQ(numbers({}), std::vector<uint64_t>{});
}

TEST_F(Log, WorksWithoutAJournal) {
    ASSERT_EQ(on_store({"journal", "stop"}).exit_code, 0);
    ASSERT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=4"}).exit_code, 0);
    const std::vector<json> lines = lines_of({"log", "--json"});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_FALSE(lines[0].contains("pid"));
    EXPECT_FALSE(lines[0].contains("time"));
}

}  // namespace
}  // namespace tarnctl_test
