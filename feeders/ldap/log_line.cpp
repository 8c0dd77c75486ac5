// SPDX-License-Identifier: Apache-2.0
#include "log_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>

namespace tarn_ldap {
namespace {

constexpr size_t kExcerptLength = 40;
constexpr uint64_t kMicrosecondsPerSecond = 1000000;

// Thrown only inside the parser; parse_line turns it into a LineError.
struct Unexpected {
    std::string_view found;
    std::string expected;
};

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool is_capital(char c) { return c >= 'A' && c <= 'Z'; }

// Reads a text from its start; throws Unexpected.
class Cursor {
 public:
    explicit Cursor(std::string_view text) : rest_(text) {}

    std::string_view rest() const { return rest_; }
    bool at_end() const { return rest_.empty(); }
    bool starts_with(std::string_view text) const { return rest_.starts_with(text); }

    bool skip(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    void need(std::string_view text, const char *expected) {
        if (!skip(text)) throw Unexpected{rest_, expected};
    }

    template <class Predicate>
    std::string_view take_while(Predicate predicate) {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), predicate);
        const std::string_view taken = rest_.substr(0, size_t(end - rest_.begin()));
        rest_.remove_prefix(taken.size());
        return taken;
    }

    template <class Number>
    Number number(const char *expected) {
        Number value{};
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error != std::errc{}) throw Unexpected{rest_, expected};
        rest_.remove_prefix(size_t(end - rest_.data()));
        return value;
    }

 private:
    std::string_view rest_;
};

// "6b00fd08.2ef77557 0x7f482a531200 ", or without the fraction and the thread.
bool skip_own_prefix(Cursor &cursor) {
    Cursor trial = cursor;
    if (trial.take_while(is_hex).size() != 8) return false;
    if (trial.skip(".") && trial.take_while(is_hex).empty()) return false;
    if (!trial.skip(" ")) return false;
    if (trial.skip("0x") && (trial.take_while(is_hex).empty() || !trial.skip(" "))) return false;
    cursor = trial;
    return true;
}

// "Nov 21 03:59:01 host slapd[613]: ", with any text before the name.
bool skip_syslog_prefix(Cursor &cursor) {
    constexpr std::string_view name = "slapd[";
    const size_t place = cursor.rest().find(name);
    if (place == std::string_view::npos) return false;
    Cursor trial(cursor.rest().substr(place + name.size()));
    if (trial.take_while(is_digit).empty() || !trial.skip("]: ")) return false;
    cursor = trial;
    return true;
}

bool is_message_without_prefix(const Cursor &cursor) {
    return cursor.starts_with("conn=") || cursor.starts_with("slapd ") ||
           cursor.starts_with("@(#) $OpenLDAP:");
}

// "0.000108", of which digits after the sixth are dropped.
uint64_t parse_seconds(Cursor &cursor) {
    constexpr const char *expected = "a number of seconds such as 0.000108";
    const std::string_view start = cursor.rest();
    const auto seconds = cursor.number<uint64_t>(expected);
    cursor.need(".", expected);
    const std::string_view fraction = cursor.take_while(is_digit);
    if (fraction.empty()) throw Unexpected{start, expected};
    uint64_t microseconds = 0;
    for (size_t i = 0; i < 6; ++i)
        microseconds = microseconds * 10 + (i < fraction.size() ? uint64_t(fraction[i] - '0') : 0);
    constexpr uint64_t most = std::numeric_limits<uint64_t>::max() / kMicrosecondsPerSecond - 1;
    return std::min(seconds, most) * kMicrosecondsPerSecond + microseconds;
}

Operation operation_of_tag(uint64_t tag) {
    switch (tag) {
        case 97:
            return Operation::bind;
        case 101:
            return Operation::search;
        case 111:
            return Operation::compare;
        case 120:
            return Operation::extended;
        default:
            return Operation::other;
    }
}

