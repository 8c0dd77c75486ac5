// SPDX-License-Identifier: Apache-2.0
//
// The store of a feeder: opened or made, and owned while the feeder runs.
#ifndef FEEDERS_COMMON_STORE_H
#define FEEDERS_COMMON_STORE_H

#include <cstdint>
#include <optional>
#include <string>

#include "cli/command.h"
#include "tarnbase/tarn/store.hpp"

namespace feeder {

struct StoreSettings {
    std::string path;
    bool journal = false;                     // let the store keep a journal
    std::optional<uint32_t> durability = {};  // KEL_DURABILITY_*; none: as the store has it
};

// Adds --store, --journal and --durability.
void add_store_options(cli::Command &program, StoreSettings &settings);

// Opens the store, or makes it: its files can be read by the group and written by the user. Waits
// for another process's transaction for a second, as transactions in it do later.
// Throws tarn::error.
tarn::store open_store(const StoreSettings &settings);

// Whether a failure of the store ends by itself: another process writes, or the disk is full.
bool will_pass(const tarn::error &error);

// Keeps other feeders of the same program from the store. It ends with the process, however that
// ends.
class Ownership {
 public:
    // The lock is a file next to the store, ".STORE.PROGRAM.lock". Throws tarn::error: ETIMEDOUT
    // another process owns the store.
    Ownership(const std::string &store, const std::string &program);
    Ownership(const Ownership &) = delete;
    Ownership &operator=(const Ownership &) = delete;
    ~Ownership();

 private:
    int file_ = -1;
};

}  // namespace feeder

#endif
