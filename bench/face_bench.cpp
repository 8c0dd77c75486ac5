// SPDX-License-Identifier: Apache-2.0
// Compares the C++ interface with the C calls that it uses, in one process run. Each pair does
// the same, written idiomatically in each language.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/session.h"
#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/service_type_info.hpp"

namespace {

using Servers = tarn::table<tarn::ldap_conn>;
using Services = tarn::table<tarn::service_type_info>;

constexpr std::uint32_t servers = 1000;

// One store for both languages, so that a pair uses the same bytes.
struct Place {
    tarn::store store = tarn::store::create_private();
    tarn::session session{store};
    Servers table = Servers::open_or_create(session, "bench");
    kel_handle *handle = session.c_handle();
    std::vector<std::string> names;

    Place() {
        for (std::uint32_t i = 0; i < servers; ++i) names.push_back(bench::server_name(i));
        for (std::uint32_t i = 0; i < servers; ++i) {
            auto record = table.make(names[i * 7919U % servers]);
            table.insert(std::move(record));
        }
    }
};

Place &place() {
    static Place only;
    return only;
}

st_ldap_conn *some_object() { return place().table.begin()->c_object(); }

// ---- A plain field

void CGet(benchmark::State &state) {
    kel_handle *handle = place().handle;
    st_ldap_conn *conn = some_object();
    for (auto _ : state) {
        std::uint32_t err = 0;
        const std::uint32_t value =
            st_ldap_conn_num_conns_get_value(handle, KEL_TX_NONE, conn, &err);
        if (err != 0) state.SkipWithError("get");
        benchmark::DoNotOptimize(value);
    }
}
void FaceGet(benchmark::State &state) {
    const tarn::ldap_conn conn(place().handle, some_object());
    for (auto _ : state) benchmark::DoNotOptimize(conn.num_conns());
}

void CSet(benchmark::State &state) {
    kel_handle *handle = place().handle;
    st_ldap_conn *conn = some_object();
    std::uint32_t value = 0;
    for (auto _ : state) {
        std::uint32_t err = 0;
        st_ldap_conn_num_conns_set_value(handle, KEL_TX_NONE, conn, ++value, &err);
        if (err != 0) state.SkipWithError("set");
    }
}
void FaceSet(benchmark::State &state) {
    tarn::ldap_conn conn(place().handle, some_object());
    std::uint32_t value = 0;
    for (auto _ : state) conn.set_num_conns(++value);
}

// ---- A text

void CGetText(benchmark::State &state) {
    kel_handle *handle = place().handle;
    st_ldap_conn *conn = some_object();
    for (auto _ : state) {
        std::uint32_t err = 0;
        std::uint32_t length = 0;
        const char *text =
            kel_vstring_bytes(st_ldap_conn_sname_get(handle, KEL_TX_NONE, conn, &err), &length);
        if (err != 0) state.SkipWithError("get");
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(length);
    }
}
void FaceGetText(benchmark::State &state) {
    const tarn::ldap_conn conn(place().handle, some_object());
    for (auto _ : state) {
        const std::string_view text = conn.sname();
        benchmark::DoNotOptimize(text.data());
        benchmark::DoNotOptimize(text.size());
    }
}

// ---- Searching

void CFind(benchmark::State &state) {
    kel_handle *handle = place().handle;
    kel_table *table = place().table.c_table();
    std::uint32_t i = 0;
    for (auto _ : state) {
        const std::string &name = place().names[i = (i + 791U) % servers];
        std::uint32_t err = 0;
        kel_vstring key;
        kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
        kel_record *found =
            tbl_ldap_conn_st_ldap_conn_sname_search(handle, KEL_TX_NONE, table, &key, &err);
        if (found == nullptr || err != 0) state.SkipWithError("find");
        benchmark::DoNotOptimize(found);
    }
}
void FaceFind(benchmark::State &state) {
    const Servers table = place().table;
    std::uint32_t i = 0;
    for (auto _ : state) {
        const auto found = table.find(place().names[i = (i + 791U) % servers]);
        if (!found) state.SkipWithError("find");
        benchmark::DoNotOptimize(found->c_record());
    }
}

// ---- Searching by a key of two parts. In C its object is in the store.

struct ServicePlace {
    Services table = Services::open_or_create(place().session, "bench");

