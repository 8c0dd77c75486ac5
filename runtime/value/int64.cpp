// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/scalar.h"

TARNBASE_SCALAR(int64, std::int64_t)
