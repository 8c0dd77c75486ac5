/* SPDX-License-Identifier: Apache-2.0 */
// The values of a test object: each depends on a seed and the field's name, so that
// they can be checked after any conversion.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_VALUES_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_VALUES_H

#include <array>
#include <string>

#include "tarnbase/embedded.h"
#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/model.h"
#include "tests/support/values.h"

namespace tarn::test {

inline constexpr u32 minutes = 1440;

// The seed of the fields inside a nested structure.
u32 seed_inside(const Field &field, u32 seed);

// The result of `_get_value`, as a word: sign-extended for the signed kinds.
u64 plain_value(const Field &field, u32 seed);
// The bytes of that word in an object.
u32 plain_width(FieldKind kind);

// The word as stored in a field of that kind.
u64 narrowed(FieldKind kind, u64 word);
std::string text_value(const Field &field, u32 seed);
ip_address address_value(const Field &field, u32 seed);
std::array<u8, minutes> array_value(const Field &field, u32 seed);

}  // namespace tarn::test

#endif
