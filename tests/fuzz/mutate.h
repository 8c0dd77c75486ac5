/* SPDX-License-Identifier: Apache-2.0 */
// Mutations of a stream of frames that know where its items stand.
#ifndef TARNBASE_TESTS_FUZZ_MUTATE_H
#define TARNBASE_TESTS_FUZZ_MUTATE_H

#include <vector>

#include "tests/fuzz/fill.h"
#include "tests/fuzz/targets.h"

namespace tarn::fuzz {

// The conditions byte and one to three frames of new records.
std::vector<u8> new_stream(Random &random);

// Makes one change: an item gets a value that matters where it stands, bytes go, come
// or change places at the borders of items, a new frame joins, or `mutate_bytes`
// changes bytes that it knows nothing of. The result may be any length up to `limit`.
using MutateBytes = std::size_t (*)(u8 *data, std::size_t size, std::size_t limit);
void mutate_stream(std::vector<u8> &stream, std::size_t limit, Random &random,
                   MutateBytes mutate_bytes);

// The start of one stream and the end of another, cut at the borders of items.
std::vector<u8> cross_streams(Bytes first, Bytes second, Random &random);

}  // namespace tarn::fuzz

#endif
