// SPDX-License-Identifier: Apache-2.0
// An object newer than the domain is reported with error 43 and written all the
// same. The error is kept aside while the form is written, since every service
// stands still while one is set.
#ifndef TARNBASE_OBJECT_EPOCH_H
#define TARNBASE_OBJECT_EPOCH_H

#include <cstdint>

#include "frame/conventions.h"

namespace tarnbase::object {

class EpochError {
 public:
    // Takes a 43 out of `err`.
    void keep_aside(std::uint32_t *err) {
        if (*err != EIDRM) return;
        kept_ = true;
        *err = 0;
    }

    // Puts it back, unless the form failed with an error of its own.
    void put_back(kel_handle *handle, std::uint32_t *err) const {
        if (!kept_ || *err != 0) return;
        *err = EIDRM;
        handle->last_error = EIDRM;
    }

 private:
    bool kept_ = false;
};

}  // namespace tarnbase::object

#endif
