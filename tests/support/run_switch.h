/* SPDX-License-Identifier: Apache-2.0 */
// Operations on runs and pieces in place of the runtime's, which can do without them: then they
// call the service for each value, as the library does with a runtime that has no runs.
#ifndef TARNBASE_TESTS_SUPPORT_RUN_SWITCH_H
#define TARNBASE_TESTS_SUPPORT_RUN_SWITCH_H

#include <cstdint>

namespace tarn::test {

struct RunSwitch {
    inline static bool one_by_one = false;
    inline static std::uint64_t runs = 0;    // calls so far
    inline static std::uint64_t values = 0;  // in these
    inline static std::uint64_t pieces = 0;  // runs that were written or read with others
};

}  // namespace tarn::test

#endif
