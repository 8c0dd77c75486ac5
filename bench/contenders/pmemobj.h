/* SPDX-License-Identifier: Apache-2.0 */
// libpmemobj: records that transactions protect. It has no index, so a std::map of their addresses
// is beside it, which each process would have to rebuild. Set PMEM_IS_PMEM_FORCE=1 and
// PMEM_NO_FLUSH=1, so that it doesn't sync either.
#ifndef TARNBASE_BENCH_CONTENDERS_PMEMOBJ_H
#define TARNBASE_BENCH_CONTENDERS_PMEMOBJ_H

#include <libpmemobj.h>

#include <map>

#include "bench/contenders/maps.h"
#include "bench/folder.h"

namespace bench {

template <typename Key>
class Pmemobj {
    struct Record {
        std::array<char, sizeof(Key)> key;
        Content content;
    };
    using Map = std::map<StoredKey<Key>, PMEMoid, std::less<>>;

 public:
    static constexpr const char *name = "libpmemobj";
    static constexpr bool has_transactions = true;
    static constexpr bool is_fast = false;

    Pmemobj() {
        constexpr std::size_t bytes = std::size_t{2} << 30;
        pool_ = pmemobj_create((folder_.path() / "pool").c_str(), "bench", bytes, 0600);
        need(pool_ != nullptr, "pmemobj_create");
    }
    Pmemobj(const Pmemobj &) = delete;
    Pmemobj &operator=(const Pmemobj &) = delete;
    ~Pmemobj() { pmemobj_close(pool_); }

    void begin() {
        inserted_.clear();
        need(pmemobj_tx_begin(pool_, nullptr, TX_PARAM_NONE) == 0, "pmemobj_tx_begin");
    }
    void commit() {
        pmemobj_tx_commit();
        need(pmemobj_tx_end() == 0, "pmemobj_tx_end");
    }
    void roll_back() {
        pmemobj_tx_abort(ECANCELED);
        pmemobj_tx_end();
        for (const auto at : inserted_) map_.erase(at);
    }
    void begin_read() {}
    void end_read() {}
    void settle() {}

    void insert(const Key &key, std::uint32_t number) {
        const PMEMoid made = pmemobj_tx_alloc(sizeof(Record), 1);
        need(!OID_IS_NULL(made), "pmemobj_tx_alloc");
        auto *record = static_cast<Record *>(pmemobj_direct(made));
        std::memcpy(record->key.data(), &key, sizeof key);
        record->content = Content(number);
        inserted_.push_back(map_.emplace(stored(key), made).first);
    }
    void update(const Key &key, std::uint32_t number) {
        Content *content = at(map_.find(sought(key)));
        need(pmemobj_tx_add_range_direct(content, sizeof *content) == 0, "pmemobj_tx_add_range");
        content->number = number;
    }
    const void *find(const Key &key) const {
        const auto found = map_.find(sought(key));
        return found == map_.end() ? nullptr : at(found);
    }
    std::uint32_t read(const Key &key) const { return at(map_.find(sought(key)))->number; }
    void erase(const Key &key) {
        const auto found = map_.find(sought(key));
        need(pmemobj_tx_free(found->second) == 0, "pmemobj_tx_free");
        map_.erase(found);
    }
    std::uint32_t scan() const {
        std::uint64_t sum = 0;
        return scan_and_read(sum);
    }
    std::uint32_t scan_and_read(std::uint64_t &sum) const {
        for (auto each = map_.begin(); each != map_.end(); ++each) sum += at(each)->number;
        return static_cast<std::uint32_t>(map_.size());
    }
    std::uint32_t walk() const { return scan(); }

 private:
    static Content *at(typename Map::const_iterator found) {
        return &static_cast<Record *>(pmemobj_direct(found->second))->content;
    }

    Folder folder_;
    PMEMobjpool *pool_ = nullptr;
    Map map_;
    std::vector<typename Map::iterator> inserted_;
};

}  // namespace bench

#endif
