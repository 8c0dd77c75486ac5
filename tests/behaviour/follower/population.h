/* SPDX-License-Identifier: Apache-2.0 */
// What the writer's random changes have made, to choose from.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_POPULATION_H
#define TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_POPULATION_H

#include <cstdint>
#include <string>
#include <vector>

#include "catalogue/operations.h"

namespace tarn::test {

struct OpenTable {
    const tarnbase::catalogue::Table *type;
    kel_table *block;
};

struct LiveRecord {
    const tarnbase::catalogue::Table *type;
    kel_record *record;
};

// An object of no record.
struct LiveObject {
    const tarnbase::catalogue::Structure *type;
    void *object;
};

// What a rollback restores. Tables are opened and freed outside of transactions.
struct Contents {
    std::vector<LiveRecord> records;
    std::vector<LiveObject> objects;
    std::vector<std::uint64_t> references;  // object ids, one for each reference
    std::vector<std::string> keys;          // of the keyed store
};

struct Population : Contents {
    std::vector<OpenTable> tables;
};

// The tables' structures, and those of their keys, each once.
const std::vector<const tarnbase::catalogue::Structure *> &object_types();

// As the limit of a random number.
std::uint32_t count_of(const auto &items) { return static_cast<std::uint32_t>(items.size()); }

template <typename T>
void remove_at(std::vector<T> &from, std::size_t index) {
    from[index] = from.back();
    from.pop_back();
}

}  // namespace tarn::test

#endif
