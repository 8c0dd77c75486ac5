// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBASE_OBJECT_COPY_H
#define TARNBASE_OBJECT_COPY_H

#include "object/object.h"

namespace tarnbase::object {

// After a byte-for-byte copy: gives the destination's strings, addresses and
// nested structures contents of their own, equal to the source's.
void own_embedded(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination,
                  const void *source, std::uint32_t *err);

}  // namespace tarnbase::object

#endif
