// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/job.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <utility>
#include <vector>

#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/replica.hpp"
#include "tests/support/temporary_directory.h"

namespace tarn_ldap {
namespace {

using tarn::test::TemporaryDirectory;
using tarn::test::write_file;

constexpr const char *kStart = "5f0e1234 slapd starting\n";
constexpr const char *kAccept = "5f0e1234 conn=1 fd=9 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:389)\n";
constexpr const char *kUnbind = "5f0e1234 conn=1 op=1 UNBIND\n";
constexpr const char *kName = "ldap://2.2.2.2:389";

class JobTest : public testing::Test {
 protected:
    Job job(std::optional<std::string> server = {}, std::optional<uint32_t> timeout = {}) {
        return Job({.store = {.path = store, .durability = {}},
                    .log = "log",
                    .server = server,
                    .timeout = timeout},
                   messages);
    }
    Report run(const std::string &text) {
        Job one = job();
        one.take({text});
        one.finish();
        return one.report();
    }
    std::optional<Server> stored(const std::string &name) {
        return Keeper(tarn::store::open_or_create(store)).read(name);
    }
    Job job_with_journal() {
        JobOptions options;
        options.store.path = store;
        options.log = directory / "slapd.log";
        options.store.journal = true;
        return Job(options, messages);
    }
    // Of all transactions that the journal of the store has.
    std::vector<std::string> labels() {
        std::vector<std::string> found;
        auto replica = tarn::replica::open(store, tarn::replica::oldest);
        while (replica.advance() == tarn::replica::step::applied) {
            const char *label = replica.transaction().label;
            if (label != nullptr) found.emplace_back(label);
        }
        return found;
    }

