// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/embedded.h"
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;
using tarn::test::write_file;

class Diff : public WithStore {
 protected:
    void SetUp() override {
        WithStore::SetUp();
        write_file(document, on_store({"export", "--format", "json"}).out);
        ASSERT_EQ(tarnctl({"store", "create", other}).exit_code, 0);
        ASSERT_EQ(tarnctl({"import", "--store", other, document}).exit_code, 0);
    }
    // Changes the other store: inserts a record, deletes one and changes one.
    void change() {
        const auto set = [&](const std::string &text, const std::string &replaced) {
            std::string changed = tarn::test::read_file(document);
            const std::size_t place = changed.find(text);
            ASSERT_NE(place, std::string::npos) << text;
            changed.replace(place, text.size(), replaced);
            write_file(document, changed);
        };
        set(R"("sname":"a.example","num_conns":1)", R"("sname":"d.example","num_conns":4)");
        set(R"("source":5,"fields":{"sname":"b.example","num_conns":20)",
            R"("source":5,"fields":{"sname":"b.example","num_conns":21)");
        other = directory / "changed.store";
        ASSERT_EQ(tarnctl({"store", "create", other}).exit_code, 0);
        ASSERT_EQ(tarnctl({"import", "--store", other, document}).exit_code, 0);
    }

    std::string other = directory / "other.store";
    std::string document = directory / "net.json";
};

const std::string listing =
    "- tbl_ldap_conn:ldap a.example\n"
    "    num_conns: 1\n"
    "~ tbl_ldap_conn:ldap b.example (source 5)\n"
    "    num_conns: 20 -> 21\n"
    "+ tbl_ldap_conn:ldap d.example\n"
    "    num_conns: 4\n";

TEST_F(Diff, OfEqualStoresPrintsNothing) {
    const Outcome outcome = tarnctl({"diff", store, other});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Diff, ListsAddedRemovedAndChangedRecordsByField) {
    change();
    const Outcome outcome = tarnctl({"diff", store, other});
    EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
    EXPECT_EQ(outcome.out, "--- " + store + "\n+++ " + other + "\n" + listing);
}

TEST_F(Diff, ReadsAnExportInEachFormOnEitherSide) {
    const std::string before = store;
    change();
    for (const char *format : {"xml", "json", "frames"}) {
        SCOPED_TRACE(format);
        const std::string path = directory / (std::string("changed.") + format);
        ASSERT_EQ(tarnctl({"export", "--store", other, "-o", path}).exit_code, 0);
        Outcome outcome = tarnctl({"diff", store, path});
        EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
        EXPECT_EQ(outcome.out, "--- " + store + "\n+++ " + path + "\n" + listing);
        EXPECT_EQ(tarnctl({"diff", path, other}).exit_code, 0);
        EXPECT_EQ(tarnctl({"diff", path, path}).exit_code, 0);
        outcome = tarnctl({"diff", other, "-"}, tarn::test::read_file(path));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.out << outcome.err;
    }
}

TEST_F(Diff, OfTwoStoresAtOneAddressWorksToo) {
    // The other store gets the address of this one.
    kel_store *opened = nullptr;
    ASSERT_EQ(kel_store_open(store.c_str(), &opened), 0U);
    kel_store_description about{};
    kel_store_describe(opened, &about);
    kel_store_close(opened);
    change();
    const std::string same_place = directory / "same_place.store";
    const kel_store_options options{about.capacity, about.base};
    ASSERT_EQ(kel_store_create(same_place.c_str(), &options, &opened), 0U) << kel_error_text();
    kel_store_close(opened);
    ASSERT_EQ(tarnctl({"import", "--store", same_place, document}).exit_code, 0);

    Outcome outcome = tarnctl({"diff", store, same_place});
    EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
    EXPECT_EQ(outcome.out, "--- " + store + "\n+++ " + same_place + "\n" + listing);
    EXPECT_EQ(tarnctl({"diff", other, same_place}).exit_code, 0);
    EXPECT_EQ(tarnctl({"diff", store, store}).exit_code, 0);
}

TEST_F(Diff, InBriefOnlyReportsThatTheyDiffer) {
    change();
    Outcome outcome = tarnctl({"diff", "--brief", store, other});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out, store + " and " + other + " differ\n");
    outcome = tarnctl({"diff", "--brief", "--json", store, other});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(tarn::test::json_of(outcome.out),
              json({{"a", store}, {"b", other}, {"same", false}}));
    EXPECT_EQ(tarnctl({"diff", "-q", store, store}).out, "");
}

TEST_F(Diff, ListsInJson) {
    change();
    const Outcome outcome = tarnctl({"diff", "--json", store, other});
    EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
    const json found = tarn::test::json_of(outcome.out);
    EXPECT_EQ(found["same"], false);
    EXPECT_EQ(found["counts"], json({{"inserted", 1}, {"changed", 1}, {"deleted", 1}}));
    EXPECT_EQ(found["tables"], json::array());
    ASSERT_EQ(found["changes"].size(), 3U);
    EXPECT_EQ(found["changes"][1],
              tarn::test::json_of(
                  R"({"change":"changed","table":"tbl_ldap_conn:ldap","tenant":0,"source":5,
                              "key":{"sname":"b.example"},
                              "fields":{"num_conns":{"old":20,"new":21}}})"));
}

TEST_F(Diff, SkipsTablesAndFieldsOnRequest) {
    change();
    EXPECT_EQ(tarnctl({"diff", store, other, "--table", "aaa_servers"}).exit_code, 0);
    const Outcome outcome =
        tarnctl({"diff", store, other, "-T", "ldap_conn", "--ignore", "num_conns"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_FALSE(holds(outcome.out, "~ ")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "+ tbl_ldap_conn:ldap d.example")) << outcome.out;
}

TEST_F(Diff, ReportsTablesThatOnlyOneSideHas) {
    const std::string empty = directory / "empty.store";
    ASSERT_EQ(tarnctl({"store", "create", empty}).exit_code, 0);
    Outcome outcome = tarnctl({"diff", store, empty, "-T", "tbl_dot1xAuthConfigEntry_op"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_TRUE(holds(outcome.out,
                      "- table tbl_dot1xAuthConfigEntry_op:more_ports\n"
                      "- tbl_dot1xAuthConfigEntry_op:more_ports 3\n"))
        << outcome.out;
    outcome = tarnctl({"diff", "--json", empty, store});
    EXPECT_EQ(tarn::test::json_of(outcome.out)["tables"][0]["change"], "inserted");
}

TEST_F(Diff, NamesItemsThatCannotBeCompared) {
    Outcome outcome = tarnctl({"diff", store, directory / "none.store"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_TRUE(holds(outcome.err, "none.store: No such file")) << outcome.err;
    write_file(document, "no store and no export");
    outcome = tarnctl({"diff", store, document});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_TRUE(holds(outcome.err, document)) << outcome.err;
    write_file(document, "<tarnbase format=\"1\">\n<tabl/></tarnbase>");
    outcome = tarnctl({"diff", store, document});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, document + ":2: expected the element `table`")) << outcome.err;
    outcome = tarnctl({"diff", store, other, "--ignore", "num_con"});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_TRUE(holds(outcome.err, "did you mean `num_conns`?")) << outcome.err;
    EXPECT_EQ(tarnctl({"diff", "-", "-"}).exit_code, 2);
}

}  // namespace
}  // namespace tarnctl_test
