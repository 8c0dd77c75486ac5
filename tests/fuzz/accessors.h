/* SPDX-License-Identifier: Apache-2.0 */
// The accessors of fields, from the catalogue.
#ifndef TARNBASE_TESTS_FUZZ_ACCESSORS_H
#define TARNBASE_TESTS_FUZZ_ACCESSORS_H

#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

// Reads each field of the object in every way, and writes what was read.
void use_accessors(const Structure &type, const Round &round, void *object);

}  // namespace tarnbase::fuzz

#endif
