// SPDX-License-Identifier: Apache-2.0
#include "runtime/services/communication.h"

#include "tarnbase/runtime.h"

namespace {

void *ridge_handler = nullptr;
void *interface_handler = nullptr;

}  // namespace

void *tarnbase::runtime::ridge_bundle_handler() { return ridge_handler; }
void *tarnbase::runtime::interface_bundle_handler() { return interface_handler; }

void ridge_comm_bundle_handler_register(void *handler) { ridge_handler = handler; }
void ridge_comm_bundle_handler_unregister() { ridge_handler = nullptr; }
void if_common_bundle_handler_register(void *handler) { interface_handler = handler; }
void if_common_bundle_handler_unregister() { interface_handler = nullptr; }
