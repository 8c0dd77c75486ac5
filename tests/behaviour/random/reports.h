/* SPDX-License-Identifier: Apache-2.0 */
// What the library has reported to the replication engine since this was cleared.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_REPORTS_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_REPORTS_H

#include <cstdint>

#include "tarnbase/record.h"

namespace tarn::test {

struct Reports {
    std::uint32_t count = 0;
    kel_record *last = nullptr;
};

extern Reports reports;

}  // namespace tarn::test

#endif
