// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

// An object of st_ldap_conn: variant, flags, jump, length and text of sname, num_conns.
const std::string conn_hex = "00 00 11000000 05000000 6c64617031 07000000";

class Decode : public WithStore {
 protected:
    // All records of the table as the library marshals them, in the index's order.
    template <class First, class Next, class Marshal>
    std::string frames(kel_table *table, First first, Next next, Marshal marshal) {
        std::string all;
        uint32_t err = 0;
        for (kel_record *record = first(handle, KEL_TX_NONE, table, &err); record != nullptr;
             record = next(handle, KEL_TX_NONE, table, record, &err)) {
            std::string bytes(8192, '\0');
            bytes.resize(marshal(handle, KEL_TX_NONE, bytes.data(), record,
                                 static_cast<uint32_t>(bytes.size()), &err));
            all += bytes;
        }
        EXPECT_EQ(err, 0U);
        return all;
    }

    void SetUp() override {
        WithStore::SetUp();
        ASSERT_EQ(kel_store_open(store.c_str(), &opened), 0U) << kel_error_text();
        ASSERT_EQ(kel_handle_create(opened, 0, &handle), 0U);
    }
    void TearDown() override {
        kel_handle_destroy(handle);
        kel_store_close(opened);
    }

    std::string conns() {
        uint32_t err = 0;
        return frames(tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err),
                      tbl_ldap_conn_st_ldap_conn_sname_get_first,
                      tbl_ldap_conn_st_ldap_conn_sname_get_next,
                      tbl_ldap_conn_table_record_marshal);
    }
    std::string sessions() {
        uint32_t err = 0;
        return frames(tbl_pexSessionEntry_op_table_open(handle, KEL_TX_NONE, "sessions", 1, &err),
                      tbl_pexSessionEntry_op_pexSessionEntry_key__get_first,
                      tbl_pexSessionEntry_op_pexSessionEntry_key__get_next,
                      tbl_pexSessionEntry_op_table_record_marshal);
    }

    kel_store *opened = nullptr;
    kel_handle *handle = nullptr;
};

// The bytes of all pieces, concatenated.
std::string bytes_of(const std::string &document) {
    std::string all;
    for (const json &piece : tarn::test::json_of(document))
        all += piece["bytes"].get<std::string>();
    return all;
}

std::string hex_of(const std::string &bytes) {
    constexpr const char *digits = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += digits[static_cast<unsigned char>(c) >> 4];
        hex += digits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

TEST_F(Decode, ShowsEachByteWithItsMeaning) {
    const struct {
        std::vector<std::string> arguments;
        std::string input;
        std::vector<std::string> shown;
    } cases[] = {
        {{"--as", "st_ldap_conn"},
         conn_hex,
         {"000002  11 00 00 00", "jump: 17", "00000a  6c 64 61 70 31", "sname: ldap1",
          "num_conns: 7"}},
        // the bytes of a newer writer
        {{"--as", "st_ldap_conn"},
         "01 00 14000000 05000000 6c64617031 07000000 aabbcc",
         {"aa bb cc", "unknown: fields that st_ldap_conn hasn't here"}},
        // state bytes and trace correlation
        {{"--as", "st_ldap_conn"},
         "00 28 2a00000000000000 03 13000000 05000000 6c64617031 02 07000000 01",
         {"trace uuid: 42", "trace mark: 3", "sname state: 2", "num_conns state: 1"}},
        // keys: a field, an object
        {{"--as", "ldap_conn", "--key"}, "05000000 6c64617031", {"sname: ldap1"}},
        {{"--as", "pexSessionEntry_op", "--key"},
         "0000 0f000000 01000000 02000000 7331 09",
         {"searchtype: 9"}},
        // separators, prefixes and comments
        {{"--as", "st_ldap_conn"},
         "0x00:00, 11 00 00 00 # head\n05000000 6C64617031\n# and the rest\n07000000\n",
         {"num_conns: 7"}},
    };
    for (const auto &each : cases) {
        std::vector<std::string> words{"decode"};
        words.insert(words.end(), each.arguments.begin(), each.arguments.end());
        const Outcome outcome = tarnctl(words, each.input);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        for (const std::string &part : each.shown)
            EXPECT_TRUE(holds(outcome.out, part)) << part << '\n' << outcome.out;
    }
}

TEST_F(Decode, FindsTheTableOfARecordByItsLuidAndContinuesWithTheNextRecord) {
    const std::string bytes = conns();
    const Outcome outcome = tarnctl({"decode"}, bytes);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "table: tbl_ldap_conn")) << outcome.out;
    EXPECT_LT(outcome.out.find("sname: a.example"), outcome.out.find("sname: b.example"));
    EXPECT_EQ(bytes_of(tarnctl({"decode", "--json"}, bytes).out), hex_of(bytes));
}

