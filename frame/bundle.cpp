// SPDX-License-Identifier: Apache-2.0
// The bundle handler. The two communication registries own it; the library stores its
// address and never calls it.
#include "tarnbase/module.h"
#include "tarnbase/runtime.h"

void *tarnbase_bundle_registered_handler = nullptr;

void *tarnbase_bundle_handler_register(void *handler) {
    void *before = tarnbase_bundle_registered_handler;
    tarnbase_bundle_registered_handler = handler;
    ridge_comm_bundle_handler_register(handler);
    if_common_bundle_handler_register(handler);
    return before;
}

void *tarnbase_bundle_handler_unregister() {
    void *before = tarnbase_bundle_registered_handler;
    tarnbase_bundle_registered_handler = nullptr;
    ridge_comm_bundle_handler_unregister();
    if_common_bundle_handler_unregister();
    return before;
}
