// SPDX-License-Identifier: Apache-2.0
#include "radius/settings.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/temporary_directory.h"

namespace tarn_radius {
namespace {

class RadiusSettings : public testing::Test {
 protected:
    std::string file(const std::string &name, const std::string &text) {
        std::ofstream(folder / name) << text;
        return folder / name;
    }
    // What is wrong, or nothing.
    std::string problem() {
        try {
            servers_of(settings);
            return "";
        } catch (const cli::UsageError &error) {
            return error.what();
        }
    }

    tarn::test::TemporaryDirectory folder;
    Settings settings;
};

TEST_F(RadiusSettings, NameWhatIsPolledAndItsRows) {
    settings.servers = {"one=192.0.2.2", "two=[2001:db8::2]:99"};
    settings.secret_files = {"two=" + file("two", "second\nx\n"), file("others", "first\r\n")};
    settings.clients = {"one=192.0.2.9"};
    settings.home_servers = {"one=192.0.2.30", "two=192.0.2.31:18"};
    const auto servers = servers_of(settings);
    ASSERT_EQ(servers.size(), 2u);
    EXPECT_EQ(servers[0].settings.endpoint.text(), "192.0.2.2:18121");
    EXPECT_EQ(servers[0].settings.secret, "first");
    EXPECT_EQ(servers[0].rows,
              (std::vector<std::string>{"one", "one/192.0.2.9", "one/192.0.2.30"}));
    ASSERT_EQ(servers[0].settings.subjects.size(), 3u);
    EXPECT_EQ(servers[0].settings.subjects[1].kind, Subject::Kind::client);
    EXPECT_EQ(servers[0].settings.subjects[2].endpoint->text(), "192.0.2.30:1812");
    EXPECT_EQ(servers[1].settings.endpoint.text(), "[2001:db8::2]:99");
    EXPECT_EQ(servers[1].settings.secret, "second");
    EXPECT_EQ(servers[1].settings.subjects[1].endpoint->text(), "192.0.2.31:18");
}

TEST_F(RadiusSettings, ThatAreWrongAreNamed) {
    const std::string secret = file("secret", "s\n");
    const std::string empty = file("empty", "\ns\n");
    Settings good;
    good.servers = {"one=192.0.2.2"};
    good.secret_files = {secret};
    const auto problem_with = [&](const auto &change) {
        settings = good;
        change(settings);
        return problem();
    };
    using S = Settings;
    EXPECT_EQ(problem_with([](S &) {}), "");
    EXPECT_EQ(problem_with([](S &s) { s.servers = {"192.0.2.2"}; }),
              "--server 192.0.2.2: expected NAME=ADDRESS or NAME=ADDRESS:PORT");
    EXPECT_EQ(problem_with([](S &s) { s.servers.push_back("one=192.0.2.3"); }),
              "--server one=192.0.2.3: there is another one of this name");
    EXPECT_EQ(problem_with([](S &s) { s.clients = {"two=192.0.2.3"}; }),
              "--client two=192.0.2.3: expected the name of a --server");
    EXPECT_EQ(problem_with([](S &s) { s.home_servers = {"one=there"}; }),
              "--home-server one=there: expected an address such as 192.0.2.2, 192.0.2.2:1812 or "
              "[2001:db8::2]:1812");
    EXPECT_EQ(problem_with([](S &s) {
                  s.clients = {"one=192.0.2.3", "one=192.0.2.3"};
              }),
              "--client one=192.0.2.3: this address is given twice");
    EXPECT_EQ(problem_with([](S &s) {
                  s.home_servers = {"one=192.0.2.3", "one=192.0.2.3:1812"};
              }),
              "--home-server one=192.0.2.3:1812: this address is given twice");
    EXPECT_EQ(problem_with([](S &s) { s.clients = {"one=192.0.2.3:99"}; }),
              "--client one=192.0.2.3:99: expected an address without a port");
    EXPECT_EQ(problem_with([](S &s) { s.servers.push_back("one/192.0.2.9=192.0.2.3"); }),
              "--server one/192.0.2.9=192.0.2.3: expected a name without `/`");
    EXPECT_EQ(problem_with([&](S &s) { s.secret_files = {folder.path()}; }),
              std::string(folder.path()) + ": Is a directory");
    EXPECT_EQ(problem_with([&](S &s) {
                  s.secret_files = {"one=" + secret, "one=" + empty};
              }),
              "--secret-file one=" + empty + ": there is another one for this server");
    EXPECT_EQ(problem_with([](S &s) { s.secret_files = {"/missing"}; }),
              "/missing: No such file or directory");
    EXPECT_EQ(problem_with([&](S &s) { s.secret_files = {empty}; }),
              empty + ": expected a secret in the first line");
    EXPECT_EQ(problem_with([&](S &s) {
                  s.secret_files = {secret, empty};
              }),
              "--secret-file " + empty + ": there is another one for all servers");
    EXPECT_EQ(problem_with([&](S &s) {
                  s.servers.push_back("two=192.0.2.3");
                  s.secret_files = {"one=" + secret};
              }),
              "--server two: expected a --secret-file");
}

}  // namespace
}  // namespace tarn_radius
