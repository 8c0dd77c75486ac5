// SPDX-License-Identifier: Apache-2.0
// The cost of a transaction with one change: in a private store, in a store with files, and with
// the same key and 64 bytes beside it in LMDB and SQLite, which don't sync either. Files are in
// $TMPDIR, else in /dev/shm.
#include <benchmark/benchmark.h>

#ifdef TARNBASE_HAS_LMDB
#include <lmdb.h>
#endif
#ifdef TARNBASE_HAS_SQLITE
#include <sqlite3.h>
#endif

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/folder.h"
#include "bench/session.h"

namespace {

constexpr std::uint32_t records = 100000;

// Numbers of servers in the order in which every contender gets them.
const std::vector<std::uint32_t> &order() {
    static const std::vector<std::uint32_t> numbers = [] {
        std::vector<std::uint32_t> all(2 * records);
        for (std::uint32_t i = 0; i < all.size(); ++i) all[i] = i;
        std::shuffle(all.begin(), all.end(), std::mt19937(1));
        return all;
    }();
    return numbers;
}

void need(bool good) {
    if (good) return;
    std::fprintf(stderr, "a call has failed: %s\n", kel_error_text());
    std::abort();
}

// A table of servers in a store.
class Servers {
 public:
    explicit Servers(bool has_files) : session_(has_files ? folder_.store().c_str() : nullptr) {
        begin();
        std::uint32_t err = 0;
        table_ = tbl_ldap_conn_table_open(session_.handle, tx_, "bench", 0, &err);
        need(table_ != nullptr);
        commit();
    }

    void begin() { need(kel_transaction_begin(session_.handle, &tx_) == 0); }
    void commit() { need(kel_transaction_commit(session_.handle, tx_) == 0); }
    void roll_back() { need(kel_transaction_rollback(session_.handle, tx_) == 0); }
    void insert(std::uint32_t number) { bench::add_server(session_, table_, tx_, number); }
    void update(std::uint32_t number, std::uint32_t value) {
        std::uint32_t err = 0;
        const std::string name = bench::server_name(number);
        kel_vstring key;
        kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
        kel_record *record =
            tbl_ldap_conn_st_ldap_conn_sname_search(session_.handle, tx_, table_, &key, &err);
        st_ldap_conn *conn = tbl_ldap_conn_st_ldap_conn_get_field(session_.handle, tx_, record);
        st_ldap_conn_num_conns_set_value(session_.handle, tx_, conn, value, &err);
        need(err == 0);
    }

 private:
    bench::Folder folder_;
    bench::Session session_;
    kel_table *table_ = nullptr;
    std::uint32_t tx_ = 0;
};

struct Private : Servers {
    Private() : Servers(false) {}
};

struct WithFiles : Servers {
    WithFiles() : Servers(true) {}
};

using Value = std::array<char, 64>;

Value value_of(std::uint32_t number) {
    Value value{};
    std::memcpy(value.data(), &number, sizeof number);
    return value;
}

#ifdef TARNBASE_HAS_LMDB
class Lmdb {
 public:
    Lmdb() {
        constexpr std::size_t map_bytes = std::size_t{4} << 30;
        need(mdb_env_create(&environment_) == 0);
        need(mdb_env_set_mapsize(environment_, map_bytes) == 0);
        need(mdb_env_open(environment_, folder_.path().c_str(), MDB_WRITEMAP | MDB_NOSYNC, 0600) ==
             0);
        begin();
        need(mdb_dbi_open(transaction_, nullptr, 0, &table_) == 0);
        commit();
    }
    Lmdb(const Lmdb &) = delete;
    Lmdb &operator=(const Lmdb &) = delete;
    ~Lmdb() { mdb_env_close(environment_); }

    void begin() { need(mdb_txn_begin(environment_, nullptr, 0, &transaction_) == 0); }
    void commit() { need(mdb_txn_commit(transaction_) == 0); }
    void roll_back() { mdb_txn_abort(transaction_); }
    void insert(std::uint32_t number) { put(number, number); }
    void update(std::uint32_t number, std::uint32_t value) { put(number, value); }

 private:
    void put(std::uint32_t number, std::uint32_t content) {
        std::string name = bench::server_name(number);
        Value value = value_of(content);
        MDB_val key{name.size(), name.data()};
        MDB_val data{value.size(), value.data()};
        need(mdb_put(transaction_, table_, &key, &data, 0) == 0);
    }

