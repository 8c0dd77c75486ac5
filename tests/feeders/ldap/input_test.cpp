// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/input.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <system_error>

#include "tests/support/temporary_directory.h"

namespace tarn_ldap {
namespace {

using tarn::test::append_file;
using tarn::test::TemporaryDirectory;
using tarn::test::write_file;

class InputTest : public testing::Test {
 protected:
    // Stops after a moment without input: all of it was written before.
    Input follow(bool from_end = false) {
        return Input({.path = path,
                      .follow = true,
                      .from_end = from_end,
                      .idle = std::chrono::milliseconds(1)});
    }
    static std::string bytes(const std::optional<Piece> &piece) {
        return piece ? piece->bytes : "(end)";
    }

    TemporaryDirectory directory;
    std::string path = directory / "log";
};

TEST_F(InputTest, AFileIsReadToItsEnd) {
    const std::string text(200000, 'x');
    write_file(path, text);
    Input input({.path = path});
    std::string read;
    while (const auto piece = input.next()) {
        EXPECT_FALSE(piece->new_text);
        read += piece->bytes;
    }
    EXPECT_EQ(read, text);
    EXPECT_EQ(input.name(), path);
}

TEST_F(InputTest, AMissingFileOrADirectoryIsAnErrorThatNamesIt) {
    for (const std::string &bad : {path, directory / "."}) {
        try {
            Input input({.path = bad});
            ADD_FAILURE() << "opened " << bad;
        } catch (const std::system_error &error) {
            EXPECT_NE(std::string(error.what()).find(bad), std::string::npos);
        }
    }
}

TEST_F(InputTest, AFollowedFileIsReadAsItGrows) {
    write_file(path, "one\n");
    Input input = follow();
    EXPECT_EQ(bytes(input.next()), "one\n");
    append_file(path, "two\nth");
    EXPECT_EQ(bytes(input.next()), "two\nth");
    append_file(path, "ree\n");
    EXPECT_EQ(bytes(input.next()), "ree\n");
    EXPECT_EQ(bytes(input.next()), "(end)");
}

TEST_F(InputTest, FollowingFromTheEndSkipsExistingLines) {
    write_file(path, "old\n");
    Input input = follow(true);
    append_file(path, "new\n");
    EXPECT_EQ(bytes(input.next()), "new\n");
}

TEST_F(InputTest, AFileMovedAwayIsReadToItsEndBeforeTheNextOne) {
    write_file(path, "one\n");
    Input input = follow();
    EXPECT_EQ(bytes(input.next()), "one\n");
    append_file(path, "two\n");
    std::filesystem::rename(path, path + ".1");
    append_file(path + ".1", "three\n");
    write_file(path, "four\n");
    EXPECT_EQ(bytes(input.next()), "two\nthree\n");
    const auto piece = input.next();
    EXPECT_EQ(bytes(piece), "four\n");
    EXPECT_TRUE(piece->new_text);
    append_file(path, "five\n");
    const auto later = input.next();
    EXPECT_EQ(bytes(later), "five\n");
    EXPECT_FALSE(later->new_text);
}

TEST_F(InputTest, AFileMovedAwayIsReadOnUntilAnotherHasItsName) {
    write_file(path, "one\n");
    Input input = follow();
    EXPECT_EQ(bytes(input.next()), "one\n");
    std::filesystem::rename(path, path + ".1");
    append_file(path + ".1", "two\n");
    EXPECT_EQ(bytes(input.next()), "two\n");
    EXPECT_EQ(bytes(input.next()), "(end)");
}

TEST_F(InputTest, ATruncatedFileIsReadFromItsStart) {
    write_file(path, "one\ntwo\n");
    Input input = follow();
    EXPECT_EQ(bytes(input.next()), "one\ntwo\n");
    write_file(path, "new\n");
    const auto piece = input.next();
    EXPECT_EQ(bytes(piece), "new\n");
    EXPECT_TRUE(piece->new_text);
}

}  // namespace
}  // namespace tarn_ldap
