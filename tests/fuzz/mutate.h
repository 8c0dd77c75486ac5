/* SPDX-License-Identifier: Apache-2.0 */
// Mutates arbitrary bytes, or a stream of frames item by item.
#ifndef TARNBASE_TESTS_FUZZ_MUTATE_H
#define TARNBASE_TESTS_FUZZ_MUTATE_H

#include <functional>
#include <vector>

#include "tests/fuzz/fill.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// Makes one change: a byte or a number gets another value, or bytes are removed or added.
void mutate_bytes(std::vector<u8> &bytes, Random &random);

// The conditions byte and one to three frames of new records.
std::vector<u8> new_stream(Random &random);

// Makes one change: an item gets a value that is interesting at its place, bytes are
// removed, added or moved at item boundaries, a new frame is added, or `change_any`
// changes arbitrary bytes. The result may have any length up to `limit`.
using ChangeAny = std::function<void(std::vector<u8> &stream)>;
void mutate_stream(std::vector<u8> &stream, std::size_t limit, Random &random,
                   const ChangeAny &change_any);

// Joins the start of one stream and the end of another, cut at item boundaries.
std::vector<u8> cross_streams(Bytes first, Bytes second, Random &random);

}  // namespace tarnbase::fuzz

#endif