LogLine parse_result(Cursor &cursor, bool search) {
    LogLine line{.kind = LineKind::result};
    if (!search && cursor.skip("oid=")) {
        line.operation = Operation::extended;
        cursor.take_while([](char c) { return c != ' '; });
    } else {
        cursor.need("tag=", search ? "tag=" : "tag= or oid=");
        line.operation = operation_of_tag(cursor.number<uint64_t>("the number of a response tag"));
    }
    if (search) line.operation = Operation::search;
    cursor.need(" err=", "err=");
    line.error = cursor.number<int64_t>("the number of an LDAP result");
    if (cursor.skip(" qtime=")) parse_seconds(cursor);
    if (cursor.skip(" etime=")) line.delay_us = parse_seconds(cursor);
    if (search) {
        cursor.need(" nentries=", "nentries=");
        line.entries = cursor.number<uint32_t>("a number of entries");
    }
    cursor.need(" text=", "text=");
    return line;
}

// A bind has two lines or more; the one with its method counts as the request. The name in quotes
// may hold anything, so the method is looked for after the last quote.
LogLine parse_bind(Cursor &cursor) {
    if (cursor.skip("authcid=") || cursor.skip("anonymous")) return {.kind = LineKind::detail};
    constexpr const char *expected = "BIND dn=\"...\" and method= or mech=";
    cursor.need("dn=\"", expected);
    Cursor tail(cursor.rest().substr(cursor.rest().rfind('"') + 1));
    if (tail.skip(" mech=")) return {.kind = LineKind::detail};
    tail.need(" method=", expected);
    tail.number<uint64_t>("the number of a bind method");
    return {.kind = LineKind::request, .operation = Operation::bind};
}

struct Word {
    std::string_view word;
    std::string_view start;  // how the rest of the line begins
    LineKind kind;
    Operation operation = Operation::other;
};

// What may follow "conn=N op=N ", besides BIND and the results.
constexpr std::array kWords = {
    Word{"SRCH", "base=", LineKind::request, Operation::search},
    Word{"SRCH", "attr=", LineKind::detail},
    Word{"CMP", "dn=", LineKind::request, Operation::compare},
    Word{"EXT", "oid=", LineKind::request, Operation::extended},
    Word{"ADD", "dn=", LineKind::request},
    Word{"DEL", "dn=", LineKind::request},
    Word{"MOD", "dn=", LineKind::request},
    Word{"MOD", "attr=", LineKind::detail},
    Word{"MODRDN", "dn=", LineKind::request},
    Word{"ABANDON", "msg=", LineKind::request},
    Word{"UNBIND", "", LineKind::request},
    Word{"INTERM", "oid=", LineKind::notice},
    Word{"REF", "#", LineKind::notice},
    Word{"DISCONNECT", "tag=", LineKind::notice},
    Word{"ENTRY", "dn=", LineKind::detail},
    Word{"WHOAMI", "", LineKind::detail},
    Word{"PASSMOD", "", LineKind::detail},
    Word{"STARTTLS", "", LineKind::detail},
    Word{"CANCEL", "msg=", LineKind::detail},
    Word{"PROXYAUTHZ", "dn=", LineKind::detail},
};

LogLine parse_operation(Cursor &cursor) {
    if (cursor.skip("SEARCH RESULT ")) return parse_result(cursor, true);
    if (cursor.skip("RESULT ")) return parse_result(cursor, false);
    if (cursor.skip("BIND ")) return parse_bind(cursor);
    const std::string_view start = cursor.rest();
    const std::string_view name = cursor.take_while(is_capital);
    // Operations are in capitals; another word is the name of a function of slapd.
    if (name.size() < 2) return {.kind = LineKind::other};
    if (!cursor.skip(" ") && !cursor.at_end())
        throw Unexpected{start, "a blank after the name of the operation"};
    std::string known;
    for (const Word &word : kWords) {
        if (word.word != name) continue;
        if (cursor.starts_with(word.start)) return {.kind = word.kind, .operation = word.operation};
        known.append(known.empty() ? "" : " or ").append(word.start);
    }
    if (known.empty()) throw Unexpected{start, "an LDAP operation such as BIND, SRCH or RESULT"};
    throw Unexpected{cursor.rest(), known};
}

