// SPDX-License-Identifier: Apache-2.0
// The cost of an object's wire form: a string with 18 numbers, and larger ones with an array of
// 1440 bytes. The floor copies as many bytes.
#include <benchmark/benchmark.h>
#include <time.h>

#include <cstring>
#include <random>
#include <vector>

#include "bench/session.h"

namespace {

using bench::Session;

// The operations of one structure, under one name.
#define TARNBASE_CODEC(type, string)                                                              \
    struct type##_codec {                                                                         \
        static void *create(const Session &session) {                                             \
            std::uint32_t err = 0;                                                                \
            type *object = type##_create(session.handle, KEL_TX_NONE);                            \
            kel_vstring_assign(session.handle, KEL_TX_NONE,                                       \
                               type##_##string##_get(session.handle, KEL_TX_NONE, object, &err),  \
                               "ldap0000001", 11, &err);                                          \
            return object;                                                                        \
        }                                                                                         \
        static std::uint32_t len(const Session &session, void *object) {                          \
            return type##_len(session.handle, KEL_TX_NONE, static_cast<type *>(object));          \
        }                                                                                         \
        static std::uint32_t marshal(const Session &session, std::vector<char> &form,             \
                                     const void *object) {                                        \
            std::uint32_t err = 0;                                                                \
            return type##_marshal(session.handle, KEL_TX_NONE, form.data(),                       \
                                  static_cast<const type *>(object),                              \
                                  static_cast<std::uint32_t>(form.size()), &err);                 \
        }                                                                                         \
        static std::uint32_t unmarshal(const Session &session, std::uint32_t tx,                  \
                                       const std::vector<char> &form, void *object) {             \
            std::uint32_t err = 0;                                                                \
            return type##_unmarshal(session.handle, tx, form.data(), static_cast<type *>(object), \
                                    static_cast<std::uint32_t>(form.size()), 0, &err);            \
        }                                                                                         \
    };
TARNBASE_CODEC(st_ldap_stats, sname)
TARNBASE_CODEC(st_aaa_client_stats, ip_str)
TARNBASE_CODEC(st_aaa_servers, sname)

// An object of random content, and its form.
template <typename Codec>
struct Filled {
    Session session;
    void *object = Codec::create(session);
    std::vector<char> form = std::vector<char>(Codec::len(session, object));

    Filled() {
        Codec::marshal(session, form, object);
        // Past the header and the name; enumerators and nested headers are as they were.
        std::mt19937 random(1);
        for (std::size_t i = form.size() - form.size() / 4; i < form.size(); ++i) {
            if (form[i] == 0) form[i] = static_cast<char>(random());
        }
        Codec::unmarshal(session, KEL_TX_NONE, form, object);
    }
};

// All benchmarks have the same counters: a table of their values needs that. `objects` is the
// number of them in an iteration.
template <typename Codec>
void set_counters(benchmark::State &state, const Filled<Codec> &filled, std::size_t objects = 1) {
    state.counters["bytes"] = static_cast<double>(filled.form.size());
    state.counters["each"] = benchmark::Counter(
        static_cast<double>(objects),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <typename Codec>
void Encode(benchmark::State &state) {
    Filled<Codec> filled;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Codec::marshal(filled.session, filled.form, filled.object));
        benchmark::ClobberMemory();
    }
    set_counters(state, filled);
}

template <typename Codec>
void Decode(benchmark::State &state) {
    Filled<Codec> filled;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Codec::unmarshal(filled.session, KEL_TX_NONE, filled.form, filled.object));
        benchmark::ClobberMemory();
    }
    set_counters(state, filled);
}

double cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Each transaction decodes into a hundred objects that were there before it.
template <typename Codec>
void DecodeInTransaction(benchmark::State &state) {
    Filled<Codec> filled;
    std::vector<void *> objects;
    for (int i = 0; i < 100; ++i) objects.push_back(Codec::create(filled.session));
    for (auto _ : state) {
        std::uint32_t tx = 0;
        kel_transaction_begin(filled.session.handle, &tx);
        const double start = cpu_seconds();
        for (void *object : objects) {
            benchmark::DoNotOptimize(Codec::unmarshal(filled.session, tx, filled.form, object));
        }
        state.SetIterationTime(cpu_seconds() - start);
        kel_transaction_commit(filled.session.handle, tx);
    }
    set_counters(state, filled, objects.size());
}

template <typename Codec>
void FloorCopy(benchmark::State &state) {
    Filled<Codec> filled;
    std::vector<char> copy(filled.form.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), filled.form.data(), copy.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    set_counters(state, filled);
}

#define TARNBASE_BENCH_CODEC(type)                                 \
    BENCHMARK(Encode<type##_codec>);                               \
    BENCHMARK(Decode<type##_codec>);                               \
    BENCHMARK(DecodeInTransaction<type##_codec>)->UseManualTime(); \
    BENCHMARK(FloorCopy<type##_codec>);
TARNBASE_BENCH_CODEC(st_ldap_stats)
TARNBASE_BENCH_CODEC(st_aaa_client_stats)
TARNBASE_BENCH_CODEC(st_aaa_servers)

}  // namespace
