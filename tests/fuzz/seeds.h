/* SPDX-License-Identifier: Apache-2.0 */
// The seeds of the fuzz targets: forms of real objects, files of a store, and the words of each
// format.
#ifndef TARNBASE_TESTS_FUZZ_SEEDS_H
#define TARNBASE_TESTS_FUZZ_SEEDS_H

#include <functional>
#include <string>

#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// Calls a function with each seed of a target and its name.
using TakeSeed = std::function<void(const std::string &name, Bytes bytes)>;
void make_seeds(const Target &target, const TakeSeed &take);

// A target's dictionary, in libFuzzer's notation.
std::string make_dictionary(const Target &target);

}  // namespace tarnbase::fuzz

#endif