TEST_F(Decode, ShowsTheKeyObjectAfterTheDataObject) {
    const std::string bytes = sessions();
    const Outcome outcome = tarnctl({"decode"}, bytes);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "ipAddr: 192.0.2.1")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "ipAddr: 2001:db8::1"));
    EXPECT_LT(outcome.out.find("mac_addr: 02:00:00:00:00:01"),
              outcome.out.find("session_id_in: s1"));
}

TEST_F(Decode, ShowsAnArrayByRowsWithTheElementsNumbers) {
    uint32_t err = 0;
    const std::string bytes =
        frames(tbl_aaa_servers_table_open(handle, KEL_TX_NONE, "aaa", 1, &err),
               tbl_aaa_servers_st_aaa_servers_sname_get_first,
               tbl_aaa_servers_st_aaa_servers_sname_get_next, tbl_aaa_servers_table_record_marshal);
    const Outcome outcome = tarnctl({"decode"}, bytes);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "minute[16..31]: 16 17 18")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "status: SHOW_AAA_SERVER_ALIVE"));
    EXPECT_EQ(bytes_of(tarnctl({"decode", "--json"}, bytes).out), hex_of(bytes));
}

TEST_F(Decode, NamesTheLineOfInvalidHexadecimal) {
    const Outcome outcome =
        tarnctl({"decode", "--hex", "--as", "st_ldap_conn"}, "0000\n110z0000\n");
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, "-:2: expected pairs of hexadecimal digits, at `0z`"))
        << outcome.err;
}

TEST_F(Decode, ShowsWhereBytesAreMissingAndOmitsNone) {
    const std::string whole = conns();
    for (const std::size_t length : {1UL, 20UL, 40UL, 45UL, 50UL, whole.size() - 1}) {
        const std::string bytes = whole.substr(0, length);
        const Outcome outcome = tarnctl({"decode", "--binary"}, bytes);
        EXPECT_EQ(outcome.exit_code, 3) << length;
        EXPECT_TRUE(holds(outcome.out, "! ")) << length;
        EXPECT_EQ(bytes_of(tarnctl({"decode", "--binary", "--json"}, bytes).out), hex_of(bytes))
            << length;
    }
}

TEST_F(Decode, ContinuesAfterARecordOfAnUnknownTable) {
    std::string bytes = conns();
    bytes[30] = static_cast<char>(~bytes[30]);  // in the LUID of the first record
    const Outcome outcome = tarnctl({"decode"}, bytes);
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.out, "no table has the LUID")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "sname: b.example"));
    EXPECT_EQ(bytes_of(tarnctl({"decode", "--json"}, bytes).out), hex_of(bytes));

    const Outcome forced = tarnctl({"decode", "--as", "tbl_ldap_conn"}, bytes);
    EXPECT_EQ(forced.exit_code, 0) << forced.out;
    EXPECT_TRUE(holds(forced.out, "table: unknown LUID, read as tbl_ldap_conn"));
}

TEST_F(Decode, MarksInvalidValues) {
    const Outcome outcome = tarnctl({"decode", "--as", "st_lumvProvisionedServerEntry_op"},
                                    "00 00 0a000000 07 00000000");
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.out, "addr family: ! 7, expected 0, 4 or 6")) << outcome.out;
}

