// SPDX-License-Identifier: Apache-2.0
// From what is written to the checked schema.
#ifndef TARNC_CHECK_H
#define TARNC_CHECK_H

#include "model.h"
#include "syntax.h"

namespace tarnc {

// The checked schema. It is whole only if `diagnostics` is clean afterwards.
Schema check_schema(const syntax::Schema &written, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
