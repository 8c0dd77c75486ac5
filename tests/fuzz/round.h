/* SPDX-License-Identifier: Apache-2.0 */
// One store for all inputs, and one round per input: a handle in the mode that the input
// selects, and blocks that must all be freed when the round ends.
#ifndef TARNBASE_TESTS_FUZZ_ROUND_H
#define TARNBASE_TESTS_FUZZ_ROUND_H

#include "frame/call.h"
#include "frame/schema.h"
#include "tarnbase/embedded.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// Ends the process with the broken promise, unless the condition is true.
void require(bool holds, const char *promise);

// The mode of a handle. `old`: its domain has variant 0 of each type.
enum class HandleMode { plain, tracking, store_types, old };
inline constexpr u32 mode_count = 4;

// Where objects, records and texts are allocated. On the heap each block has its exact
// size, so that a sanitizer detects any access beyond it.
enum class Memory { heap, store, transaction };

// The byte before an input:
//   bits 0, 1   mode
//   bit 2       the object is in use, with long texts
//   bit 3       in_place
//   bits 4, 5   memory: 0 and 1 heap, 2 store, 3 a transaction that is rolled back
struct Conditions {
    explicit Conditions(u8 flags);

    HandleMode mode;
    bool used;
    bool in_place;
    Memory memory;
};

class Round {
 public:
    explicit Round(const Conditions &conditions);
    // Requires that no block was leaked.
    ~Round();
    Round(const Round &) = delete;
    Round &operator=(const Round &) = delete;

    kel_handle *handle() const { return handle_; }
    u32 tx() const { return tx_; }
    Call call() const { return {handle_, tx_}; }
    Call call(u32 &err) const { return {handle_, tx_, &err}; }
    bool tracking() const { return mode_ == HandleMode::tracking; }
    // An open table of that model, empty between rounds.
    kel_table *table(const Table &model) const;

 private:
    kel_handle *handle_;
    u32 tx_ = KEL_TX_NONE;
    HandleMode mode_;
    Memory memory_;
    u64 blocks_;
};

}  // namespace tarnbase::fuzz

#endif
