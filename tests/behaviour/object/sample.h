/* SPDX-License-Identifier: Apache-2.0 */
// The objects whose forms the tests contain literally.
#ifndef TARNBASE_TESTS_BEHAVIOUR_OBJECT_SAMPLE_H
#define TARNBASE_TESTS_BEHAVIOUR_OBJECT_SAMPLE_H

#include "tests/behaviour/object/objects.h"

namespace tarn::test {

// name "tag", LAMP_BLINK, at -2, 0x01020304.
st_tag *sample_tag(const Maker &make);

// Each integer has its own bytes; a label with what text and XML escape, 192.0.2.7,
// DOOR_LOCKED, the sample tag.
st_every *sample_every(const Maker &make);

}  // namespace tarn::test

#endif
