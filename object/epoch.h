// SPDX-License-Identifier: Apache-2.0
// An object newer than the domain is reported with EIDRM and written nevertheless.
// The error is set aside while the form is written, since the services do nothing
// while an error is set.
#ifndef TARNBASE_OBJECT_EPOCH_H
#define TARNBASE_OBJECT_EPOCH_H

#include "frame/call.h"

namespace tarnbase::object {

class EpochError {
 public:
    // Moves an EIDRM out of the call's error.
    void set_aside(const Call &call) {
        if (*call.err != EIDRM) return;
        is_set_ = true;
        *call.err = 0;
    }

    // Puts it back, unless the form has failed with an error of its own.
    void put_back(const Call &call) const {
        if (!is_set_ || call.failed()) return;
        *call.err = EIDRM;
        call.handle->last_error = EIDRM;
    }

 private:
    bool is_set_ = false;
};

}  // namespace tarnbase::object

#endif
