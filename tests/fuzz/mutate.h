/* SPDX-License-Identifier: Apache-2.0 */
// Mutations of any bytes, and of a stream of frames, that know where its items stand.
#ifndef TARNBASE_TESTS_FUZZ_MUTATE_H
#define TARNBASE_TESTS_FUZZ_MUTATE_H

#include <functional>
#include <vector>

#include "tests/fuzz/fill.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// Makes one change: a byte or a number gets another value, or bytes go or come.
void mutate_bytes(std::vector<u8> &bytes, Random &random);

// The conditions byte and one to three frames of new records.
std::vector<u8> new_stream(Random &random);

// Makes one change: an item gets a value that matters where it stands, bytes go, come
// or change places at the borders of items, a new frame joins, or `change_any`
// changes bytes that it knows nothing of. The result may be any length up to `limit`.
using ChangeAny = std::function<void(std::vector<u8> &stream)>;
void mutate_stream(std::vector<u8> &stream, std::size_t limit, Random &random,
                   const ChangeAny &change_any);

// The start of one stream and the end of another, cut at the borders of items.
std::vector<u8> cross_streams(Bytes first, Bytes second, Random &random);

}  // namespace tarnbase::fuzz

#endif
