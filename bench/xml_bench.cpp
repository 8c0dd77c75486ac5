// SPDX-License-Identifier: Apache-2.0
// Reading and writing XML and text, compared with the parse of libxml2 and of expat alone, and with
// appending the same text piece by piece.
#include <benchmark/benchmark.h>
#ifdef TARNBASE_HAS_EXPAT
#include <expat.h>
#endif
#include <libxml/parser.h>

#include <charconv>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bench/session.h"

namespace {

using bench::Session;

constexpr std::string_view counters[] = {
    "total_msg_sent",       "total_msg_rcvd",     "avg_resp_delay",
    "max_resp_delay",       "total_search_req",   "total_bind_req",
    "total_compare_req",    "total_extended_req", "total_search_resentry",
    "total_search_resdone", "total_bind_resp",    "total_compare_resp",
    "total_extended_resp",  "search_success",     "search_fail",
    "missing_attr",         "bind_success",       "bind_fail"};
constexpr std::uint32_t first_value = 123456;

std::string element(std::string_view name, std::string_view content) {
    std::string text = "<";
    text.append(name).append(">").append(content).append("</").append(name).append(">\n");
    return text;
}

// A string and 18 numbers.
std::string stats_element(std::uint32_t server) {
    std::string fields = "\n" + element("sname", bench::server_name(server));
    std::uint32_t value = first_value;
    for (const std::string_view name : counters) fields += element(name, std::to_string(++value));
    return element("st_ldap_stats", fields);
}

// An array of 1440 numbers.
std::string minutes_element() {
    std::string fields = "\n";
    for (std::uint32_t i = 0; i < 1440; ++i) fields += element("minute", std::to_string(i % 256));
    return element("st_aaa_client_stats", fields);
}

std::string table_document(std::uint32_t records) {
    std::string text = "<all>\n";
    for (std::uint32_t i = 0; i < records; ++i) {
        text += element("tbl_ldap_stats", "\n" + stats_element(i));
    }
    return text + "</all>\n";
}

void parse_alone(benchmark::State &state, const std::string &text) {
    for (auto _ : state) {
        xmlDoc *document =
            xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0);
        if (document == nullptr) state.SkipWithError("parse");
        xmlFreeDoc(document);
    }
}

#ifdef TARNBASE_HAS_EXPAT
// Expat calls a function for each part, and keeps nothing.
void scan_alone(benchmark::State &state, const std::string &text) {
    std::uint64_t parts = 0;
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &parts);
        XML_SetElementHandler(
            parser,
            [](void *count, const char *, const char **) {
                ++*static_cast<std::uint64_t *>(count);
            },
            [](void *count, const char *) { ++*static_cast<std::uint64_t *>(count); });
        XML_SetCharacterDataHandler(
            parser, [](void *count, const char *, int) { ++*static_cast<std::uint64_t *>(count); });
        if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("scan");
        XML_ParserFree(parser);
    }
    benchmark::DoNotOptimize(parts);
}
#endif

void ParseAloneNumbers(benchmark::State &state) { parse_alone(state, stats_element(1)); }
BENCHMARK(ParseAloneNumbers);

void ReadNumbers(benchmark::State &state) {
    const Session session;
    const std::string text = stats_element(1);
    st_ldap_stats *stats = st_ldap_stats_create(session.handle, KEL_TX_NONE);
    for (auto _ : state) {
        std::uint32_t err = 0;
        kel_xml_document *document = kel_xml_parse(text.data(), text.size());
        st_ldap_stats_from_xml(session.handle, KEL_TX_NONE, "//st_ldap_stats", document, stats,
                               &err, nullptr, 0);
        kel_xml_free(document);
        if (err != 0) state.SkipWithError("from_xml");
    }
}
BENCHMARK(ReadNumbers);

void ParseAloneArray(benchmark::State &state) { parse_alone(state, minutes_element()); }
BENCHMARK(ParseAloneArray)->Unit(benchmark::kMicrosecond);

void ReadArray(benchmark::State &state) {
    const Session session;
    const std::string text = minutes_element();
    st_aaa_client_stats *stats = st_aaa_client_stats_create(session.handle, KEL_TX_NONE);
    for (auto _ : state) {
        std::uint32_t err = 0;
        kel_xml_document *document = kel_xml_parse(text.data(), text.size());
        st_aaa_client_stats_from_xml(session.handle, KEL_TX_NONE, "//st_aaa_client_stats", document,
                                     stats, &err, nullptr, 0);
        kel_xml_free(document);
        if (err != 0) state.SkipWithError("from_xml");
    }
}
BENCHMARK(ReadArray)->Unit(benchmark::kMicrosecond);

constexpr std::uint32_t table_records = 10000;

