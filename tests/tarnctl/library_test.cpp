// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

// The manifest of the library that the program itself runs on, and of files made from it.
class Library : public testing::Test {
 protected:
    tarn::test::TemporaryDirectory directory;
    std::string changed = directory / "changed.so";

    static const std::string &bytes() {
        static const std::string all = tarn::test::read_file(TARNBASE_LIBRARY);
        return all;
    }
    std::string manifest_line() const {
        const std::size_t at = bytes().find("# tarnbase.minime\n");
        return bytes().substr(at + 18, 80);
    }
    // The file with the first `from` replaced by as many bytes.
    void write_with(const std::string &from, const std::string &to) {
        std::string copy = bytes();
        const std::size_t at = copy.find(from);
        ASSERT_NE(at, std::string::npos);
        ASSERT_EQ(from.size(), to.size());
        copy.replace(at, from.size(), to);
        tarn::test::write_file(changed, copy);
    }
};

TEST_F(Library, OfThisBuildHasThisProgramsSchema) {
    const Outcome outcome = tarnctl({"manifest", "--json", TARNBASE_LIBRARY});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const json report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["module"], "tarnbase");
    EXPECT_EQ(report["differences"], 0);
    EXPECT_EQ(report["build"][0], "tarnbase");
    ASSERT_EQ(report["items"].size(), 61U + 20U + 2 * 45U);
    for (const json &each : report["items"]) {
        EXPECT_TRUE(each["difference"].is_null()) << each;
        if (each["name"] != "st_ldap_conn") continue;
        EXPECT_EQ(each["luid"], "09f02ed2147f259a0aee4a14c8331c9b");
        EXPECT_EQ(each["digest"], "97d76957a270d27f594d2fa3911da4a8");
        EXPECT_EQ(each["kind"], "type");
        EXPECT_EQ(each["size"], 56);
    }
    const std::string text = tarnctl({"manifest", TARNBASE_LIBRARY}).out;
    EXPECT_NE(text.find("The schema is this program's."), std::string::npos);
    EXPECT_NE(text.find("tbl_ldap_conn_record"), std::string::npos);
}

TEST_F(Library, WithAnotherSchemaDiffersByItem) {
    const std::string line = manifest_line();
    write_with(line, "0" + line.substr(1, 77) + "N\n");
    if (line[0] == '0') write_with(line, "1" + line.substr(1));
    const Outcome outcome = tarnctl({"manifest", "--changes", "--json", changed});
    EXPECT_EQ(outcome.exit_code, 1) << outcome.err;
    const json report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["differences"], 2);
    ASSERT_EQ(report["items"].size(), 2U);
    EXPECT_EQ(report["items"][0]["difference"], "new");
    EXPECT_TRUE(report["items"][0]["name"].is_null());
    EXPECT_EQ(report["items"][1]["difference"], "gone");
    EXPECT_FALSE(report["items"][1]["name"].is_null());
    const Outcome text = tarnctl({"manifest", "--changes", changed});
    EXPECT_NE(text.out.find("2 differences from this program's schema."), std::string::npos);
}

TEST_F(Library, WithoutAManifestIsBadData) {
    write_with(".orvan", ".other");
    const Outcome none = tarnctl({"manifest", changed});
    EXPECT_EQ(none.exit_code, 3);
    EXPECT_EQ(none.err, "tarnctl: " + changed + ": no schema manifest: no section `.orvan`\n");
    tarn::test::write_file(changed, "no library");
    const Outcome text = tarnctl({"manifest", changed});
    EXPECT_EQ(text.exit_code, 3);
    EXPECT_NE(text.err.find("not an ELF file"), std::string::npos) << text.err;
    tarn::test::write_file(changed, "");
    EXPECT_EQ(tarnctl({"manifest", changed}).exit_code, 3);
}

TEST_F(Library, ThatIsMissingIsAStoreError) {
    const Outcome none = tarnctl({"manifest", directory / "none.so"});
    EXPECT_EQ(none.exit_code, 4);
    EXPECT_NE(none.err.find("none.so: No such file"), std::string::npos) << none.err;
    EXPECT_EQ(tarnctl({"manifest", directory / "."}).exit_code, 4);
    EXPECT_EQ(tarnctl({"manifest"}).exit_code, 2);
}

TEST_F(Library, WithABrokenManifestIsBadData) {
    const std::string line = manifest_line();
    write_with(line, "x" + line.substr(1));
    const Outcome outcome = tarnctl({"manifest", changed});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.err.find("line 2"), std::string::npos) << outcome.err;
}

// The section table is at the end of the file, and the manifest is near it.
TEST_F(Library, TruncatedOrDamagedIsAnErrorAndNoCrash) {
    const std::string &whole = bytes();
    for (const std::size_t length : {std::size_t{4}, std::size_t{16}, std::size_t{63},
                                     std::size_t{64}, whole.size() / 2, whole.size() - 1}) {
        tarn::test::write_file(changed, whole.substr(0, length));
        EXPECT_EQ(tarnctl({"manifest", changed}).exit_code, 3) << length;
    }
    std::mt19937 random(20261121);
    for (int step = 0; step < 6; ++step) {
        std::string copy = whole;
        // Header bytes and those of the section table, which is the last of the file.
        for (int i = 0; i < 3; ++i) copy[16 + random() % 48] = static_cast<char>(random());
        for (int i = 0; i < 40; ++i)
            copy[copy.size() - 1 - random() % 2560] = static_cast<char>(random());
        tarn::test::write_file(changed, copy);
        const int code = tarnctl({"manifest", changed}).exit_code;
        EXPECT_TRUE(code == 0 || code == 1 || code == 3) << "step " << step << ": " << code;
    }
}

}  // namespace
}  // namespace tarnctl_test
