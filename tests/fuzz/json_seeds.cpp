// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/json_seeds.h"

#include <utility>

namespace tarnbase::fuzz {

namespace {

constexpr const char *plain_export =
    "{\"tarnbase\":{\"format\":1,\"tables\":[\n"
    "{\"table\":\"tbl_ldap_conn\",\"name\":\"ldap\",\"records\":[\n"
    "{\"tenant\":0,\"source\":1,\"fields\":{\"sname\":\"a\",\"num_conns\":1}},\n"
    "{\"tenant\":7,\"source\":2,\"pending\":true,\"variant\":0,\"state\":{\"num_conns\":2},\n"
    " \"fields\":{\"sname\":{\"hex\":\"00ff\"},\"num_conns\":\"4294967295\"}}\n"
    "]}\n]}}\n";

constexpr const char *yang_export =
    "{\"tarnbase:tables\":{\"table\":[\n"
    "{\"name\":\"ldap\",\"tbl_ldap_conn\":[{\"tenant\":0,\"source\":1,\n"
    "\"state\":[{\"path\":\"num_conns\",\"flag\":2}],\"fields\":{\"sname\":\"a\"}}]}]}}\n";

constexpr const char *blanks =
    "\xef\xbb\xbf \r\n\t{ \"a\" :\r\n[ 1 ,\n2 ] , \"b\"\t:\n{ } ,\n\n\"c\" : [ ]\n}\r\n\n ";

constexpr const char *numbers =
    "[0,-0,1,-1,255,4294967296,9223372036854775807,9223372036854775808,-9223372036854775808,"
    "-9223372036854775809,18446744073709551615,18446744073709551616,0.5,-0.5e1,1E+2,1e-2,0.0,"
    "-0.0,1e308,1.7976931348623157e308,2.2250738585072014e-308,5e-324,0.1000000000000000055]";

constexpr const char *texts =
    "[\"\",\"plain\",\"\\\"\\\\\\/\\b\\f\\n\\r\\t\",\"\\u0000\\u00e9\\ud83d\\ude00\","
    "\"\xc3\xa9 \xf0\x9f\x98\x80\",{\"\\u0061\":1,\"b\":{\"b\":null}},true,false,null]";

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

std::string many_names(std::size_t count) {
    std::string object = "{";
    for (std::size_t i = 0; i < count; ++i)
        object += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":0";
    return object + "}";
}

}  // namespace

void json_seeds(const TakeSeed &take) {
    const std::pair<const char *, std::string> documents[] = {
        {"plain", plain_export},
        {"yang", yang_export},
        {"blanks", blanks},
        {"numbers", numbers},
        {"texts", texts},
        {"number", "1"},
        {"text", "\"a\""},
        {"nested", nested(64)},
        {"nested_too_deep", nested(65)},
        {"many_names", many_names(80)},
        {"long_number", "[" + std::string(60, '1') + "." + std::string(60, '0') + "1e-9]"},
        {"long_text", "\"" + std::string(600, 'x') + "\\n" + std::string(600, 'y') + "\""},
    };
    // What is opened, and the length of pieces.
    constexpr u8 starts[][2] = {{0, 255}, {3, 7}, {5, 0}};
    for (const auto &[name, document] : documents) {
        for (const auto &start : starts) {
            std::vector<u8> bytes(std::begin(start), std::end(start));
            bytes.insert(bytes.end(), document.begin(), document.end());
            take(std::string(name) + "." + std::to_string(start[0]), bytes);
        }
    }
}

std::vector<std::string> json_words() {
    return {"null",
            "true",
            "false",
            "\"",
            "\\\"",
            "\\\\",
            "\\u",
            "\\n",
            "{}",
            "[]",
            "{\"a\":",
            ",\"b\":",
            "\\ud83d\\ude00",
            "\xc3\xa9",
            "e308",
            "e-308",
            "E+",
            "-0",
            "0.",
            "0000000000000000",
            "1e-",
            "\xef\xbb\xbf",
            "18446744073709551615",
            "-9223372036854775808"};
}

}  // namespace tarnbase::fuzz
