// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/errors.h"

#include "runtime/services/own.h"

void kel_clear_last_error(kel_handle *handle) { handle->last_error = 0; }

void kel_store_err(kel_handle *handle, std::uint32_t code) { handle->last_error = code; }

void kel_store_epoch_err(kel_handle *handle, std::uint32_t code, std::uint32_t *err) {
    tarnbase::runtime::report_error(handle, err, code);
}

TARNBASE_OWN_NAME(kel_clear_last_error, own_clear_last_error)
