/* SPDX-License-Identifier: Apache-2.0 */
// Gets the memory of a mapping before the first store into it.
#ifndef TARNBASE_RUNTIME_BASE_POPULATE_H
#define TARNBASE_RUNTIME_BASE_POPULATE_H

#include <sys/mman.h>

#include <cstdint>

#include "runtime/base/file_io.h"

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace tarnbase::runtime {

// No byte changes, whoever stores there at the same time. Returns 0 or an errno number: EFAULT a
// store there would be a SIGBUS; EINVAL the kernel is older than 5.14 and doesn't have this call.
inline std::uint32_t populate(char *first, std::uint64_t bytes) {
    return ::madvise(first, bytes, MADV_POPULATE_WRITE) == 0 ? 0 : error_number();
}

}  // namespace tarnbase::runtime

#endif
