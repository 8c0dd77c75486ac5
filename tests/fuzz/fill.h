/* SPDX-License-Identifier: Apache-2.0 */
// Objects and records whose content depends only on a seed.
#ifndef TARNBASE_TESTS_FUZZ_FILL_H
#define TARNBASE_TESTS_FUZZ_FILL_H

#include <string>
#include <vector>

#include "frame/schema.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

// A small generator; any deterministic one works.
class Random {
 public:
    explicit Random(u64 seed) : state_(seed * 0x9e3779b97f4a7c15U + 1) {}

    u64 word();
    // Below `limit`, which is not 0.
    u32 below(u32 limit) { return static_cast<u32>(word() % limit); }
    bool once_in(u32 times) { return below(times) == 0; }

 private:
    u64 state_;
};

// Sets every field that the object's variant has. Some texts are inside the string,
// others in a block.
void fill(const Structure &type, const Round &round, void *object, Random &random);
// A new object, filled.
void *make_object(const Structure &type, const Round &round, Random &random);
// A new record with its objects, filled.
kel_record *make_record(const Table &model, const Round &round, Random &random);

// The wire form of an object, and the frame of a record.
std::vector<u8> wire(const Structure &type, const Round &round, const void *object);
std::vector<u8> frame(const Table &model, const Round &round, const kel_record *record);
// The frame of a new record that is then destroyed.
std::vector<u8> new_frame(const Table &model, const Round &round, Random &random);

}  // namespace tarnbase::fuzz

#endif