    ServicePlace() {
        for (std::uint32_t i = 0; i < servers; ++i)
            table.insert(table.make({static_cast<std::uint8_t>(i), place().names[i]}));
    }
};

Services &services() {
    static ServicePlace only;
    return only.table;
}

void CFindTwoParts(benchmark::State &state) {
    kel_table *table = services().c_table();
    kel_handle *handle = place().handle;
    std::uint32_t i = 0;
    service_type_info_key *key = tbl_service_type_info_pkey_create(handle, KEL_TX_NONE);
    for (auto _ : state) {
        i = (i + 791U) % servers;
        std::uint32_t err = 0;
        const std::string &name = place().names[i];
        service_type_info_key_serv_type_set_value(handle, KEL_TX_NONE, key,
                                                  static_cast<std::uint8_t>(i), &err);
        kel_vstring_assign(handle, KEL_TX_NONE,
                           service_type_info_key_serv_name_get(handle, KEL_TX_NONE, key, &err),
                           name.data(), static_cast<std::uint32_t>(name.size()), &err);
        kel_record *found = tbl_service_type_info_service_type_info_key__search(handle, KEL_TX_NONE,
                                                                                table, key, &err);
        if (found == nullptr || err != 0) state.SkipWithError("find");
        benchmark::DoNotOptimize(found);
    }
    tbl_service_type_info_pkey_destroy(handle, KEL_TX_NONE, key);
}
void FaceFindTwoParts(benchmark::State &state) {
    const Services table = services();
    std::uint32_t i = 0;
    for (auto _ : state) {
        i = (i + 791U) % servers;
        const auto found = table.find({static_cast<std::uint8_t>(i), place().names[i]});
        if (!found) state.SkipWithError("find");
        benchmark::DoNotOptimize(found->c_record());
    }
}

// ---- Walking the whole table, reading a field of each record

void CWalk(benchmark::State &state) {
    kel_handle *handle = place().handle;
    kel_table *table = place().table.c_table();
    for (auto _ : state) {
        std::uint32_t sum = 0;
        std::uint32_t err = 0;
        kel_record *record =
            tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, KEL_TX_NONE, table, &err);
        while (record != nullptr) {
            st_ldap_conn *conn = tbl_ldap_conn_st_ldap_conn_get_field(handle, KEL_TX_NONE, record);
            sum += st_ldap_conn_num_conns_get_value(handle, KEL_TX_NONE, conn, &err);
            record =
                tbl_ldap_conn_st_ldap_conn_sname_get_next(handle, KEL_TX_NONE, table, record, &err);
        }
        if (err != 0) state.SkipWithError("walk");
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * servers);
}
void FaceWalk(benchmark::State &state) {
    const Servers table = place().table;
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (const auto record : table) sum += record.num_conns();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * servers);
}

// ---- A record is made, filled, inserted, removed and destroyed

void CInsertErase(benchmark::State &state) {
    kel_handle *handle = place().handle;
    kel_table *table = place().table.c_table();
    const std::string name = "a server that is new";
    for (auto _ : state) {
        std::uint32_t err = 0;
        kel_record *record = tbl_ldap_conn_create_record(handle, KEL_TX_NONE, &err);
        st_ldap_conn *conn = st_ldap_conn_create(handle, KEL_TX_NONE);
        if (record == nullptr || conn == nullptr) state.SkipWithError("create");
        tbl_ldap_conn_st_ldap_conn_set_field(handle, KEL_TX_NONE, record, conn);
        kel_vstring text;
        kel_vstring_refer(&text, name.data(), static_cast<std::uint32_t>(name.size()));
        st_ldap_conn_sname_set(handle, KEL_TX_NONE, conn, &text, &err);
        st_ldap_conn_num_conns_set_value(handle, KEL_TX_NONE, conn, 7, &err);
        tbl_ldap_conn_insert(handle, KEL_TX_NONE, table, record, &err);
        tbl_ldap_conn_delete(handle, KEL_TX_NONE, table, record, &err);
        tbl_ldap_conn_destroy_record(handle, KEL_TX_NONE, record, &err);
        if (err != 0) state.SkipWithError("insert");
    }
}
void FaceInsertErase(benchmark::State &state) {
    Servers table = place().table;
    const std::string name = "a server that is new";
    for (auto _ : state) {
        auto made = table.make(name);
        made.set_num_conns(7);
        table.erase(table.insert(std::move(made)));
    }
}

#define PAIR(what)      \
    BENCHMARK(C##what); \
    BENCHMARK(Face##what)
PAIR(Get);
PAIR(Set);
PAIR(GetText);
PAIR(Find);
PAIR(FindTwoParts);
PAIR(Walk)->Unit(benchmark::kMicrosecond);
PAIR(InsertErase);

}  // namespace
