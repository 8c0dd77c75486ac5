// SPDX-License-Identifier: Apache-2.0
// Replaces the runtime's service of that name, and calls it. The recorder of tests/support
// would record every service call of a million steps.
#include "tests/behaviour/random/reports.h"

#include <dlfcn.h>

#include "tarnbase/runtime.h"

namespace tarn::test {

Reports reports;

}  // namespace tarn::test

void kelrepl_add_to_cache(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                          const void *const *vector, uint32_t *err) {
    tarn::test::reports = {tarn::test::reports.count + 1, record};
    static auto *const real =
        reinterpret_cast<decltype(&kelrepl_add_to_cache)>(dlsym(RTLD_NEXT, __func__));
    real(handle, tx_id, table, record, vector, err);
}
