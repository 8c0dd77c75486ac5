// SPDX-License-Identifier: Apache-2.0
#include "dot1x/job.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/temporary_directory.h"

namespace tarn_dot1x {
namespace {

// Answers that the test sets.
class Script : public Source {
 public:
    std::vector<PortAnswers> poll() override {
        if (!failure.empty()) throw SourceError(failure);
        return answers;
    }
    std::vector<PortAnswers> answers;
    std::string failure;
};

PortAnswers answers_of(const std::string &stations) {
    PortAnswers answers;
    answers.port = {"p1", 1};
    answers.status = {"status", "state=ENABLED\n"};
    answers.mib = {"mib", ""};
    answers.stations = {{"sta", stations}};
    answers.stations_a_text = Stations::any_number;
    return answers;
}

class JobTest : public testing::Test {
 protected:
    tarn::test::TemporaryDirectory directory;
    std::string store = directory / "store";
    Script script;
    std::ostringstream messages;
};

TEST_F(JobTest, APersistentProblemIsReportedOnce) {
    Job job({.store = {store}}, script, messages);
    script.answers = {answers_of("junk\n")};
    const std::string message = "sta:1: found \"junk\", expected the MAC address of a station\n";
    job.poll();
    job.poll();
    EXPECT_EQ(messages.str(), message);
    script.answers = {answers_of("")};
    job.poll();
    script.answers = {answers_of("junk\n")};
    job.poll();
    EXPECT_EQ(messages.str(), message + message);
    script.answers = {answers_of("junk\nmore\n")};
    job.poll();
    EXPECT_EQ(messages.str(),
              message + message + "sta:2: found \"more\", expected the MAC address of a station\n");
    EXPECT_EQ(job.report().malformed, 3u);
    EXPECT_EQ(job.report().polls, 5u);
}

TEST_F(JobTest, NothingIsStoredWithoutAnAnswer) {
    script.failure = "no one";
    Job job({.store = {store}}, script, messages);
    EXPECT_THROW(job.poll(), SourceError);
    EXPECT_FALSE(std::filesystem::exists(store));
}

TEST_F(JobTest, AnUnreachablePortKeepsItsStoredRows) {
    Job job({.store = {store}}, script, messages);
    script.answers = {answers_of("00:00:00:00:00:01\ndot1xAuthPaeState=5\ndot1xAuthSessionId=S\n")};
    job.poll();
    script.failure = "no one";
    EXPECT_THROW(job.poll(), SourceError);
    const Report report = job.report();
    EXPECT_EQ(report.polls, 1u);
    ASSERT_EQ(report.stored.ports.size(), 1u);
    ASSERT_TRUE(report.stored.ports[0].config);
    EXPECT_EQ(report.stored.ports[0].config->auth_state, 5u);
    EXPECT_EQ(report.stored.ports[0].sessions.size(), 1u);
}

TEST_F(JobTest, AStoreThatCannotBeCreatedIsNamed) {
    script.answers = {answers_of("")};
    const std::string nowhere = directory / "no/store";
    Job job({.store = {nowhere}}, script, messages);
    try {
        job.poll();
        FAIL() << "there is no such directory";
    } catch (const tarn::error &error) {
        EXPECT_EQ(std::string(error.what()).find(nowhere), 0u) << error.what();
    }
}

}  // namespace
}  // namespace tarn_dot1x
