// SPDX-License-Identifier: Apache-2.0
// The handle's error slot.
#include "runtime/handle/handle.h"
#include "tarnbase/runtime.h"

void kel_clear_last_error(kel_handle *handle) { handle->last_error = 0; }

void kel_store_err(kel_handle *handle, std::uint32_t code) { handle->last_error = code; }

void kel_store_epoch_err(kel_handle *handle, std::uint32_t code, std::uint32_t *err) {
    tarn::runtime::report_error(handle, err, code);
}

void tarn::runtime::report_error(kel_handle *handle, std::uint32_t *err, std::uint32_t code) {
    *err = code;
    kel_store_err(handle, code);
}
