/* SPDX-License-Identifier: Apache-2.0 */
// What each worker does around its own steps: open the call, report an error,
// announce a store. An error is a Linux errno number. EIDRM: a field or a value is
// beyond the variant in use.
#ifndef TARNBASE_FRAME_CALL_H
#define TARNBASE_FRAME_CALL_H

#include <cerrno>
#include <cstdint>

#include "tarnbase/runtime.h"

namespace tarnbase {

// The three arguments that every operation passes on to the next one.
struct Call {
    kel_handle *handle;
    std::uint32_t tx_id;
    std::uint32_t *err = nullptr;  // null in an operation that reports no error

    // A `_cr` operation: transaction and error are the handle's own.
    static Call cr(kel_handle *handle) { return {handle, handle->cr_tx_id, &handle->last_error}; }

    // The same call, which reports its errors in `slot`.
    Call reporting_in(std::uint32_t &slot) const { return {handle, tx_id, &slot}; }

    bool failed() const { return *err != 0; }

    // Opens the operation: false if an error is set already, else clears last_error.
    bool enter() const {
        if (failed()) return false;
        kel_clear_last_error(handle);
        return true;
    }

    // Reports an error: in `*err` first, then in the handle.
    void report(std::uint32_t code) const {
        *err = code;
        kel_store_err(handle, code);
    }
    void report_epoch() const { kel_store_epoch_err(handle, EIDRM, err); }

    // Announces a store of `length` bytes, which the caller makes next.
    void log_write(void *address, std::uint64_t length) const {
        handle->write_log_hook(handle->arena, address, length, tx_id);
    }
    // Announces a store, then makes it.
    template <typename T>
    void logged_store(T &place, T value) const {
        log_write(&place, sizeof(T));
        place = value;
    }
};

}  // namespace tarnbase

#endif