TEST_F(Decode, DecodesADocumentOfFrames) {
    const std::string bytes = on_store({"export", "--format", "frames"}).out;
    const Outcome outcome = tarnctl({"decode"}, bytes);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "table: tbl_ldap_conn")) << outcome.out.substr(0, 2000);
    EXPECT_TRUE(holds(outcome.out, "name: ldap"));
    EXPECT_TRUE(holds(outcome.out, "tenant: 9"));
    EXPECT_TRUE(holds(outcome.out, "source: 5"));
    EXPECT_TRUE(holds(outcome.out, "ipAddr: 2001:db8::1"));
    EXPECT_TRUE(holds(outcome.out, "records: 11"));
    EXPECT_EQ(bytes_of(tarnctl({"decode", "--json"}, bytes).out), hex_of(bytes));

    for (const std::size_t length : {8UL, 17UL, 20UL, 60UL, bytes.size() - 1}) {
        const std::string cut = bytes.substr(0, length);
        EXPECT_EQ(tarnctl({"decode"}, cut).exit_code, 3) << length;
        EXPECT_EQ(bytes_of(tarnctl({"decode", "--json"}, cut).out), hex_of(cut)) << length;
    }
}

TEST_F(Decode, NeedsAKnownNameAndAnExistingFile) {
    const Outcome name = tarnctl({"decode", "--as", "tbl_ldap_con"}, conn_hex);
    EXPECT_EQ(name.exit_code, 2);
    EXPECT_TRUE(holds(name.err, "did you mean `tbl_ldap_conn`?")) << name.err;
    EXPECT_EQ(tarnctl({"decode", "--key"}, conn_hex).exit_code, 2);
    const Outcome missing = tarnctl({"decode", directory / "missing"});
    EXPECT_EQ(missing.exit_code, 4);
    EXPECT_TRUE(holds(missing.err, "missing: No such file")) << missing.err;
}

TEST_F(Decode, RefusesAnEmptyFile) {
    const std::string empty = directory / "empty";
    tarn::test::write_file(empty, "");
    const Outcome outcome = tarnctl({"decode", empty});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_EQ(outcome.err, "tarnctl: " + empty + ": empty; expected wire bytes\n");
    EXPECT_EQ(tarnctl({"decode"}, "").err, "tarnctl: standard input: empty; expected wire bytes\n");
}

TEST_F(Decode, RefusesHexadecimalTextWithoutAByte) {
    for (const char *text : {" \n\t\n", "# a comment", "# two\n# lines\n"}) {
        const Outcome outcome = tarnctl({"decode"}, text);
        EXPECT_EQ(outcome.exit_code, 3) << text;
        EXPECT_EQ(outcome.err, "tarnctl: standard input: empty; expected wire bytes\n") << text;
    }
}

TEST_F(Decode, DecodesADocumentOfFramesInHexadecimal) {
    const std::string bytes = on_store({"export", "--format", "frames"}).out;
    const Outcome outcome = tarnctl({"decode"}, hex_of(bytes));
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, tarnctl({"decode"}, bytes).out);
    EXPECT_EQ(tarnctl({"decode", "--hex"}, hex_of(bytes)).out, outcome.out);
}

TEST_F(Decode, RecognisesAnExport) {
    for (const auto &[format, name] : {std::pair("json", "a JSON"), std::pair("xml", "an XML")}) {
        const Outcome outcome = tarnctl({"decode"}, on_store({"export", "--format", format}).out);
        EXPECT_EQ(outcome.exit_code, 3) << format;
        EXPECT_EQ(outcome.out, "") << format;
        EXPECT_EQ(outcome.err, std::string("tarnctl: standard input: this is ") + name +
                                   " export, not a frame; tarnctl import and diff read it\n");
    }
}

TEST_F(Decode, RecognisesADirectory) {
    const std::string here = directory / ".";
    const Outcome outcome = tarnctl({"decode", here});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_EQ(outcome.err, "tarnctl: " + here + ": Is a directory\n");
}

TEST_F(Decode, RecognisesAStore) {
    const Outcome outcome = tarnctl({"decode", store});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "tarnctl: " + store +
                  ": this is a tarnbase store, not a frame; use tarnctl show --store " + store +
                  "\n");
}

}  // namespace
}  // namespace tarnctl_test
