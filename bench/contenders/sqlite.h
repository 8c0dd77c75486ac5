/* SPDX-License-Identifier: Apache-2.0 */
// SQLite with a write-ahead log, without syncs unless the pragma says otherwise.
#ifndef TARNBASE_BENCH_CONTENDERS_SQLITE_H
#define TARNBASE_BENCH_CONTENDERS_SQLITE_H

#include <sqlite3.h>

#include "bench/contenders/keys.h"
#include "bench/folder.h"

namespace bench {

inline void bind_key(sqlite3_stmt *statement, const TextKey &key) {
    sqlite3_bind_text(statement, 1, key.bytes.data(), static_cast<int>(key.bytes.size()),
                      SQLITE_STATIC);
}
inline void bind_key(sqlite3_stmt *statement, const NumberKey &key) {
    sqlite3_bind_int64(statement, 1, key.value);
}
constexpr const char *sqlite_table(const TextKey *) {
    return "CREATE TABLE t (k TEXT PRIMARY KEY, v BLOB) WITHOUT ROWID";
}
constexpr const char *sqlite_table(const NumberKey *) {
    return "CREATE TABLE t (k INTEGER PRIMARY KEY, v BLOB)";
}

template <typename Key>
class Sqlite {
 public:
    static constexpr const char *name = "SQLite";
    static constexpr bool has_transactions = true;
    static constexpr bool is_fast = false;

    explicit Sqlite(const char *synchronous = "PRAGMA synchronous = OFF") {
        need(sqlite3_open((folder_.path() / "db").c_str(), &database_) == SQLITE_OK, "open");
        for (const char *text :
             {"PRAGMA journal_mode = WAL", synchronous, sqlite_table(static_cast<Key *>(nullptr))})
            need(sqlite3_exec(database_, text, nullptr, nullptr, nullptr) == SQLITE_OK, text);
    }
    Sqlite(const Sqlite &) = delete;
    Sqlite &operator=(const Sqlite &) = delete;
    ~Sqlite() {
        for (Statement *each : {&begin_, &begin_read_, &commit_, &roll_back_, &insert_, &update_,
                                &find_, &erase_, &scan_})
            sqlite3_finalize(each->prepared);
        sqlite3_close(database_);
    }

    void begin() { step(begin_); }
    void commit() { step(commit_); }
    void roll_back() { step(roll_back_); }
    void begin_read() { step(begin_read_); }
    void end_read() { step(commit_); }
    void settle() {}
    void insert(const Key &key, std::uint32_t number) { put(insert_, key, number); }
    void update(const Key &key, std::uint32_t number) { put(update_, key, number); }
    // The row is valid until the next search.
    const void *find(const Key &key) {
        sqlite3_stmt *statement = ready(find_);
        sqlite3_reset(statement);
        bind_key(statement, key);
        return sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_blob(statement, 0) : nullptr;
    }
    std::uint32_t read(const Key &key) {
        const std::uint32_t number = number_at(find(key));
        sqlite3_reset(find_.prepared);
        return number;
    }
    void erase(const Key &key) {
        bind_key(ready(erase_), key);
        step(erase_);
    }
    std::uint32_t scan() {
        std::uint64_t sum = 0;
        return scan_and_read(sum);
    }
    std::uint32_t scan_and_read(std::uint64_t &sum) {
        sqlite3_stmt *statement = ready(scan_);
        std::uint32_t count = 0;
        for (; sqlite3_step(statement) == SQLITE_ROW; ++count)
            sum += number_at(sqlite3_column_blob(statement, 0));
        sqlite3_reset(statement);
        return count;
    }
    std::uint32_t walk() { return scan(); }

 private:
    struct Statement {
        const char *text;
        sqlite3_stmt *prepared = nullptr;
    };

    sqlite3_stmt *ready(Statement &statement) {
        if (statement.prepared == nullptr)
            need(sqlite3_prepare_v2(database_, statement.text, -1, &statement.prepared, nullptr) ==
                     SQLITE_OK,
                 statement.text);
        return statement.prepared;
    }
    void step(Statement &statement) {
        if (find_.prepared != nullptr) sqlite3_reset(find_.prepared);
        need(sqlite3_step(ready(statement)) == SQLITE_DONE, statement.text);
        sqlite3_reset(statement.prepared);
    }
    void put(Statement &statement, const Key &key, std::uint32_t number) {
        const Content content(number);
        bind_key(ready(statement), key);
        sqlite3_bind_blob(statement.prepared, 2, &content, sizeof content, SQLITE_STATIC);
        step(statement);
    }
    static std::uint32_t number_at(const void *data) {
        std::uint32_t number;
        std::memcpy(&number, data, sizeof number);
        return number;
    }

    Folder folder_;
    sqlite3 *database_ = nullptr;
    Statement begin_{"BEGIN IMMEDIATE"};
    Statement begin_read_{"BEGIN"};
    Statement commit_{"COMMIT"};
    Statement roll_back_{"ROLLBACK"};
    Statement insert_{"INSERT INTO t (k, v) VALUES (?1, ?2)"};
    Statement update_{"UPDATE t SET v = ?2 WHERE k = ?1"};
    Statement find_{"SELECT v FROM t WHERE k = ?1"};
    Statement erase_{"DELETE FROM t WHERE k = ?1"};
    Statement scan_{"SELECT v FROM t ORDER BY k"};
};

}  // namespace bench

#endif
