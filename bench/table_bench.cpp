// SPDX-License-Identifier: Apache-2.0
// What a record costs on its road: insert, search, walk, marshal; beside a
// std::map with the same keys, run in the same process.
#include <benchmark/benchmark.h>

#include <map>
#include <vector>

#include "bench/session.h"

namespace {

constexpr std::uint32_t batch = 1000;  // records a transaction

// A table of `count` servers in an otherwise empty store.
struct FilledTable {
    bench::Session session;
    kel_table *table = nullptr;

    explicit FilledTable(std::uint32_t count) {
        std::uint32_t err = 0;
        std::uint32_t tx = 0;
        table = tbl_ldap_conn_table_open(session.handle, KEL_TX_NONE, "bench", 0, &err);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i % batch == 0) kel_transaction_begin(session.handle, &tx);
            bench::add_server(session, table, tx, i * 7919U % count);
            if (i % batch == batch - 1 || i == count - 1) {
                kel_transaction_commit(session.handle, tx);
            }
        }
    }
};

void Insert(benchmark::State &state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    for (auto _ : state) {
        FilledTable filled(count);
        benchmark::DoNotOptimize(filled.table);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Insert)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void PeerInsert(benchmark::State &state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    for (auto _ : state) {
        std::map<std::string, std::uint32_t> map;
        for (std::uint32_t i = 0; i < count; ++i) map[bench::server_name(i * 7919U % count)] = i;
        benchmark::DoNotOptimize(map);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(PeerInsert)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void Search(benchmark::State &state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    FilledTable filled(count);
    std::uint32_t err = 0;
    std::uint32_t i = 0;
    for (auto _ : state) {
        const std::string name = bench::server_name(i = (i + 7919U) % count);
        kel_vstring key;
        kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
        benchmark::DoNotOptimize(tbl_ldap_conn_st_ldap_conn_sname_search(
            filled.session.handle, KEL_TX_NONE, filled.table, &key, &err));
    }
}
BENCHMARK(Search)->Arg(1000)->Arg(100000);

void PeerSearch(benchmark::State &state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    std::map<std::string, std::uint32_t> map;
    for (std::uint32_t i = 0; i < count; ++i) map[bench::server_name(i)] = i;
    std::uint32_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(bench::server_name(i = (i + 7919U) % count)));
    }
}
BENCHMARK(PeerSearch)->Arg(1000)->Arg(100000);

void Walk(benchmark::State &state) {
    FilledTable filled(static_cast<std::uint32_t>(state.range(0)));
    std::uint32_t err = 0;
    for (auto _ : state) {
        kel_record *record = tbl_ldap_conn_st_ldap_conn_sname_get_first(
            filled.session.handle, KEL_TX_NONE, filled.table, &err);
        while (record != nullptr) {
            record = tbl_ldap_conn_st_ldap_conn_sname_get_next(filled.session.handle, KEL_TX_NONE,
                                                               filled.table, record, &err);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Walk)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void MarshalRecord(benchmark::State &state) {
    FilledTable filled(1);
    std::uint32_t err = 0;
    kel_record *record = tbl_ldap_conn_st_ldap_conn_sname_get_first(
        filled.session.handle, KEL_TX_NONE, filled.table, &err);
    std::vector<char> buffer(256);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tbl_ldap_conn_table_record_marshal(
            filled.session.handle, KEL_TX_NONE, buffer.data(), record,
            static_cast<std::uint32_t>(buffer.size()), &err));
    }
}
BENCHMARK(MarshalRecord);

}  // namespace