LogLine parse_connection(Cursor &cursor) {
    if (cursor.skip("ACCEPT from ")) {
        constexpr const char *expected = "PEER (LISTENER) after \"ACCEPT from\"";
        const size_t open = cursor.rest().find(" (");
        const size_t close = cursor.rest().find(')', open);
        if (open == std::string_view::npos || close == std::string_view::npos)
            throw Unexpected{cursor.rest(), expected};
        return {.kind = LineKind::accepted,
                .listener = std::string(cursor.rest().substr(open + 2, close - open - 2))};
    }
    if (cursor.skip("closed")) {
        if (!cursor.at_end() && !cursor.starts_with(" ("))
            throw Unexpected{cursor.rest(), "the end of the line or a reason in brackets"};
        return {.kind = LineKind::closed};
    }
    if (cursor.starts_with("TLS ")) return {.kind = LineKind::other};
    throw Unexpected{cursor.rest(), "ACCEPT, closed or TLS"};
}

LogLine parse_conn(Cursor &cursor) {
    // The number -1, signed or not, is slapd's internal work.
    if (cursor.skip("-1 ")) return {.kind = LineKind::other};
    const auto connection = cursor.number<uint64_t>("the number of a connection");
    if (connection == std::numeric_limits<uint64_t>::max()) return {.kind = LineKind::other};
    LogLine line;
    if (cursor.skip(" op=")) {
        cursor.number<uint64_t>("the number of an operation");
        cursor.need(" ", "a blank after the number of the operation");
        line = parse_operation(cursor);
    } else {
        cursor.need(" fd=", "op= or fd=");
        cursor.number<uint64_t>("the number of a file descriptor");
        cursor.need(" ", "a blank after the number of the file descriptor");
        line = parse_connection(cursor);
    }
    line.connection = connection;
    return line;
}

LogLine parse_message(Cursor &cursor) {
    if (cursor.skip("conn=")) return parse_conn(cursor);
    if (cursor.starts_with("@(#) $OpenLDAP:")) return {.kind = LineKind::banner};
    if (cursor.starts_with("slapd starting")) return {.kind = LineKind::starting};
    if (cursor.starts_with("slapd stopped.")) return {.kind = LineKind::stopped};
    if (cursor.starts_with("slapd shutdown:") || cursor.starts_with("daemon: shutdown requested"))
        return {.kind = LineKind::stopping};
    return {.kind = LineKind::other};
}

LogLine parse(std::string_view text) {
    Cursor cursor(text);
    if (text.find_first_not_of(" \t\r") == std::string_view::npos) return {.kind = LineKind::blank};
    if (cursor.starts_with("\t")) return {.kind = LineKind::continuation};
    if (!skip_own_prefix(cursor) && !skip_syslog_prefix(cursor) &&
        !is_message_without_prefix(cursor))
        throw Unexpected{text, "a line of slapd's: TIME THREAD MESSAGE, or syslog's slapd[PID]: "};
    return parse_message(cursor);
}

}  // namespace

std::string excerpt(std::string_view text) {
    std::string result;
    for (const char c : text.substr(0, kExcerptLength)) {
        if (c >= ' ' && c <= '~') {
            result += c;
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02x", unsigned(static_cast<unsigned char>(c)));
        result += escaped;
    }
    if (text.size() > kExcerptLength) result += "...";
    return result;
}

std::variant<LogLine, LineError> parse_line(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    try {
        return parse(line);
    } catch (const Unexpected &unexpected) {
        return LineError{excerpt(unexpected.found), unexpected.expected};
    }
}

}  // namespace tarn_ldap
