// SPDX-License-Identifier: Apache-2.0
//
// How many changes a store has in a time, by table, and the records with the most.
#ifndef TARNCTL_WATCH_RATES_H
#define TARNCTL_WATCH_RATES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/record.h"

namespace tarnctl {

// Numbers of records that transactions have changed.
struct Tally {
    uint64_t inserted = 0;
    uint64_t changed = 0;
    uint64_t deleted = 0;

    // `what` is KEL_REPLICA_...
    void count(uint32_t what);
    uint64_t all() const { return inserted + changed + deleted; }
};

class Rates {
 public:
    void count_transaction() { ++transactions_; }
    void count(const std::string &table, const Record &record, uint32_t what);
    void clear();

    uint64_t transactions() const { return transactions_; }
    const std::map<std::string, Tally> &tables() const { return tables_; }
    // The names of the records with the most changes, and how many: at most `most` of them.
    std::vector<std::pair<std::string, uint64_t>> busiest(std::size_t most) const;

 private:
    uint64_t transactions_ = 0;
    std::map<std::string, Tally> tables_;
    std::unordered_map<std::string, uint64_t> records_;  // changes, by name
};

}  // namespace tarnctl

#endif
