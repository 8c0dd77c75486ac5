/* SPDX-License-Identifier: Apache-2.0 */
// Reads a whole store into the model's form.
#ifndef TESTS_CRASH_INSPECT_H
#define TESTS_CRASH_INSPECT_H

#include "tests/crash/subjects.h"

namespace crash {

// Failures, such as a record that a walk visits but a search doesn't find, are thrown.
State inspect(const tarn::store &store);

// Throws the findings of a check, which needs no model, and prints all records.
void check_sound(const tarn::store &store);

}  // namespace crash

#endif
