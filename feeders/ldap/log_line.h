// SPDX-License-Identifier: Apache-2.0
//
// One line of an OpenLDAP slapd log, `loglevel stats`.
//
//   line     = [ prefix ] message
//   prefix   = TIME [ "." FRACTION ] " " [ "0x" THREAD " " ]     slapd's own, hexadecimal
//            | ... "slapd[" PID "]: "                            a syslog daemon's
//   message  = "@(#) $OpenLDAP: slapd " ...                      the banner
//            | TAB ...                                           more of the banner, no prefix
//            | "slapd starting" | "slapd stopped." | "slapd shutdown: " ...
//            | "daemon: shutdown requested" ...
//            | "conn=" ID " fd=" FD " " connection
//            | "conn=" ID " op=" N " " operation
//            | ...                                               any other message
//   connection = "ACCEPT from " PEER " (" LISTENER ")"
//              | "closed" [ " (" REASON ")" ] | "TLS established" ...
//   operation  = request | detail | result | notice
//   request    = "BIND dn=" DN " method=" N | "SRCH base=" ... | "CMP dn=" ... | "ADD dn=" ...
//              | "DEL dn=" ... | "MOD dn=" ... | "MODRDN dn=" ... | "EXT oid=" ...
//              | "ABANDON msg=" ... | "UNBIND"
//   detail     = a second line about a request, such as "SRCH attr=" ... or "BIND dn=" DN " mech="
//   result     = [ "SEARCH " ] "RESULT " ( "tag=" N | "oid=" OID ) " err=" N
//                [ " qtime=" SECONDS ] [ " etime=" SECONDS ] [ " nentries=" N ] " text=" ...
//   notice     = "INTERM oid=" ... | "REF #" ... | "DISCONNECT tag=" ...
//
// A pure function: text in, one LogLine or LineError out.
#ifndef FEEDERS_LDAP_LOG_LINE_H
#define FEEDERS_LDAP_LOG_LINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tarn_ldap {

enum class LineKind : uint8_t {
    blank,
    other,         // a message that isn't counted
    banner,        // the version of slapd
    continuation,  // more of the banner
    starting,      // the server starts
    stopping,      // a shutdown was requested, or is about to be
    stopped,       // the server has stopped
    accepted,      // a connection was opened
    closed,        // a connection was closed
    request,       // a client's message
    result,        // the message that ends a request; of a search, with its entries
    notice,        // any other message of the server
    detail,        // a second line about a request
};

enum class Operation : uint8_t { bind, search, compare, extended, other };

struct LogLine {
    LineKind kind = LineKind::other;
    Operation operation = Operation::other;  // of a request and of a result
    uint64_t connection = 0;
    int64_t error = 0;                      // a result's LDAP result code
    uint32_t entries = 0;                   // entries that a search returned
    std::optional<uint64_t> delay_us = {};  // from the request to the result, if the log has it
    std::string listener = {};              // of an accepted connection
};

struct LineError {
    std::string found;  // excerpt, safe to print
    std::string expected;
};

std::variant<LogLine, LineError> parse_line(std::string_view line);

// `text` truncated for a message, with unprintable bytes as \xNN.
std::string excerpt(std::string_view text);

}  // namespace tarn_ldap

#endif
