/* SPDX-License-Identifier: Apache-2.0 */
// The seeds of the target that reads JSON.
#ifndef TARNBASE_TESTS_FUZZ_JSON_SEEDS_H
#define TARNBASE_TESTS_FUZZ_JSON_SEEDS_H

#include <string>
#include <vector>

#include "tests/fuzz/seeds.h"

namespace tarnbase::fuzz {

void json_seeds(const TakeSeed &take);
// Of JSON, for a dictionary.
std::vector<std::string> json_words();

}  // namespace tarnbase::fuzz

#endif
