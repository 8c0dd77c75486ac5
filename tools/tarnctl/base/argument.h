// SPDX-License-Identifier: Apache-2.0
//
// Values on the command line.
#ifndef TARNCTL_BASE_ARGUMENT_H
#define TARNCTL_BASE_ARGUMENT_H

#include "base/failure.h"

namespace tarnctl {

// Calls `function`, which reads values of the command line, and returns its result. Failure `data`,
// of a value that can't be read, becomes Failure `usage`.
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
