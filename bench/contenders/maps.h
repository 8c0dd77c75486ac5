/* SPDX-License-Identifier: Apache-2.0 */
// Ordered maps in the memory of one process. They have no transactions.
#ifndef TARNBASE_BENCH_CONTENDERS_MAPS_H
#define TARNBASE_BENCH_CONTENDERS_MAPS_H

#ifdef TARNBASE_HAS_ABSL
#include <absl/container/btree_map.h>
#endif

#include <functional>
#include <map>
#include <string>

#include "bench/contenders/keys.h"

namespace bench {

inline std::string stored(const TextKey &key) { return std::string(key.view()); }
inline std::uint32_t stored(const NumberKey &key) { return key.value; }
inline std::string_view sought(const TextKey &key) { return key.view(); }
inline std::uint32_t sought(const NumberKey &key) { return key.value; }

template <typename Key, typename Map>
class OrderedMap {
 public:
    static constexpr bool has_transactions = false;
    static constexpr bool is_fast = true;

    void begin() {}
    void commit() {}
    void roll_back() {}
    void begin_read() {}
    void end_read() {}
    void settle() {}
    void insert(const Key &key, std::uint32_t number) {
        need(map_.emplace(stored(key), Content(number)).second, "insert");
    }
    void update(const Key &key, std::uint32_t number) {
        map_.find(sought(key))->second.number = number;
    }
    const void *find(const Key &key) const {
        const auto at = map_.find(sought(key));
        return at == map_.end() ? nullptr : &at->second;
    }
    std::uint32_t read(const Key &key) const { return map_.find(sought(key))->second.number; }
    void erase(const Key &key) { map_.erase(map_.find(sought(key))); }
    std::uint32_t scan() const {
        std::uint32_t count = 0;
        for (auto at = map_.begin(); at != map_.end(); ++at) ++count;
        return count;
    }
    std::uint32_t scan_and_read(std::uint64_t &sum) const {
        std::uint32_t count = 0;
        for (const auto &[key, content] : map_) {
            sum += content.number;
            ++count;
        }
        return count;
    }
    std::uint32_t walk() const { return scan(); }

 private:
    Map map_;
};

template <typename Key>
using StoredKey = decltype(stored(std::declval<const Key &>()));

template <typename Key>
struct StdMap : OrderedMap<Key, std::map<StoredKey<Key>, Content, std::less<>>> {
    static constexpr const char *name = "std::map";
};

#ifdef TARNBASE_HAS_ABSL
template <typename Key>
struct BtreeMap : OrderedMap<Key, absl::btree_map<StoredKey<Key>, Content, std::less<>>> {
    static constexpr const char *name = "absl::btree_map";
};
#endif

}  // namespace bench

#endif