    TemporaryDirectory directory;
    std::string store = directory / "store";
    std::ostringstream messages;
};

TEST_F(JobTest, EachBatchIsStoredOnceTheServerHasAName) {
    Job one = job();
    one.take({kStart});
    EXPECT_FALSE(std::filesystem::exists(store));
    one.take({kAccept});
    EXPECT_EQ(one.report().name, kName);
    EXPECT_EQ(one.report().server.num_conns, 1u);
    EXPECT_TRUE(one.report().server.status);
    one.take({std::string(kUnbind) + "5f0e12"});
    EXPECT_EQ(one.report().server.stats.total_msg_sent, 1u);
    one.take({"34 conn=1 op=2 UNBIND\n"});
    EXPECT_EQ(one.report().server.stats.total_msg_sent, 2u);
    EXPECT_EQ(messages.str(), "");
}

TEST_F(JobTest, AGivenNameIsUsedFromTheFirstBatchOn) {
    Job one = job("mine", 30);
    one.take({kStart});
    EXPECT_EQ(one.report().name, "mine");
    one.take({kAccept});
    EXPECT_EQ(one.report().name, "mine");
    EXPECT_EQ(one.report().server.req_timeout, 30u);
}

TEST_F(JobTest, AServerWithoutAConnectionIsStoredAsSlapdAtTheEnd) {
    EXPECT_EQ(run(kStart).name, "slapd");
    EXPECT_TRUE(stored("slapd")->status);
}

TEST_F(JobTest, ATimeoutStaysUntilAnotherIsGiven) {
    {
        Job one = job(kName, 30);
        one.take({kUnbind});
    }
    EXPECT_EQ(run(std::string(kAccept)).server.req_timeout, 30u);
}

TEST_F(JobTest, CountingContinuesFromTheStoredCounters) {
    EXPECT_EQ(run(std::string(kAccept) + kUnbind).server.stats.total_msg_sent, 1u);
    const Report second = run("5f0e1234 conn=2 fd=8 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:389)\n" +
                              std::string(kUnbind) + "5f0e1234 conn=1 fd=9 closed\n");
    EXPECT_EQ(second.lines, 3u);
    EXPECT_EQ(second.server.stats.total_msg_sent, 2u);
    EXPECT_EQ(second.server.num_conns, 1u);
}

TEST_F(JobTest, AMalformedLineIsReportedByItsNumberAndSkipped) {
    const Report report = run(std::string(kAccept) + "\nnonsense\n" + kUnbind + "5f0e1234 conn=x");
    EXPECT_EQ(report.lines, 4u);
    EXPECT_EQ(report.malformed, 2u);
    EXPECT_EQ(report.server.stats.total_msg_sent, 1u);
    EXPECT_EQ(messages.str(),
              "log:3: found \"nonsense\", expected a line of slapd's: TIME THREAD MESSAGE, or "
              "syslog's slapd[PID]: \n"
              "log:5: found \"x\", expected the number of a connection\n");
}

TEST_F(JobTest, LinesBeforeTheLogIsRecognisedAreReportedInOrder) {
    const Report report = run("one\ntwo\n" + std::string(kAccept) + "three\n");
    EXPECT_EQ(report.malformed, 3u);
    const std::string text = messages.str();
    EXPECT_LT(text.find("log:1: found \"one\""), text.find("log:2: found \"two\""));
    EXPECT_LT(text.find("log:2: found \"two\""), text.find("log:4: found \"three\""));
    EXPECT_NE(text.find("log:4: found \"three\""), std::string::npos);
}

TEST_F(JobTest, AContinuationLineIsValidOnlyAfterTheBanner) {
    const std::string banner = "5f0e1234 @(#) $OpenLDAP: slapd 2.5 $\n\tmaintainers\n\tmore\n";
    EXPECT_EQ(run(banner).malformed, 0u);
    EXPECT_EQ(run(banner + kAccept + "\tmore\n").malformed, 1u);
    EXPECT_NE(messages.str().find("log:5: found \"\\x09more\", expected"), std::string::npos)
        << messages.str();
}

TEST_F(JobTest, TheJournalSaysWhichLinesATransactionIsFrom) {
    {
        Job one = job_with_journal();
        one.take({kStart});
        one.take({kAccept});
        one.take({std::string(kUnbind) + "5f0e1234 conn=1 op=2 UN"});
        one.take({"BIND\n\n"});
        one.take({"nonsense\n"});
        one.take({kAccept, true});
    }
    EXPECT_EQ(labels(), (std::vector<std::string>{
                            "slapd.log:1-2", "slapd.log:3: 5f0e1234 conn=1 op=1 UNBIND",
                            "slapd.log:4: 5f0e1234 conn=1 op=2 UNBIND", "slapd.log:6: nonsense",
                            "slapd.log:1: 5f0e1234 conn=1 fd=9 ACCEPT from IP=1.1...."}));
}

TEST_F(JobTest, AJournalThatTheStoreKeepsStaysAsItIsSet) {
    { job_with_journal().take({kAccept}); }
    {
        const auto opened = tarn::store::open_or_create(store);
        kel_journal_settings settings = tarn::try_describe_journal(opened).value().settings;
        EXPECT_EQ(settings.enabled, 1U);
        settings.keep_seconds = 60;
        tarn::set_journal(opened, settings);
    }
    { job_with_journal().take({kUnbind}); }
    const auto opened = tarn::store::open_or_create(store);
    EXPECT_EQ(tarn::try_describe_journal(opened).value().settings.keep_seconds, 60U);
}

TEST_F(JobTest, WithoutAJournalNothingIsLabelled) {
    run(kAccept);
    EXPECT_EQ(labels(), std::vector<std::string>{});
}

TEST_F(JobTest, AnEndlessLineIsReportedAndSkipped) {
    const Report report = run(kAccept + std::string(kLongestLine + 1, 'x') + "\n" + kUnbind);
    EXPECT_EQ(report.malformed, 1u);
    EXPECT_EQ(report.server.stats.total_msg_sent, 1u);
    EXPECT_NE(messages.str().find("expected a line of at most 1048576 bytes"), std::string::npos);
}

TEST_F(JobTest, LineNumbersStartAgainInANewText) {
    Job one = job();
    one.take({std::string(kAccept) + kUnbind + "5f0e1234 conn=1 op=3 UNB"});
    one.take({"nonsense\n", true});
    EXPECT_EQ(one.report().malformed, 2u);
    EXPECT_NE(messages.str().find("log:3: found \"UNB\""), std::string::npos) << messages.str();
    EXPECT_NE(messages.str().find("log:1: found \"nonsense\""), std::string::npos);
}

TEST_F(JobTest, ATextWithoutALineOfSlapdIsRefusedAndNothingIsStored) {
    std::string many;
    for (size_t i = 0; i < kLinesBeforeRefusal; ++i) many += "line\n";
    const std::string texts[] = {"one line\n", "no end of line", many, "5f0e1234 hello\n",
                                 std::string("\0\1\2\3", 4)};
    for (const std::string &text : texts) {
        try {
            run(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const NotASlapdLog &error) {
            EXPECT_TRUE(std::string(error.what()).starts_with("log is no slapd log"));
        }
    }
    // Without waiting for the end of the text.
    Job one = job();
    EXPECT_THROW(one.take({many}), NotASlapdLog);
    EXPECT_FALSE(std::filesystem::exists(store));
    EXPECT_EQ(messages.str(), "");
}

TEST_F(JobTest, AnEmptyTextStoresNothingAndIsNoError) {
    const Report report = run("\n\n");
    EXPECT_EQ(report.lines, 0u);
    EXPECT_EQ(report.name, std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(store));
}

TEST_F(JobTest, ABatchThatCannotBeStoredIsReported) {
    write_file(store, "no store");
    Job one = job();
    try {
        one.take({std::string(kAccept) + kUnbind});
        FAIL() << "stored";
    } catch (const tarn::error &error) {
        EXPECT_NE(std::string(error.what()).find("the last batch, of 2 lines, is not stored"),
                  std::string::npos)
            << error.what();
    }
}

// Another process that has a transaction open between `begin` and `end`. Make it before the store
// is opened: its place in memory is the same in all processes.
class Writer {
 public:
    explicit Writer(const std::string &path) {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_), 0);
        process_ = fork();
        if (process_ == 0) hold(path);
        close(ends_[1]);
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    ~Writer() { end(); }

    void begin() {
        char byte = 0;
        EXPECT_EQ(write(ends_[0], &byte, 1), 1);
        EXPECT_EQ(read(ends_[0], &byte, 1), 1);
    }
    void end() {
        if (process_ <= 0) return;
        close(ends_[0]);
        waitpid(std::exchange(process_, 0), nullptr, 0);
    }

 private:
    [[noreturn]] void hold(const std::string &path) {
        close(ends_[0]);
        char byte;
        if (read(ends_[1], &byte, 1) != 1) _exit(1);
        auto store = tarn::store::open(path);
        tarn::session session(store);
        const tarn::transaction transaction(session);
        if (write(ends_[1], &byte, 1) == 1) [[maybe_unused]]
            const auto done = read(ends_[1], &byte, 1);
        _exit(0);
    }

    int ends_[2] = {-1, -1};
    pid_t process_ = 0;
};

class ResumedJobTest : public JobTest {
 protected:
    Job job_with_place() {
        JobOptions options;
        options.store.path = store;
        options.log = "log";
        options.source = "file:log";
        return Job(options, messages);
    }
    static Piece piece(const std::string &bytes, const std::string &end, uint64_t first_line) {
        return {bytes, false, end, first_line};
    }
    std::string place() {
        const auto found = Keeper(tarn::store::open_or_create(store)).place("file:log");
        return found ? found->position : "none";
    }
};

TEST_F(ResumedJobTest, ContinuesWithTheServerAndThePlaceOfTheStore) {
    {
        Job one = job_with_place();
        EXPECT_EQ(one.resume(), "");
        one.take(piece(kStart, "1", 1));
    }
    EXPECT_EQ(place(), "none");
    {
        Job two = job_with_place();
        EXPECT_EQ(two.resume(), "");
        two.take(piece(std::string(kStart) + kAccept, "2", 1));
    }
    Job three = job_with_place();
    EXPECT_EQ(three.resume(), "2");
    three.take(piece("nonsense\n" + std::string(kUnbind), "4", 3));
    EXPECT_EQ(three.report().name, kName);
    EXPECT_EQ(three.report().server.num_conns, 1u);
    EXPECT_EQ(three.report().server.stats.total_msg_sent, 1u);
    EXPECT_NE(messages.str().find("log:3: found"), std::string::npos) << messages.str();
}

TEST_F(ResumedJobTest, ABatchThatTheStoreRefusedIsStoredLaterWithItsPlace) {
    {
        Writer other(store);
        Job one = job_with_place();
        one.resume();
        one.take(piece(kAccept, "1", 1));
        other.begin();
        EXPECT_THROW(one.take(piece(kUnbind, "2", 2)), tarn::error);
        EXPECT_EQ(one.report().server.stats.total_msg_sent, 0u);
        other.end();
        one.store_rest();
        EXPECT_EQ(one.report().server.stats.total_msg_sent, 1u);
    }
    EXPECT_EQ(place(), "2");
}

TEST_F(ResumedJobTest, TheConnectionsThatTheServerCountsReplaceThoseOfTheLog) {
    Job one = job_with_place();
    one.resume();
    one.observe_connections(9);
    one.take(piece(kAccept, "1", 1));
    EXPECT_EQ(one.report().server.num_conns, 9u);
    one.observe_connections(8);
    EXPECT_EQ(one.report().server.num_conns, 8u);
    one.observe_connections(std::nullopt);
    EXPECT_EQ(one.report().server.num_conns, 1u);
}

TEST_F(ResumedJobTest, AStoppedServerHasNoConnectionsWhateverItCountedBefore) {
    Job one = job_with_place();
    one.resume();
    one.observe_connections(9);
    one.take(piece(std::string(kAccept) + "5f0e1234 slapd stopped.\n", "1", 1));
    EXPECT_EQ(one.report().server.num_conns, 0u);
}

}  // namespace
}  // namespace tarn_ldap
