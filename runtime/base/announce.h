/* SPDX-License-Identifier: Apache-2.0 */
// How the runtime stores into memory that is in use: as the library does, after an
// announcement through the handle's write_log_hook, which a program may have wrapped. A
// new block may be filled without an announcement until it is linked.
#ifndef TARNBASE_RUNTIME_BASE_ANNOUNCE_H
#define TARNBASE_RUNTIME_BASE_ANNOUNCE_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// The log that a change is announced to: a handle's, for one transaction.
struct WriteLog {
    kel_handle *handle;
    std::uint32_t tx_id;

    // Announces that `length` bytes at `address` are about to change.
    void announce(void *address, std::uint64_t length) const {
        handle->write_log_hook(handle->arena, address, length, tx_id);
    }

    // Announces a store and makes it.
    template <typename T>
    void set(T &place, T value) const {
        announce(&place, sizeof(T));  // NOLINT(bugprone-sizeof-expression)
        place = value;
    }
};

}  // namespace tarnbase::runtime

#endif
