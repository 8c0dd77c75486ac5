// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/scalar.h"

TARNBASE_SCALAR(u_int8, std::uint8_t)
