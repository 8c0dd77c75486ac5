// SPDX-License-Identifier: Apache-2.0
#include "tests/support/common_templates.h"

TARN_COMMON_CLASSES(template)
TARN_COMMON_FUNCTIONS(template)
