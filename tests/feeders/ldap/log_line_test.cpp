// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/log_line.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/feeders/ldap/recording.h"

namespace tarn_ldap {
namespace {

LogLine understood(std::string_view text) {
    const auto parsed = parse_line(text);
    if (const auto *error = std::get_if<LineError>(&parsed)) {
        ADD_FAILURE() << text << ": found " << error->found << ", expected " << error->expected;
        return {.kind = LineKind::blank};
    }
    return std::get<LogLine>(parsed);
}

LineError malformed(std::string_view text) {
    const auto parsed = parse_line(text);
    if (const auto *error = std::get_if<LineError>(&parsed)) return *error;
    ADD_FAILURE() << "understood: " << text;
    return {};
}

// A message with slapd's own prefix.
std::string prefixed(const std::string &message) {
    return "6b00fd0a.2ebc3b98 0x7f48271fd6c0 " + message;
}

TEST(LogLine, EveryLineOfTheRecordingIsUnderstood) {
    const auto lines = recorded_lines();
    ASSERT_EQ(lines.size(), 93u);
    for (const std::string &line : lines) EXPECT_NE(understood(line).kind, LineKind::other) << line;
}

TEST(LogLine, TheServersOwnMessagesAreRecognised) {
    const std::pair<std::string, LineKind> cases[] = {
        {prefixed("@(#) $OpenLDAP: slapd 2.5.13+dfsg-5 $"), LineKind::banner},
        {"\tDebian OpenLDAP Maintainers", LineKind::continuation},
        {prefixed("slapd starting"), LineKind::starting},
        {prefixed("daemon: shutdown requested and initiated."), LineKind::stopping},
        {prefixed("slapd shutdown: waiting for 0 operations/tasks to finish"), LineKind::stopping},
        {prefixed("slapd stopped."), LineKind::stopped},
        {"", LineKind::blank},
        {" \t\r", LineKind::blank},
    };
    for (const auto &[line, kind] : cases) EXPECT_EQ(understood(line).kind, kind) << line;
}

TEST(LogLine, LinesThatAreNotCountedAreNoErrors) {
    for (const char *message :
         {"<= mdb_equality_candidates: (uid) not indexed", "slap_client_connect: URI=ldap://x",
          "conn=1000 op=1 do_search: invalid dn: \"x\"", "conn=1000 op=1 Bind failed",
          "conn=1000 fd=11 TLS established tls_ssf=256 ssf=256", "conn=-1 op=0 SRCH base=\"\"",
          "conn=18446744073709551615 op=0 BIND dn=\"\" method=128"})
        EXPECT_EQ(understood(prefixed(message)).kind, LineKind::other) << message;
}

TEST(LogLine, PrefixesOfOlderVersionsAndOfSyslogAreAccepted) {
    for (const char *prefix :
         {"6b00fd0a.2ebc3b98 0x7f48271fd6c0 ", "5f0e1234 0x7f48271fd6c0 ", "5f0e1234 ", "",
          "Nov 21 03:59:01 host slapd[613]: ", "2025-11-21T03:59:01.5+00:00 host slapd[1]: "}) {
        const LogLine line = understood(std::string(prefix) + "conn=7 op=2 UNBIND");
        EXPECT_EQ(line.kind, LineKind::request) << prefix;
        EXPECT_EQ(line.connection, 7u) << prefix;
    }
}

TEST(LogLine, ALineMayEndWithACarriageReturn) {
    EXPECT_EQ(understood(prefixed("conn=7 op=2 UNBIND\r")).kind, LineKind::request);
}

TEST(LogLine, EachRequestIsOneLine) {
    const auto request = [](const std::string &text) {
        const LogLine line = understood(prefixed("conn=1000 op=1 " + text));
        EXPECT_EQ(line.kind, LineKind::request) << text;
        EXPECT_EQ(line.connection, 1000u);
        return line.operation;
    };
    EXPECT_EQ(request("BIND dn=\"cn=admin\" method=128"), Operation::bind);
    EXPECT_EQ(request("SRCH base=\"\" scope=2 deref=0 filter=\"(uid=a)\""), Operation::search);
    EXPECT_EQ(request("CMP dn=\"uid=alice\" attr=\"sn\""), Operation::compare);
    EXPECT_EQ(request("EXT oid=1.3.6.1.4.1.4203.1.11.3"), Operation::extended);
    for (const char *text : {"ADD dn=\"a\"", "DEL dn=\"a\"", "MOD dn=\"a\"", "MODRDN dn=\"a\"",
                             "ABANDON msg=2", "UNBIND"})
        EXPECT_EQ(request(text), Operation::other);
}

TEST(LogLine, SecondLinesOfARequestAreDetails) {
    for (const char *text :
         {"BIND dn=\"cn=admin\" mech=SIMPLE bind_ssf=0 ssf=0", "BIND anonymous mech=implicit ssf=0",
          "BIND authcid=\"a\" authzid=\"a\"", "SRCH attr=dn uid", "MOD attr=sn", "WHOAMI",
          "PASSMOD id=\"a\" new", "STARTTLS", "CANCEL msg=3", "ENTRY dn=\"a\"",
          "PROXYAUTHZ dn=\"a\""})
        EXPECT_EQ(understood(prefixed("conn=1 op=1 " + std::string(text))).kind, LineKind::detail)
            << text;
}

TEST(LogLine, MessagesOtherThanResultsAreNotices) {
    for (const char *text :
         {"INTERM oid=1.2", "REF #0 \"ldap://x\"", "DISCONNECT tag=97 err=2 text="})
        EXPECT_EQ(understood(prefixed("conn=1 op=1 " + std::string(text))).kind, LineKind::notice)
            << text;
}

TEST(LogLine, ANameThatLooksLikeTheRestOfABindIsAName) {
    const std::string name = R"(cn=" mech=SIMPLE ,o=" method=1)";
    EXPECT_EQ(understood(prefixed("conn=1 op=0 BIND dn=\"" + name + "\" method=128")).kind,
              LineKind::request);
    EXPECT_EQ(understood(prefixed("conn=1 op=0 BIND dn=\"" + name + "\" mech=SIMPLE ssf=0")).kind,
              LineKind::detail);
}

TEST(LogLine, AResultHasItsErrorItsDelayAndItsEntries) {
    const LogLine search = understood(prefixed(
        "conn=1 op=1 SEARCH RESULT tag=101 err=4 qtime=0.000008 etime=0.001658 nentries=9 text=x"));
    EXPECT_EQ(search.kind, LineKind::result);
    EXPECT_EQ(search.operation, Operation::search);
    EXPECT_EQ(search.error, 4);
    EXPECT_EQ(search.entries, 9u);
    EXPECT_EQ(search.delay_us, 1658u);

    const LogLine old =
        understood(prefixed("conn=1 op=1 SEARCH RESULT tag=101 err=0 nentries=2 text="));
    EXPECT_EQ(old.entries, 2u);
    EXPECT_FALSE(old.delay_us);

    const auto operation = [](const std::string &result) {
        return understood(prefixed("conn=1 op=1 RESULT " + result + " err=0 etime=0.000001 text="))
            .operation;
    };
    EXPECT_EQ(operation("tag=97"), Operation::bind);
    EXPECT_EQ(operation("tag=101"), Operation::search);
    EXPECT_EQ(operation("tag=105"), Operation::other);
    EXPECT_EQ(operation("tag=111"), Operation::compare);
    EXPECT_EQ(operation("tag=120"), Operation::extended);
    EXPECT_EQ(operation("oid="), Operation::extended);
    EXPECT_EQ(operation("oid=1.2.3"), Operation::extended);
    EXPECT_EQ(understood(prefixed("conn=1 op=1 RESULT tag=97 err=-1 text=")).error, -1);
}

TEST(LogLine, DelaysAreMicrosecondsForAnyNumberOfDigits) {
    const auto delay = [](const std::string &seconds) {
        return understood(prefixed("conn=1 op=1 RESULT tag=97 err=0 etime=" + seconds + " text="))
            .delay_us;
    };
    EXPECT_EQ(delay("0.000108"), 108u);
    EXPECT_EQ(delay("1.5"), 1500000u);
    EXPECT_EQ(delay("12.0000019"), 12000001u);
    EXPECT_GT(delay("18446744073709551615.999999"), uint64_t{1} << 60);
}

TEST(LogLine, AConnectionNamesItsListener) {
    const LogLine line =
        understood(prefixed("conn=1002 fd=11 ACCEPT from IP=[::1]:39656 (IP=[::]:3389)"));
    EXPECT_EQ(line.kind, LineKind::accepted);
    EXPECT_EQ(line.connection, 1002u);
    EXPECT_EQ(line.listener, "IP=[::]:3389");
    EXPECT_EQ(understood(prefixed("conn=1 fd=11 ACCEPT from PATH=/run/x (PATH=/run/x)")).listener,
              "PATH=/run/x");
}

TEST(LogLine, AConnectionIsClosedWithAReasonOrWithout) {
    EXPECT_EQ(understood(prefixed("conn=1 fd=11 closed")).kind, LineKind::closed);
    EXPECT_EQ(understood(prefixed("conn=1 fd=11 closed (connection lost)")).kind, LineKind::closed);
}

struct MalformedLine {
    std::string line;
    const char *found;     // begins with this
    const char *expected;  // contains this
};

const MalformedLine malformed_lines[] = {
    {"Lorem ipsum", "Lorem ipsum", "slapd[PID]: "},
    {"6b00fd0a. conn=1 op=1 UNBIND", "6b00fd0a. conn", "TIME THREAD MESSAGE"},
    {"6b00fd0a.1 0x conn=1 op=1 UNBIND", "6b00fd0a.1 0x", "TIME THREAD MESSAGE"},
    {"host slapd[]: conn=1", "host slapd[]", "TIME THREAD MESSAGE"},
    {prefixed("conn=abc op=1 UNBIND"), "abc", "number of a connection"},
    {prefixed("conn="), "", "number of a connection"},
    {prefixed("conn=99999999999999999999 op=1 UNBIND"), "9999", "number of a connection"},
    {prefixed("conn=1"), "", "op= or fd="},
    {prefixed("conn=1 op=x UNBIND"), "x UNBIND", "number of an operation"},
    {prefixed("conn=1 op=1"), "", "a blank"},
    {prefixed("conn=1 op=1 FROB x=1"), "FROB x=1", "BIND, SRCH or RESULT"},
    {prefixed("conn=1 op=1 SRCH"), "", "base= or attr="},
    {prefixed("conn=1 op=1 SRCHbase="), "SRCHbase=", "a blank after"},
    {prefixed("conn=1 op=1 MOD on=1"), "on=1", "dn= or attr="},
    {prefixed("conn=1 op=1 BIND who"), "who", "BIND dn="},
    {prefixed("conn=1 op=1 BIND dn=\"a\""), "", "method= or mech="},
    {prefixed("conn=1 op=1 BIND dn=\"a"), "a", "method= or mech="},
    {prefixed("conn=1 op=1 BIND dn=\"a\" method=simple"), "simple", "bind method"},
    {prefixed("conn=1 op=1 RESULT err=0 text="), "err=0", "tag= or oid="},
    {prefixed("conn=1 op=1 RESULT tag=x"), "x", "response tag"},
    {prefixed("conn=1 op=1 RESULT tag=97 text="), " text=", "err="},
    {prefixed("conn=1 op=1 RESULT tag=97 err=none"), "none", "LDAP result"},
    {prefixed("conn=1 op=1 RESULT tag=97 err=0 etime=0.x text="), "0.x", "seconds"},
    {prefixed("conn=1 op=1 RESULT tag=97 err=0 etime=-1.0 text="), "-1.0", "seconds"},
    {prefixed("conn=1 op=1 RESULT tag=97 err=0 etime=1 text="), " text=", "seconds"},
    {prefixed("conn=1 op=1 RESULT tag=97 err=0"), "", "text="},
    {prefixed("conn=1 op=1 SEARCH RESULT oid= err=0"), "oid=", "tag="},
    {prefixed("conn=1 op=1 SEARCH RESULT tag=101 err=0 text="), " text=", "nentries="},
    {prefixed("conn=1 op=1 SEARCH RESULT tag=101 err=0 nentries=4294967296 text="), "4294967296",
     "number of entries"},
    {prefixed("conn=1 fd=x closed"), "x closed", "file descriptor"},
    {prefixed("conn=1 fd=1 opened"), "opened", "ACCEPT, closed or TLS"},
    {prefixed("conn=1 fd=1 closedown"), "own", "a reason in brackets"},
    {prefixed("conn=1 fd=1 ACCEPT from IP=1.2.3.4:5"), "IP=1.2.3.4:5", "LISTENER"},
    {prefixed("conn=1 fd=1 ACCEPT from IP=1.2.3.4:5 (IP=0.0.0.0:3"), "IP=1.2.3.4:5", "LISTENER"},
};

TEST(LogLine, AMalformedLineReportsWhatWasFoundAndExpected) {
    for (const MalformedLine &each : malformed_lines) {
        const LineError error = malformed(each.line);
        EXPECT_TRUE(error.found.starts_with(each.found)) << each.line << ": " << error.found;
        EXPECT_NE(error.expected.find(each.expected), std::string::npos)
            << each.line << ": " << error.expected;
    }
}

TEST(LogLine, AnExcerptIsShortAndPrintable) {
    EXPECT_EQ(excerpt("plain"), "plain");
    EXPECT_EQ(excerpt(std::string_view("a\0\x1b[2J\xff", 7)), "a\\x00\\x1b[2J\\xff");
    EXPECT_EQ(excerpt(std::string(41, 'x')), std::string(40, 'x') + "...");
}

// Any bytes are a line or an error, and a line's values are parts of its text.
void expect_sound(const std::string &text) {
    const auto parsed = parse_line(text);
    if (const auto *error = std::get_if<LineError>(&parsed)) {
        EXPECT_FALSE(error->expected.empty());
        for (const char c : error->found) EXPECT_TRUE(c >= ' ' && c <= '~');
        return;
    }
    const LogLine &line = std::get<LogLine>(parsed);
    EXPECT_LE(line.kind, LineKind::detail);
    EXPECT_NE(text.find(line.listener), std::string::npos);
}

TEST(LogLine, RandomBytesAreReadSafely) {
    constexpr unsigned seed = 20240117;
    std::mt19937 random(seed);
    for (int step = 0; step < 20000; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        std::string text(random() % 80, '\0');
        for (char &c : text) c = char(random());
        expect_sound(step % 2 == 0 ? text : prefixed("conn=1 op=1 " + text));
        if (HasFailure()) return;
    }
}

// Cuts the text off, or adds or deletes bytes, at a random place.
void damage(std::string &text, std::mt19937 &random) {
    const size_t place = random() % (text.size() + 1);
    switch (random() % 3) {
        case 0:
            text.resize(place);
            break;
        case 1:
            text.insert(place, 1, char(random()));
            break;
        case 2:
            text.erase(place, random() % 8);
            break;
    }
}

TEST(LogLine, DamagedLinesAreReadSafely) {
    constexpr unsigned seed = 20240118;
    std::mt19937 random(seed);
    const auto lines = recorded_lines();
    ASSERT_FALSE(lines.empty());
    for (int step = 0; step < 20000; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        std::string text = lines[random() % lines.size()];
        for (unsigned count = random() % 4; count != 0; --count) damage(text, random);
        expect_sound(text);
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace tarn_ldap