void count_records(benchmark::State &state) {
    state.counters["a record"] = benchmark::Counter(
        table_records, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void ParseAloneTable(benchmark::State &state) {
    parse_alone(state, table_document(table_records));
    count_records(state);
}
BENCHMARK(ParseAloneTable)->Unit(benchmark::kMillisecond);

#ifdef TARNBASE_HAS_EXPAT
void ScanNumbers(benchmark::State &state) { scan_alone(state, stats_element(1)); }
BENCHMARK(ScanNumbers);

void ScanArray(benchmark::State &state) { scan_alone(state, minutes_element()); }
BENCHMARK(ScanArray)->Unit(benchmark::kMicrosecond);

void ScanTable(benchmark::State &state) {
    scan_alone(state, table_document(table_records));
    count_records(state);
}
BENCHMARK(ScanTable)->Unit(benchmark::kMillisecond);
#endif

std::uint32_t read_record(kel_xml_document *element, void *context) {
    kel_handle *handle = static_cast<Session *>(context)->handle;
    std::uint32_t err = 0;
    kel_record *record =
        tbl_ldap_stats_table_record_from_xml(handle, KEL_TX_NONE, element, &err, nullptr, 0);
    if (err == 0) tbl_ldap_stats_destroy_record(handle, KEL_TX_NONE, record, &err);
    return err;
}

void ReadTable(benchmark::State &state) {
    Session session;
    const std::string text = table_document(table_records);
    for (auto _ : state) {
        kel_xml_document *document = kel_xml_parse(text.data(), text.size());
        std::uint32_t failure = 0;
        kel_xml_for_each(document, "//tbl_ldap_stats", read_record, &session, &failure);
        kel_xml_free(document);
        if (failure != 0) state.SkipWithError("record_from_xml");
    }
    count_records(state);
}
BENCHMARK(ReadTable)->Unit(benchmark::kMillisecond);

// ---- Writing --------------------------------------------------------------------

char *append(char *at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
}

// The names and their lengths, which the compiler doesn't see.
std::vector<std::string_view> hidden_counters() {
    std::vector<std::string_view> names(std::begin(counters), std::end(counters));
    benchmark::DoNotOptimize(names.data());
    benchmark::ClobberMemory();
    return names;
}

void FloorPrint(benchmark::State &state) {
    const auto names = hidden_counters();
    std::vector<char> buffer(8192);
    for (auto _ : state) {
        char *at =
            append(buffer.data(), "st_ldap_stats@st_ldap_stats: {\n  sname: \"ldap0000001\"\n");
        std::uint32_t value = first_value;
        for (const std::string_view name : names) {
            at = append(append(append(at, "  "), name), ": ");
            at = append(std::to_chars(at, at + 10, ++value).ptr, "\n");
        }
        at = append(at, "}\n");
        benchmark::DoNotOptimize(at);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FloorPrint);

void FloorToXml(benchmark::State &state) {
    const auto names = hidden_counters();
    std::vector<char> buffer(8192);
    for (auto _ : state) {
        char *at = append(buffer.data(), "<st_ldap_stats>\n<sname>ldap0000001</sname>\n");
        std::uint32_t value = first_value;
        for (const std::string_view name : names) {
            at = append(append(append(at, "<"), name), ">");
            at = append(std::to_chars(at, at + 10, ++value).ptr, "</");
            at = append(append(at, name), ">\n");
        }
        at = append(at, "</st_ldap_stats>\n");
        benchmark::DoNotOptimize(at);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FloorToXml);

// A filled object.
st_ldap_stats *filled_stats(const Session &session) {
    const std::string text = stats_element(1);
    st_ldap_stats *stats = st_ldap_stats_create(session.handle, KEL_TX_NONE);
    kel_xml_document *document = kel_xml_parse(text.data(), text.size());
    std::uint32_t err = 0;
    st_ldap_stats_from_xml(session.handle, KEL_TX_NONE, "//st_ldap_stats", document, stats, &err,
                           nullptr, 0);
    kel_xml_free(document);
    if (err != 0) std::abort();
    return stats;
}

void Print(benchmark::State &state) {
    const Session session;
    const st_ldap_stats *stats = filled_stats(session);
    std::vector<char> buffer(8192);
    for (auto _ : state) {
        std::uint32_t err = 0;
        benchmark::DoNotOptimize(st_ldap_stats_print(session.handle, KEL_TX_NONE, buffer.data(), 0,
                                                     "st_ldap_stats", stats, 8192, &err));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Print);

void ToXml(benchmark::State &state) {
    const Session session;
    const st_ldap_stats *stats = filled_stats(session);
    std::vector<char> buffer(8192);
    for (auto _ : state) {
        std::uint32_t err = 0;
        benchmark::DoNotOptimize(st_ldap_stats_to_xml(session.handle, KEL_TX_NONE, "st_ldap_stats",
                                                      buffer.data(), stats, 8192, 0, &err));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ToXml);

}  // namespace
