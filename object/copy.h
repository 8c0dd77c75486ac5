// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBASE_OBJECT_COPY_H
#define TARNBASE_OBJECT_COPY_H

#include "object/object.h"

namespace tarnbase::object {

// After a byte-for-byte copy: replaces the destination's strings, addresses and
// nested structures by contents of its own, equal to the source's.
void own_embedded(Type type, const Call &call, void *destination, const void *source);

}  // namespace tarnbase::object

#endif
