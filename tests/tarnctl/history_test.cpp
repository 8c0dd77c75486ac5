// SPDX-License-Identifier: Apache-2.0
//
// tarnctl history: the changes of one record.
#include <unistd.h>

#include "tests/tarnctl/past.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class History : public WithPast {
 protected:
    // "+ 3", "~ 1 2" or "- 2" for each change of num_conns, with a blank between.
    std::string numbers(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"history", "ldap_conn"});
        arguments.push_back("--json");
        std::string text;
        for (const json &line : lines_of(arguments)) {
            const std::string change = line["change"];
            const json &field = line["fields"]["num_conns"];
            text += change == "inserted"  ? "+"
                    : change == "deleted" ? "-"
                    : change == "present" ? "="
                                          : "~";
            for (const char *state : {"old", "new"}) {
                if (field.contains(state)) text += field[state].dump() + " ";
            }
        }
        return text;
    }
};

TEST_F(History, HasEveryChangeAcrossDeletionAndInsertion) {
    change({"set", "ldap_conn", "a.example", "num_conns=4"});
    change({"set", "ldap_conn", "b.example", "num_conns=77"});
    change({"set", "ldap_conn", "a.example", "num_conns=5"});
    change({"delete", "ldap_conn", "a.example"});
    change({"insert", "ldap_conn", "sname=other.example", "num_conns=9"});
    change({"insert", "ldap_conn", "sname=a.example", "num_conns=6"});
    change({"set", "-"},
           "set ldap_conn other.example num_conns=10\n"
           "set ldap_conn a.example num_conns=7\n");
    EXPECT_EQ(numbers({"a.example"}), "+1 ~1 4 ~4 5 -5 +6 ~6 7 ");
    EXPECT_EQ(numbers({"other.example"}), "+9 ~9 10 ");
}

TEST_F(History, BeginsWithTheRecordAsItWas) {
    change({"set", "ldap_conn", "a.example", "num_conns=4"});
    const std::string second =
        std::to_string(change({"set", "ldap_conn", "a.example", "num_conns=5"}));
    const std::string third =
        std::to_string(change({"set", "ldap_conn", "a.example", "num_conns=6"}));
    change({"set", "ldap_conn", "a.example", "num_conns=7"});
    EXPECT_EQ(numbers({"a.example", "--since", second, "--until", third}), "=4 ~4 5 ~5 6 ");
}

TEST_F(History, NamesTheAuthors) {
    const uint64_t number = change({"set", "ldap_conn", "a.example", "num_conns=4"});
    const json last = lines_of({"history", "ldap_conn", "a.example", "--json"}).back();
    EXPECT_EQ(last["transaction"], number);
    EXPECT_EQ(last["uid"], getuid());
    EXPECT_TRUE(holds(last["command"], "num_conns=4"));
    const std::string text = out_of({"history", "ldap_conn", "a.example"});
    EXPECT_TRUE(holds(text, std::to_string(number) +
                                " ~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 4  by tarnctl["))
        << text;
}

TEST_F(History, OfAFieldHasItsChangesAlone) {
    change({"set", "aaa_servers", "radius1", "status=dead"});
    change({"set", "aaa_servers", "radius1", "minute[3]=9", "minute[4]=8"});
    change({"set", "aaa_servers", "radius1", "minute[4]=7", "status=alive"});
    const auto of = [&](const char *field) {
        std::vector<json> lines = lines_of({"history", "aaa_servers", "radius1", field, "--json"});
        lines.erase(lines.begin());  // the insertion
        json fields = json::array();
        for (const json &line : lines) fields.push_back(line["fields"]);
        return fields;
    };
    EXPECT_EQ(of("minute[4]"), json::parse(R"([{"minute[4]":{"old":4,"new":8}},
                                               {"minute[4]":{"old":8,"new":7}}])"));
    EXPECT_EQ(of("minute").size(), 2U);
    EXPECT_EQ(of("status").size(), 2U);
    EXPECT_EQ(of("dead_count").size(), 0U);
}

TEST_F(History, GoesOnWhenTheTableIsMadeAgain) {
    change({"insert", "--create", "ldap_conn:fresh", "sname=x", "num_conns=1"});
    change({"delete", "ldap_conn:fresh", "x"});
    ASSERT_EQ(on_store({"table", "drop", "ldap_conn:fresh"}).exit_code, 0);
    change({"insert", "--create", "ldap_conn:fresh", "sname=x", "num_conns=2"});
    std::string text;
    for (const json &line : lines_of({"history", "ldap_conn:fresh", "x", "--json"}))
        text += line["change"].get<std::string>() + " ";
    EXPECT_EQ(text, "inserted deleted inserted ");
}

TEST_F(History, OfATenantAndASourceIsItsOwn) {
    change({"set", "ldap_conn", "b.example", "num_conns=21", "--source", "5"});
    change({"set", "ldap_conn", "c.example", "num_conns=31", "--tenant", "9"});
    EXPECT_EQ(numbers({"b.example", "--source", "5"}), "+20 ~20 21 ");
    EXPECT_EQ(numbers({"c.example", "--tenant", "9"}), "+3 ~3 31 ");
}

TEST_F(History, RefusesWhatItCannotFind) {
    const Outcome none = on_store({"history", "ldap_conn", "z.example"});
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_TRUE(holds(none.err, "had no record `z.example` of tenant 0, source 1")) << none.err;
    EXPECT_EQ(on_store({"history", "ldap_con", "a"}).exit_code, 2);
    EXPECT_EQ(on_store({"history", "ldap_conn", "a.example", "num_con"}).exit_code, 2);
    EXPECT_EQ(on_store({"history", "dot1xAuthConfigEntry_op", "1"}).exit_code, 2);
    EXPECT_EQ(on_store({"history", "ldap_conn"}).exit_code, 2);
}

}  // namespace
}  // namespace tarnctl_test
