/* SPDX-License-Identifier: Apache-2.0 */
// LMDB with a writable map, without syncs unless the flags say otherwise.
#ifndef TARNBASE_BENCH_CONTENDERS_LMDB_H
#define TARNBASE_BENCH_CONTENDERS_LMDB_H

#include <lmdb.h>

#include "bench/contenders/keys.h"
#include "bench/folder.h"

namespace bench {

inline MDB_val bytes_of(const TextKey &key) {
    return {key.bytes.size(), const_cast<char *>(key.bytes.data())};
}
inline MDB_val bytes_of(const NumberKey &key) {
    return {sizeof key.value, const_cast<std::uint32_t *>(&key.value)};
}
constexpr unsigned lmdb_flags(const TextKey *) { return 0; }
constexpr unsigned lmdb_flags(const NumberKey *) { return MDB_INTEGERKEY; }

template <typename Key>
class Lmdb {
 public:
    static constexpr const char *name = "LMDB";
    static constexpr bool has_transactions = true;
    static constexpr bool is_fast = true;

    explicit Lmdb(unsigned flags = MDB_WRITEMAP | MDB_NOSYNC) {
        constexpr std::size_t map_bytes = std::size_t{8} << 30;
        done(mdb_env_create(&environment_));
        done(mdb_env_set_mapsize(environment_, map_bytes));
        done(mdb_env_open(environment_, folder_.path().c_str(), flags, 0600));
        begin();
        done(mdb_dbi_open(transaction_, nullptr, lmdb_flags(static_cast<Key *>(nullptr)), &table_));
        commit();
    }
    Lmdb(const Lmdb &) = delete;
    Lmdb &operator=(const Lmdb &) = delete;
    ~Lmdb() { mdb_env_close(environment_); }

    void begin() { done(mdb_txn_begin(environment_, nullptr, 0, &transaction_)); }
    void commit() { done(mdb_txn_commit(transaction_)); }
    void roll_back() { mdb_txn_abort(transaction_); }
    void begin_read() { done(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &transaction_)); }
    void end_read() { mdb_txn_abort(transaction_); }
    void settle() {}

    void insert(const Key &key, std::uint32_t number) { put(key, number, MDB_NOOVERWRITE); }
    void update(const Key &key, std::uint32_t number) { put(key, number, 0); }
    const void *find(const Key &key) const {
        MDB_val bytes = bytes_of(key), data;
        return mdb_get(transaction_, table_, &bytes, &data) == 0 ? data.mv_data : nullptr;
    }
    std::uint32_t read(const Key &key) const { return number_at(find(key)); }
    void erase(const Key &key) {
        MDB_val bytes = bytes_of(key);
        done(mdb_del(transaction_, table_, &bytes, nullptr));
    }
    std::uint32_t scan() const {
        return for_each([](const MDB_val &) {});
    }
    std::uint32_t scan_and_read(std::uint64_t &sum) const {
        return for_each([&](const MDB_val &data) { sum += number_at(data.mv_data); });
    }
    std::uint32_t walk() const { return scan(); }

    // Bytes of the table's pages.
    std::uint64_t bytes() {
        MDB_stat stat;
        begin_read();
        done(mdb_stat(transaction_, table_, &stat));
        end_read();
        return (stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages) * stat.ms_psize;
    }

 private:
    static void done(int status) { need(status == 0, "LMDB"); }
    static std::uint32_t number_at(const void *data) {
        std::uint32_t number;
        std::memcpy(&number, data, sizeof number);
        return number;
    }
    void put(const Key &key, std::uint32_t number, unsigned flags) {
        Content content(number);
        MDB_val bytes = bytes_of(key), data{sizeof content, &content};
        done(mdb_put(transaction_, table_, &bytes, &data, flags));
    }
    template <typename Function>
    std::uint32_t for_each(const Function &function) const {
        MDB_cursor *cursor = nullptr;
        done(mdb_cursor_open(transaction_, table_, &cursor));
        MDB_val key, data;
        std::uint32_t count = 0;
        while (mdb_cursor_get(cursor, &key, &data, MDB_NEXT) == 0) {
            function(data);
            ++count;
        }
        mdb_cursor_close(cursor);
        return count;
    }

    Folder folder_;
    MDB_env *environment_ = nullptr;
    MDB_txn *transaction_ = nullptr;
    MDB_dbi table_ = 0;
};

}  // namespace bench

#endif
