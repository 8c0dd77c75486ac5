// SPDX-License-Identifier: Apache-2.0
// The cost of insert, search, walk and marshal, compared with a std::map with the same keys
// in the same order, in the same process.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "bench/session.h"

namespace {

constexpr std::uint32_t batch = 1000;  // records per transaction

// The numbers below `count`, shuffled; the same for the same seed.
std::vector<std::uint32_t> shuffled(std::uint32_t count, std::uint32_t seed) {
    std::vector<std::uint32_t> numbers(count);
    for (std::uint32_t i = 0; i < count; ++i) numbers[i] = i;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
    return numbers;
}

std::vector<std::uint32_t> order_of_insertion(std::uint32_t count) { return shuffled(count, 1); }

// The names to search. Their order matters: records are in memory in the order of insertion,
// and a search in that order finds them in the cache.
std::vector<std::string> names_to_search(const benchmark::State &state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    std::vector<std::string> names;
    for (const std::uint32_t i :
         state.range(1) == 0 ? order_of_insertion(count) : shuffled(count, 2)) {
        names.push_back(bench::server_name(i));
    }
    return names;
}

void every_order(benchmark::internal::Benchmark *search) {
    search->ArgNames({"records", "shuffled"})->ArgsProduct({{1000, 100000}, {0, 1}});
}

// A table of `count` servers in an otherwise empty store.
struct FilledTable {
    bench::Session session;
    kel_table *table = nullptr;

    explicit FilledTable(std::uint32_t count) {
        std::uint32_t err = 0;
        std::uint32_t tx = 0;
        const std::vector<std::uint32_t> order = order_of_insertion(count);
        table = tbl_ldap_conn_table_open(session.handle, KEL_TX_NONE, "bench", 0, &err);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i % batch == 0) kel_transaction_begin(session.handle, &tx);
            bench::add_server(session, table, tx, order[i]);
            if (i % batch == batch - 1 || i == count - 1) {
                kel_transaction_commit(session.handle, tx);
            }
        }
    }
};

std::map<std::string, std::uint32_t> filled_map(std::uint32_t count) {
    std::map<std::string, std::uint32_t> map;
    for (const std::uint32_t i : order_of_insertion(count)) map[bench::server_name(i)] = i;
    return map;
}

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
        auto map = filled_map(count);
        benchmark::DoNotOptimize(map);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(PeerInsert)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void Search(benchmark::State &state) {
    FilledTable filled(static_cast<std::uint32_t>(state.range(0)));
    const std::vector<std::string> names = names_to_search(state);
    std::uint32_t err = 0;
    std::size_t i = 0;
    for (auto _ : state) {
        const std::string &name = names[i];
        kel_vstring key;
        kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
        benchmark::DoNotOptimize(tbl_ldap_conn_st_ldap_conn_sname_search(
            filled.session.handle, KEL_TX_NONE, filled.table, &key, &err));
        if (++i == names.size()) i = 0;
    }
}
BENCHMARK(Search)->Apply(every_order);

void PeerSearch(benchmark::State &state) {
    const auto map = filled_map(static_cast<std::uint32_t>(state.range(0)));
    const std::vector<std::string> names = names_to_search(state);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(names[i]));
        if (++i == names.size()) i = 0;
    }
}
BENCHMARK(PeerSearch)->Apply(every_order);

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

// Another tenant's first record, in an index that begins with the records of the first one.
void FirstOfSecondTenant(benchmark::State &state) {
    FilledTable servers(static_cast<std::uint32_t>(state.range(0)));
    kel_thread_set_tenant(1);
    std::uint32_t tx = 0;
    kel_transaction_begin(servers.session.handle, &tx);
    bench::add_server(servers.session, servers.table, tx, 0);
    kel_transaction_commit(servers.session.handle, tx);
    std::uint32_t err = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tbl_ldap_conn_st_ldap_conn_sname_get_first(
            servers.session.handle, KEL_TX_NONE, servers.table, &err));
    }
    kel_thread_set_tenant(0);
}
BENCHMARK(FirstOfSecondTenant)->Arg(500000);

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
