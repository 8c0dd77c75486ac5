// SPDX-License-Identifier: Apache-2.0
// The cost of a field access, compared with a plain load in a function that isn't
// inlined.
#include <benchmark/benchmark.h>

#include "bench/session.h"

namespace {

__attribute__((noinline)) std::uint32_t plain_load(const std::uint32_t *word) {
    benchmark::DoNotOptimize(word);
    return *word;
}

void FloorPlainLoad(benchmark::State &state) {
    std::uint32_t word = 7;
    for (auto _ : state) benchmark::DoNotOptimize(plain_load(&word));
}
BENCHMARK(FloorPlainLoad);

void GetValue(benchmark::State &state) {
    bench::Session session;
    std::uint32_t err = 0;
    st_ldap_conn *conn = st_ldap_conn_create(session.handle, KEL_TX_NONE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            st_ldap_conn_num_conns_get_value(session.handle, KEL_TX_NONE, conn, &err));
    }
}
BENCHMARK(GetValue);

void SetValueWithoutTransaction(benchmark::State &state) {
    bench::Session session;
    std::uint32_t err = 0;
    st_ldap_conn *conn = st_ldap_conn_create(session.handle, KEL_TX_NONE);
    std::uint32_t value = 0;
    for (auto _ : state) {
        st_ldap_conn_num_conns_set_value(session.handle, KEL_TX_NONE, conn, ++value, &err);
    }
}
BENCHMARK(SetValueWithoutTransaction);

void SetValueInTransaction(benchmark::State &state) {
    bench::Session session;
    std::uint32_t err = 0;
    std::uint32_t tx = 0;
    st_ldap_conn *conn = st_ldap_conn_create(session.handle, KEL_TX_NONE);
    kel_transaction_begin(session.handle, &tx);
    std::uint32_t value = 0;
    for (auto _ : state) {
        st_ldap_conn_num_conns_set_value(session.handle, tx, conn, ++value, &err);
        if (value % 4096 == 0) {
            kel_transaction_commit(session.handle, tx);
            kel_transaction_begin(session.handle, &tx);
        }
    }
    kel_transaction_commit(session.handle, tx);
}
BENCHMARK(SetValueInTransaction);

}  // namespace
