/* SPDX-License-Identifier: Apache-2.0 */
// The generated model, whose names these tests use unqualified.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_MODEL_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_MODEL_H

#include "frame/schema.h"

namespace tarn::test {

using namespace tarnbase;

}  // namespace tarn::test

#endif
