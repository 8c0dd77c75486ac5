// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/scalar.h"

TARNBASE_SCALAR(int32, std::int32_t)
