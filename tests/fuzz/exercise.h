/* SPDX-License-Identifier: Apache-2.0 */
// Calls every operation on an object read from hostile bytes. Whatever its content, it
// must behave as an object.
#ifndef TARNBASE_TESTS_FUZZ_EXERCISE_H
#define TARNBASE_TESTS_FUZZ_EXERCISE_H

#include <string>

#include "frame/schema.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

// Accessors, order, every form, state flags, clones and copies. `portion` cuts buffers.
void exercise(const Structure &type, const Round &round, void *object, u8 portion);
void exercise(const Enumeration &type, const Round &round, kel_enum_object *object, u8 portion);

// The XML form, or nothing if the object has a text that XML can't represent.
std::string xml_of(const Structure &type, const Round &round, const void *object, u8 portion);

// Whether each enumeration in the object is one of its enumerators: only then is its
// XML form well-formed.
bool has_enumerators_only(const Structure &type, const void *object);

// Requires that both compare as equal and have the same hash.
void require_equal(const Structure &type, const void *a, const void *b);

}  // namespace tarnbase::fuzz

#endif
