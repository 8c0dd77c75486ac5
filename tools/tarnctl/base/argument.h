// SPDX-License-Identifier: Apache-2.0
//
// Values that a command line gives.
#ifndef TARNCTL_BASE_ARGUMENT_H
#define TARNCTL_BASE_ARGUMENT_H

#include "base/failure.h"

namespace tarnctl {

// Returns what `function`, which reads values of the command line, returns. A value that can't be
// read is Failure `usage` then, where in a file it is `data`.
template <class Function>
auto read_argument(Function function) {
    try {
        return function();
    } catch (const Failure &failure) {
        throw Failure(failure.code() == Exit::data ? Exit::usage : failure.code(), failure.what());
    }
}

}  // namespace tarnctl

#endif