    bench::Folder folder_;
    MDB_env *environment_ = nullptr;
    MDB_txn *transaction_ = nullptr;
    MDB_dbi table_ = 0;
};
#endif

#ifdef TARNBASE_HAS_SQLITE
class Sqlite {
 public:
    Sqlite() {
        need(sqlite3_open((folder_.path() / "db").c_str(), &database_) == SQLITE_OK);
        run("PRAGMA journal_mode = WAL");
        run("PRAGMA synchronous = OFF");
        run("CREATE TABLE servers (name TEXT PRIMARY KEY, content BLOB) WITHOUT ROWID");
        begin_ = prepare("BEGIN IMMEDIATE");
        commit_ = prepare("COMMIT");
        roll_back_ = prepare("ROLLBACK");
        insert_ = prepare("INSERT INTO servers (content, name) VALUES (?, ?)");
        update_ = prepare("UPDATE servers SET content = ? WHERE name = ?");
    }
    Sqlite(const Sqlite &) = delete;
    Sqlite &operator=(const Sqlite &) = delete;
    ~Sqlite() {
        for (sqlite3_stmt *each : {begin_, commit_, roll_back_, insert_, update_})
            sqlite3_finalize(each);
        sqlite3_close(database_);
    }

    void begin() { step(begin_); }
    void commit() { step(commit_); }
    void roll_back() { step(roll_back_); }
    void insert(std::uint32_t number) { put(insert_, number, number); }
    void update(std::uint32_t number, std::uint32_t value) { put(update_, number, value); }

 private:
    void run(const char *statement) {
        need(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    sqlite3_stmt *prepare(const char *text) {
        sqlite3_stmt *statement = nullptr;
        need(sqlite3_prepare_v2(database_, text, -1, &statement, nullptr) == SQLITE_OK);
        return statement;
    }
    static void step(sqlite3_stmt *statement) {
        need(sqlite3_step(statement) == SQLITE_DONE);
        sqlite3_reset(statement);
    }
    static void put(sqlite3_stmt *statement, std::uint32_t number, std::uint32_t content) {
        const std::string name = bench::server_name(number);
        const Value value = value_of(content);
        sqlite3_bind_blob(statement, 1, value.data(), value.size(), SQLITE_STATIC);
        sqlite3_bind_text(statement, 2, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
        step(statement);
    }

    bench::Folder folder_;
    sqlite3 *database_ = nullptr;
    sqlite3_stmt *begin_ = nullptr;
    sqlite3_stmt *commit_ = nullptr;
    sqlite3_stmt *roll_back_ = nullptr;
    sqlite3_stmt *insert_ = nullptr;
    sqlite3_stmt *update_ = nullptr;
};
#endif

template <typename Contender>
void fill(Contender &contender) {
    contender.begin();
    for (std::uint32_t i = 0; i < records; ++i) contender.insert(order()[i]);
    contender.commit();
}

template <typename Contender>
void InsertAndCommit(benchmark::State &state) {
    Contender contender;
    fill(contender);
    std::uint32_t i = records;
    for (auto _ : state) {
        contender.begin();
        contender.insert(order()[i++]);
        contender.commit();
    }
}

template <typename Contender>
void UpdateAndCommit(benchmark::State &state) {
    Contender contender;
    fill(contender);
    std::uint32_t i = 0;
    for (auto _ : state) {
        contender.begin();
        contender.update(order()[i % records], i);
        contender.commit();
        i += 1;
    }
}

template <typename Contender>
void InsertAndRollBack(benchmark::State &state) {
    Contender contender;
    fill(contender);
    std::uint32_t i = 0;
    for (auto _ : state) {
        contender.begin();
        contender.insert(order()[records + i % records]);
        contender.roll_back();
        i += 1;
    }
}

// As many inserts as there are other keys; the rest takes the same number.
void once(benchmark::internal::Benchmark *benchmark) { benchmark->Iterations(records); }

#define CONTENDER(name)                                     \
    BENCHMARK_TEMPLATE(InsertAndCommit, name)->Apply(once); \
    BENCHMARK_TEMPLATE(UpdateAndCommit, name)->Apply(once); \
    BENCHMARK_TEMPLATE(InsertAndRollBack, name)->Apply(once)

CONTENDER(Private);
CONTENDER(WithFiles);
#ifdef TARNBASE_HAS_LMDB
CONTENDER(Lmdb);
#endif
#ifdef TARNBASE_HAS_SQLITE
CONTENDER(Sqlite);
#endif

}  // namespace
