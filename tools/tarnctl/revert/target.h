// SPDX-License-Identifier: Apache-2.0
//
// The record in a store that a transaction has changed.
#ifndef TARNCTL_REVERT_TARGET_H
#define TARNCTL_REVERT_TARGET_H

#include <optional>
#include <string>

#include "model/instance.h"
#include "model/record.h"
#include "model/store.h"
#include "revert/plan.h"

namespace tarnctl {

// The table of that full name, if the store has it.
std::optional<Instance> instance_named(const Store &store, const std::string &name);

// The record of a change; its `record` is null if the store doesn't have it. Keys are made in the
// store `scratch`.
Record find_target(const Store &store, const Instance &instance, const RecordCopy &record,
                   const Store &scratch);

}  // namespace tarnctl

#endif
