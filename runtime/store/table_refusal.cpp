// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/table_refusal.h"

#include <utility>

namespace tarnbase::runtime {

namespace {

thread_local constinit bool refused = false;

}  // namespace

void refuse_table_block() { refused = true; }

void clear_table_refusal() { refused = false; }

bool take_table_refusal() { return std::exchange(refused, false); }

}  // namespace tarnbase::runtime
